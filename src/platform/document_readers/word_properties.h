// The properties of WordprocessingML: those of text, of paragraphs and of tables.
//
// Its 2003 form differs from the later ones in few names; both are read here.
#pragma once

#include <array>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/document_readers/style_properties.h"

namespace corvy::platform {

// Twips, which most numbers count, to a point.
inline constexpr double kTwips = 20;

// The fonts that a theme names.
struct WordTheme {
    std::u16string headings;
    std::u16string text;
};

// A switch is on when it is there and not told to be off.
bool isWordSwitchOn(pugi::xml_node node);
// The value of the node's attribute "w:val"; empty without one.
std::string_view wordValue(pugi::xml_node node);

// Of <w:rPr> and <w:pPr>; nothing for an empty node.
TextProperties wordTextProperties(pugi::xml_node properties, const WordTheme& theme);
ParagraphProperties wordParagraphProperties(pugi::xml_node properties);

// A length of tables and cells; none when it is automatic.
std::optional<TextLength> wordTableLength(pugi::xml_node node);

struct WordBorder {
    double width = 0;
    std::optional<RgbColor> color = {};
};
// What is said of the edges of a table and its cells: each from above counts.
struct WordTableProperties {
    enum Edge { left, top, right, bottom, insideVertical, insideHorizontal };
    std::array<std::optional<WordBorder>, 6> borders = {};
    Edges<std::optional<double>> padding = {};
    std::optional<RgbColor> background = {};

    void overlay(const WordTableProperties& above);
};
// Of <w:tblPr> or <w:tcPr>.
WordTableProperties wordTableProperties(pugi::xml_node properties);

}  // namespace corvy::platform
