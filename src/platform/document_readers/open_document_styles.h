// The styles of an OpenDocument text, with what they inherit.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/document_readers/document_story.h"
#include "platform/document_readers/style_properties.h"

namespace corvy::platform {

class OpenDocumentStyles {
public:
    struct Style {
        TextProperties text;
        ParagraphProperties paragraph;
        std::string list;  // the list style that paragraphs of the style follow
    };

    struct ListLevel {
        std::int32_t start = 1;
        std::optional<CounterForm> counter = {};  // none: a bullet, or nothing
        int shownLevels = 1;                      // of outer lists that the marker tells
        std::u16string bullet = {};
        std::u16string prefix = {};
        std::u16string suffix = {};
        double marker = 0;  // where the marker begins, and where the text does: points
        double text = 0;
    };
    static constexpr std::size_t kLevels = 10;
    using ListStyle = std::array<ListLevel, kLevels>;

    // Takes the styles, and fonts, of a part; what was there before stays. The part must outlive
    // this.
    void add(pugi::xml_node part);

    // With what all styles of the family ("paragraph", "text") inherit, for paragraphs; an unknown
    // style says nothing else.
    const Style& style(std::string_view family, std::string_view name);
    // Of elements that inherit nothing here, such as cells: the style's node, or an empty one.
    pugi::xml_node node(std::string_view family, std::string_view name) const;
    // Null when there is none.
    const ListStyle* list(std::string_view name) const;

private:
    struct Entry {
        pugi::xml_node node;
        Style style;
        bool isRead = false;
    };

    const Style& read(std::string_view family, Entry& entry);
    void apply(Style& style, pugi::xml_node node) const;
    TextProperties textProperties(pugi::xml_node node) const;
    ListStyle listStyle(pugi::xml_node node) const;

    std::map<std::string, Entry, std::less<>> entries_;  // "family/name"; "family/" is the default
    std::map<std::string, ListStyle, std::less<>> lists_;
    std::map<std::string, std::u16string, std::less<>> fonts_;  // families by name
};

// A colour as an attribute of OpenDocument has it: none is "transparent".
std::optional<RgbColor> openDocumentColor(std::optional<std::string_view> text);

}  // namespace corvy::platform
