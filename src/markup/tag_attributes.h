// Values of named attributes of one tag, and of properties in style texts.
//
// There is no list of attributes: each look-up is a fresh, forgiving search of the tag for the
// name, made for the broken markup of real pages. Values stay as they stand in the markup, entities
// undecoded. A value that is empty, or white only, counts as absent. Names are ASCII, by convention
// in upper case; case does not count.
//
// A tag is a run of units from its "<" through its ">". Ranges are cut to the units there are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/range.h"

namespace corvy {

// The value of an attribute of the tag at `range`; none when it is absent.
// `tolerant`: the quoted value may hold markup itself, as the `content` of meta tags does: balanced
// "<" and ">" belong to it, and "<meta" ends it. Without it the first ">" ends a value.
std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view characters, Range range,
                                                       std::u16string_view name,
                                                       bool tolerant = false);
// Where the same value lies in `characters`; kNotFoundRange when it is absent.
Range rangeOfAttributeOfTagCharacters(std::u16string_view characters, Range range,
                                      std::u16string_view name, bool tolerant = false);

// The same for a tag held in a string.
// kept: here "_" in front of a name does not join it to a word ("max_width" has a "WIDTH"), and a
// second "=" belongs to the value.
std::optional<std::u16string> attributeOfTagWithName(std::u16string_view tag,
                                                     std::u16string_view name);
std::optional<std::u16string> attributeOfTagInRange(std::u16string_view string, Range range,
                                                    std::u16string_view name);

// A property of style declarations such as "width: 120px; height: 40px". A value ends at white
// space, unless it is quoted.
std::optional<std::u16string> attributeOfStyleWithName(std::u16string_view style,
                                                       std::u16string_view name);
std::optional<std::u16string> attributeOfStyleInRange(std::u16string_view string, Range range,
                                                      std::u16string_view name);

// The width and height that a tag gives its picture, by attributes or else by its style. In pixels
// or per cent, as the leading integers say; either can be 0 or negative.
struct TagSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    bool found() const { return width > 0; }
    friend bool operator==(const TagSize&, const TagSize&) = default;
};
TagSize getTagWidth(std::u16string_view characters, Range range);
TagSize getTagWidth(std::u16string_view tag);

// The address of a background image in the style of a start tag, when the image does not repeat.
std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view characters,
                                                                Range range);

}  // namespace corvy
