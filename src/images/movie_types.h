// Which extensions and classic type codes are movies or sounds. Links no media library.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "images/image_types.h"

namespace corvy {

// Extensions and quoted type codes: of all that is opened here, then those that go by the name of
// movies besides, each once. Built once.
const std::vector<std::u16string>& QuickTimeFileTypes();

// Extensions match in any case, type codes exactly.
bool isQuickTimeExtension(OptionalText extension, OptionalText type);
// By the path's extension and the file's type code.
bool isQuickTimeFile(OptionalText path);

}  // namespace corvy
