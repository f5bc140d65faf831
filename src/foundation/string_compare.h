// Comparison over a character class: units outside the class do not exist, case does not count.
// Over the letters "404 - Not Found!" equals "not found".
#pragma once

#include <cstdint>
#include <string_view>

namespace corvy {

// `characterSetRep` is one of the bitmaps of character_tables.h. Case is folded by the upper-case
// table, unit by unit. Two texts without a unit of the class are equal.
bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view a, std::u16string_view b,
                                            const std::uint8_t* characterSetRep);
// The text begins with the prefix. Every text begins with a prefix without a unit of the class.
bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view text, std::u16string_view prefix,
                                         const std::uint8_t* characterSetRep);

}  // namespace corvy
