// What a handler of the tag scanner is told: one tag, and the run of plain text in front of it.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/range.h"

namespace corvy {

enum TagKind : std::uint32_t {
    TagKindEnd = 0,      // the final call: no tag, only the trailing run of text
    TagKindElement = 1,  // start, end and empty-element tags, <!DOCTYPE>, <?...?>, and a whole
                         // `script` or `style` element
    TagKindComment = 2,  // opened by "<!-"
    TagKindSection = 3,  // opened by "<![": CDATA, brackets of conditional comments
};

// Locations count UTF-16 code units of `characters`. Everything here is valid during the call only.
struct TagCall {
    std::u16string_view string;      // what is being scanned
    std::u16string_view characters;  // its units, or the private copy of them
    std::uint64_t nameLocation;      // kNotFound without a name; always so but for elements
    std::uint64_t nameLength;
    std::uint64_t tagLocation;   // of the "<"; for TagKindEnd the length of the string
    std::uint64_t tagLength;     // through the ">"; can reach one unit past the end, see below
    std::uint64_t textLocation;  // one past the end of the tag before; can lie past `tagLocation`
    TagKind tagKind;
    void* context;

    Range tagRange() const { return {tagLocation, tagLength}; }
    std::u16string_view name() const {
        return nameLength == 0 ? std::u16string_view()
                               : characters.substr(nameLocation, nameLength);
    }
    // The units from "<" through ">".
    std::u16string_view tag() const { return characters.substr(tagLocation, tagLength); }
    // The text between the tag before and this one, often empty.
    std::u16string_view text() const {
        return tagLocation > textLocation
                   ? characters.substr(textLocation, tagLocation - textLocation)
                   : std::u16string_view();
    }
};

}  // namespace corvy
