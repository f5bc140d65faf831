// Versions of the libraries that the service itself stands on; the workers tell theirs.
#pragma once

#include "foundation/property_list.h"

namespace corvy::platform {

// Name to version, of what is loaded at run time where the library tells it.
Dictionary serviceLibraries();

}  // namespace corvy::platform
