// The character encodings that text is converted from and to, by identifier and by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvy {

enum class Encoding : std::uint8_t {
#define ENCODING(identifier, name, converter) identifier,
#include "foundation/encodings.inc"
#undef ENCODING
    kInvalid = 0xFF,  // no encoding
};

// The name, such as "ISO-8859-1", "cp437", "x-mac-ce"; empty for kInvalid.
std::string_view nameOfEncoding(Encoding encoding);
// The encoding of exactly that name; none when there is none. For names as they are met in the
// wild there is CFEncodingFromName.
std::optional<Encoding> encodingNamed(std::string_view name);

}  // namespace corvy
