// Plain text files as text.
#pragma once

#include <string>
#include <string_view>

namespace corvy::tools {

// By the byte order mark (UTF-8, UTF-16, UTF-32); without one UTF-8 where the bytes are that, else
// windows-1252. What cannot be decoded becomes U+FFFD; the mark does not count as text.
std::u16string plainText(std::string_view bytes);

}  // namespace corvy::tools
