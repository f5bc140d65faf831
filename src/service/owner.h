// A private helper belongs to the process that started it and ends with it.
#pragma once

#include <string>

namespace corvy {

// When $CORVYSTACK_OWNER holds a process number, has the default main context end this process as
// soon as that one is gone, whichever way it went, and removes what `name` left in the runtime
// folder and the folder itself once it is empty. Takes the variable out of the environment.
void endWithOwner(const std::string& name);

}  // namespace corvy
