// The text of a WordprocessingML document, in its present form and in that of 2003.
#pragma once

#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/document_readers/word_properties.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

struct WordPicture {
    Bytes contents;
    std::u16string name;
};

// The parts of a document; nodes may be empty. All must outlive the reading.
struct WordSource {
    pugi::xml_node body;
    pugi::xml_node styles;
    pugi::xml_node numbering;
    pugi::xml_node footnotes;
    pugi::xml_node endnotes;
    WordTheme theme;
    bool keepsSpaces = false;  // around texts that do not say so themselves
    // By the identifiers that the body has for them.
    std::function<std::optional<std::u16string>(std::string_view identifier)> link;
    std::function<std::optional<WordPicture>(std::string_view identifier)> picture;
};

// The text; the paper and the margins of the first section are set in `attributes`. Inserted text
// is there, deleted and hidden text is not. Footnotes and endnotes stand at the end, headers and
// footers nowhere.
AttributedText textOfWordDocument(const WordSource& source, Dictionary& attributes);

}  // namespace corvy::platform
