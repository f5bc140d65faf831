#include "markup/tag_attributes.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

constexpr Operation kOperations[] = {
    function<[](Text characters, Range range, Text name) {
        return attributeOfTagCharacters(characters, range, name);
    }>("attributeOfTagCharacters:range:withName:"),
    function<[](Text characters, Range range, Text name) {
        return rangeOfAttributeOfTagCharacters(characters, range, name);
    }>("rangeOfAttributeOfTagCharacters:range:withName:"),
    function<attributeOfTagCharacters>("attributeOfTagCharacters:range:withName:tolerant:"),
    method<attributeOfTagWithName>("attributeOfTagWithName:"),
    method<attributeOfTagInRange>("attributeOfTagInRange:withName:"),
    method<attributeOfStyleWithName>("attributeOfStyleWithName:"),
    method<attributeOfStyleInRange>("attributeOfStyleInRange:withName:"),
    method<[](Text tag) {
        const TagSize size = getTagWidth(tag);
        return Reply{size.found(), {{u"width", size.width}, {u"height", size.height}}};
    }>("getTagWidth:height:"),
    function<backgroundStyleURLOfTagCharacters>("backgroundStyleURLOfTagCharacters:range:"),
};

}  // namespace

std::span<const Operation> attributeOperations() {
    return kOperations;
}

}  // namespace corvy::tools
