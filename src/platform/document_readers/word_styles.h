// The styles of a WordprocessingML document, with what they inherit.
#pragma once

#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/document_readers/style_properties.h"
#include "platform/document_readers/word_properties.h"

namespace corvy::platform {

class WordStyles {
public:
    // `styles` is <w:styles>, or empty; it must outlive this, as must `theme`.
    WordStyles(pugi::xml_node styles, const WordTheme& theme);

    struct Style {
        TextProperties text;
        ParagraphProperties paragraph;
        WordTableProperties table;
    };
    // What the document says of all text.
    const Style& defaults() const { return defaults_; }
    // What the style and those that it is based on say, without the defaults. An unknown one, or a
    // paragraph without one, has the default style of its kind.
    const Style& paragraphStyle(std::string_view identifier);
    const Style& tableStyle(std::string_view identifier);
    const Style& characterStyle(std::string_view identifier);

    // Of text with that style in a paragraph with that one, and properties of its own.
    TextStyle textStyle(const Style& paragraph, std::string_view character,
                        const TextProperties& own);

private:
    struct Entry {
        pugi::xml_node node;
        Style style;
        bool isRead = false;
    };
    using Entries = std::map<std::string, Entry, std::less<>>;

    const Style& find(std::string_view identifier, const std::string& otherwise);
    const Style& read(Entry& entry);

    const WordTheme& theme_;
    Style defaults_;
    Style nothing_;
    Entries entries_;
    std::string defaultParagraph_;
    std::string defaultTable_;
};

}  // namespace corvy::platform
