// The content of a file that a user names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy {

// None for what cannot be read, and for pipes and devices, which might not end.
std::optional<std::string> contentsOfFile(std::u16string_view path);

}  // namespace corvy
