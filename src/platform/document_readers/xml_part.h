// XML inside documents, and the values in it.
#pragma once

#include <initializer_list>
#include <optional>
#include <pugixml.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

// Elements within each other that are followed; what is deeper is passed over.
inline constexpr int kMaxXmlDepth = 200;

// A name space and the prefix under which the readers know its elements.
struct XmlPrefix {
    std::string_view nameSpace;
    std::string_view prefix;
};

// The tree of the bytes, up to where they stop being well-formed; entities that a document declares
// are not expanded. Where the root element gives one of the name spaces another prefix, elements
// and attributes are renamed.
pugi::xml_document parseXml(std::span<const std::byte> bytes,
                            std::span<const XmlPrefix> prefixes = {});

// Calls `visit` for every element below the node, in the order of the text, until it gives true.
template <typename Visit>
void visitBelow(pugi::xml_node top, Visit visit) {
    pugi::xml_node node = top.first_child();
    while (node) {
        if (visit(node)) return;
        if (node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node != top && !node.next_sibling()) node = node.parent();
        if (node == top) return;
        node = node.next_sibling();
    }
}

// The first element below the node, in the order of the text, that has the name; empty when there
// is none.
pugi::xml_node descendant(pugi::xml_node node, std::string_view name);
std::vector<pugi::xml_node> descendants(pugi::xml_node node, std::string_view name);
// All text below the node.
std::u16string textBelow(pugi::xml_node node);
// The attribute's value; none when it is not there.
std::optional<std::string_view> attributeOf(pugi::xml_node node, const char* name);

// A whole or broken number; none without one.
std::optional<double> numberOf(std::optional<std::string_view> text);
// "2.54cm", "12pt", "1in" in points; a number without unit is one of `perPoint` to a point.
std::optional<double> pointsOf(std::optional<std::string_view> text, double perPoint = 1);
// "RRGGBB", with or without "#".
std::optional<RgbColor> colorOf(std::optional<std::string_view> text);
// "2004-05-06T07:08:09Z": a zone may be missing, as may the time.
std::optional<Date> isoDateOf(std::string_view text);

// Sets the key, unless there is nothing but white space in the text. Keywords become a list.
void setTextAttribute(Dictionary& attributes, const char16_t* key, std::u16string_view text);
void setDateAttribute(Dictionary& attributes, const char16_t* key, std::string_view text);

}  // namespace corvy::platform
