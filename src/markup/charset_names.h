// Names of character sets, as they are met in the wild, to encodings.
#pragma once

#include <string_view>

#include "foundation/encoding.h"

namespace corvy {

// The encoding of a charset name. Only letters and digits of the name count, and not their case:
// "ISO-8859-1", "iso8859_1" and "8859 1" are one name, and many misspellings are understood.
// kInvalid for unknown names and those of fewer than three letters and digits. (Our encodings have
// one numbering, so this is `NSEncodingFromName` too.)
// kept: some names mean another set than they say: "utf-7" is ASCII, 646 is EUC-JP, a language such
// as "en-us" is UTF-8.
Encoding CFEncodingFromName(std::u16string_view name);

// The encoding of a Mac script: what follows "mac" or "x-mac-" in a normalised name, compared
// exactly ("roman", "cyrillic", "ce").
Encoding macEncoding(std::u16string_view rest);

}  // namespace corvy
