// Attribute look-ups: values lie inside the tag, and the same tag gives the same value wherever it
// stands. The first line of the input is the name, the rest the tag.
#include <algorithm>

#include "foundation/character_tables.h"
#include "fuzz/fuzz_text.h"
#include "markup/tag_attributes.h"

namespace {

using namespace corvy;

void requireValue(const std::optional<std::u16string>& value, std::u16string_view tag) {
    if (!value) return;
    require(!value->empty() && value->size() < tag.size());
    require(!isWhite(value->back()));
    require(tag.find(*value) != std::u16string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = fuzzText(data, size);
    const std::size_t line = std::min(text.find(u'\n'), text.size());
    const std::u16string name = text.substr(0, line);
    const std::u16string_view tag =
        std::u16string_view(text).substr(std::min(line + 1, text.size()));
    const Range whole = {0, tag.size()};
    const Range inside = {text.size() - tag.size(), tag.size()};

    for (const bool tolerant : {false, true}) {
        const auto value = attributeOfTagCharacters(tag, whole, name, tolerant);
        requireValue(value, tag);
        require(value == attributeOfTagCharacters(text, inside, name, tolerant));
        const Range range = rangeOfAttributeOfTagCharacters(text, inside, name, tolerant);
        require(range.found() == value.has_value());
        if (range.found()) {
            require(range.location > inside.location);
            require(range.location + range.length <= text.size());
            require(text.substr(range.location, range.length) == *value);
        }
        if (value && !tolerant) require(value->find(u'>') == std::u16string::npos);
    }

    const auto ofTag = attributeOfTagWithName(tag, name);
    requireValue(ofTag, tag);
    require(ofTag == attributeOfTagInRange(text, inside, name));
    if (ofTag) require(ofTag->find(u'>') == std::u16string::npos);
    const auto ofStyle = attributeOfStyleWithName(tag, name);
    requireValue(ofStyle, tag);
    require(ofStyle == attributeOfStyleInRange(text, inside, name));
    if (ofStyle) require(ofStyle->find(u';') == std::u16string::npos);

    require(getTagWidth(tag) == getTagWidth(text, inside));
    const auto url = backgroundStyleURLOfTagCharacters(text, inside);
    require(!url || (!url->empty() && tag.find(*url) != std::u16string_view::npos));
    // A range that reaches too far is cut to the text.
    require(attributeOfTagCharacters(text, {inside.location, kNotFound}, name) ==
            attributeOfTagCharacters(tag, whole, name));
    return 0;
}
