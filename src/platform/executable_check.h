// Whether a shared object can be loaded into a process like this one, told from its bytes.
#pragma once

#include <string>
#include <string_view>

#include "platform/shared_libraries.h"

namespace corvy::platform {

struct ExecutableCheck {
    enum class Outcome {
        loadable,
        missing,         // no regular file, or one that cannot be read
        notLoadable,     // no shared object, or a damaged one
        otherMachine,    // another processor, word size or byte order
        missingLibrary,  // a library that it names is not installed
    };
    Outcome outcome = Outcome::missing;
    std::string library = {};  // the missing one
};

// Looks at the libraries that the object itself names, not at what those need in turn, and at no
// symbols: those show when it is loaded.
ExecutableCheck checkExecutable(std::u16string_view path, const SharedLibraries& libraries);

}  // namespace corvy::platform
