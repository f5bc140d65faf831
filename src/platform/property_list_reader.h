// Property lists out of files: the binary form, the XML form and the old one in plain text.
//
// Files come from anywhere, so what they may make us hold is bounded. A list beyond a bound is
// refused as a whole, as is one that is malformed or cut off.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "foundation/bytes.h"
#include "foundation/property_list.h"

namespace corvy::platform {

// Collections within each other; the root is at depth 0. A cycle of references ends here.
inline constexpr std::size_t kMaxPropertyListDepth = 512;
// Values, keys counted as well. What a binary list refers to several times counts each time.
inline constexpr std::size_t kMaxPropertyListValues = std::size_t{1} << 21;
// Units of all strings beyond one for each byte of the file.
inline constexpr std::size_t kMaxRepeatedUnits = std::size_t{1} << 26;
// Bytes of a file.
inline constexpr std::size_t kMaxPropertyListFile = std::size_t{1} << 30;

enum class PropertyListFormat { binary, xml, text };

// By the first bytes. Text is what is neither of the others; that says little, since a word alone
// is a list of that form.
PropertyListFormat propertyListFormat(std::span<const std::byte> bytes);

// The list in any of the forms; none when the bytes hold none. Integers are 64 bits wide, and reals
// where they do not fit; dates have a moment within 30 million years of ours. References of object
// archives are dictionaries with the one entry "CF$UID". Of equal keys the last counts. Byte values
// of a binary list share the storage of `bytes`.
std::optional<PropertyList> readPropertyList(const Bytes& bytes);

// The list in the file; also none when it is no regular file or cannot be read.
std::optional<PropertyList> readPropertyListFile(std::u16string_view path);

}  // namespace corvy::platform
