// Small helpers over runs of UTF-16 code units, and the way in and out of UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvy {

// UTF-8 of the text; each lone surrogate becomes U+FFFD.
std::string toUtf8(std::u16string_view text);
// UTF-16 of the bytes; each maximal ill-formed run of a sequence becomes one U+FFFD.
std::u16string fromUtf8(std::string_view bytes);
// The same, or none when the bytes are not well-formed UTF-8.
std::optional<std::u16string> fromStrictUtf8(std::string_view bytes);

// No lone surrogate in it.
bool isWellFormed(std::u16string_view text);

// File names are bytes. A byte that is not part of well-formed UTF-8 travels as the lone surrogate
// U+DC00 + byte, so that every name survives the way to text and back.
std::u16string pathFromBytes(std::string_view bytes);
// None for a path that no file can have: one with U+0000 in it.
std::optional<std::string> bytesOfPath(std::u16string_view path);

// The part behind the last "/"; trailing slashes do not count.
std::u16string_view lastPathComponent(std::u16string_view path);
// The part of the last component behind its last "."; empty when there is none, or only a
// leading dot.
std::u16string_view pathExtension(std::u16string_view path);

// Case folded by simple one-to-one mappings, as names of formats and products are compared.
bool equalNoCase(std::u16string_view a, std::u16string_view b);
bool containsNoCase(std::u16string_view text, std::u16string_view part);
bool hasSuffixNoCase(std::u16string_view text, std::u16string_view suffix);

// The text without the white units (character_tables.h) at both ends.
std::u16string_view trimWhite(std::u16string_view text);

// The bytes without those at both ends that are blank, as `isBlank(char)` says.
template <typename IsBlank>
std::string_view trimBytes(std::string_view bytes, IsBlank isBlank) {
    while (!bytes.empty() && isBlank(bytes.front())) bytes.remove_prefix(1);
    while (!bytes.empty() && isBlank(bytes.back())) bytes.remove_suffix(1);
    return bytes;
}
// The integer that the text begins with, behind white units and an optional sign: "120px" is 120.
// 0 without digits; what is too large is cut to the largest or smallest there is.
std::int64_t integerValue(std::u16string_view text);

}  // namespace corvy
