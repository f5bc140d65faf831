// What handlers of the tag scanner ask of a tag, next to the tests of its characters.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/character_tables.h"
#include "markup/tag_attributes.h"
#include "markup/tag_call.h"
#include "markup/tag_scanner.h"

namespace corvy {

// Whether a name equals `upperCaseName` in any case. kept: only the name is folded, so a name that
// is not given in upper case matches nothing.
inline bool equalsUpperCase(std::u16string_view name, std::u16string_view upperCaseName) {
    return std::equal(name.begin(), name.end(), upperCaseName.begin(), upperCaseName.end(),
                      [](char16_t a, char16_t b) { return toUpper(a) == b; });
}

inline bool isNamed(const TagCall& call, std::u16string_view upperCaseName) {
    return call.nameLength == upperCaseName.size() && equalsUpperCase(call.name(), upperCaseName);
}

// "<br/>" is one as well.
inline bool isStartTag(const TagCall& call) {
    return call.tagKind == TagKindElement && isTagOpenCharacters(call.characters, call.tagRange());
}

// "/" before the ">".
inline bool isEmptyElementTag(const TagCall& call) {
    return call.tagLength >= 3 && call.characters[call.tagLocation + call.tagLength - 2] == u'/';
}

inline std::optional<std::u16string> attributeOfTag(const TagCall& call, std::u16string_view name,
                                                    bool tolerant = false) {
    return attributeOfTagCharacters(call.characters, call.tagRange(), name, tolerant);
}

// The value as a view that is valid as long as the characters are; empty when it is absent.
inline std::u16string_view attributeViewOfTag(const TagCall& call, std::u16string_view name,
                                              bool tolerant = false) {
    const Range range =
        rangeOfAttributeOfTagCharacters(call.characters, call.tagRange(), name, tolerant);
    return range.found() ? call.characters.substr(range.location, range.length)
                         : std::u16string_view();
}

}  // namespace corvy
