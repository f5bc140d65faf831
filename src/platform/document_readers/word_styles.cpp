#include "platform/document_readers/word_styles.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

// Of a style that is a heading by name only: "heading 2".
std::optional<std::uint8_t> headingLevel(std::string_view name) {
    constexpr std::string_view kHeading = "heading ";
    if (name.size() != kHeading.size() + 1 || !name.substr(1).starts_with(kHeading.substr(1)) ||
        (name[0] | 0x20) != kHeading[0]) {
        return std::nullopt;
    }
    const char digit = name.back();
    return digit >= '1' && digit <= '6' ? std::optional(static_cast<std::uint8_t>(digit - '0'))
                                        : std::nullopt;
}

// A style that is on in the paragraph and in the text is off again where both meet.
void crossOut(std::optional<bool>& text, const std::optional<bool>& inParagraph,
              const std::optional<bool>& inCharacter) {
    if (inParagraph.value_or(false) && inCharacter.value_or(false)) text = false;
}

}  // namespace

WordStyles::WordStyles(pugi::xml_node styles, const WordTheme& theme) : theme_(theme) {
    // What no document has to say: ten points of the reader's serif font.
    constexpr double kUsualSize = 10;
    defaults_.text.font = u"Times New Roman";
    defaults_.text.size = kUsualSize;
    const pugi::xml_node defaults = styles.child("w:docDefaults");
    defaults_.text.overlay(
        wordTextProperties(defaults.child("w:rPrDefault").child("w:rPr"), theme));
    defaults_.paragraph.overlay(
        wordParagraphProperties(defaults.child("w:pPrDefault").child("w:pPr")));
    for (const pugi::xml_node style : styles.children("w:style")) {
        const std::string identifier(attributeOf(style, "w:styleId").value_or(""));
        entries_.try_emplace(identifier, Entry{style, {}, false});
        const std::string_view isDefault = attributeOf(style, "w:default").value_or("0");
        if (isDefault != "1" && isDefault != "true" && isDefault != "on") continue;
        const std::string_view type = attributeOf(style, "w:type").value_or("");
        if (type == "paragraph") defaultParagraph_ = identifier;
        if (type == "table") defaultTable_ = identifier;
    }
}

const WordStyles::Style& WordStyles::read(Entry& entry) {
    // From the style down to what it is based on; a style that is based on itself ends there.
    std::vector<Entry*> chain;
    for (Entry* next = &entry;
         next != nullptr && !next->isRead && std::ranges::find(chain, next) == chain.end();) {
        chain.push_back(next);
        const auto base = entries_.find(wordValue(next->node.child("w:basedOn")));
        next = base == entries_.end() ? nullptr : &base->second;
    }
    const auto top = entries_.find(wordValue(chain.back()->node.child("w:basedOn")));
    Style style = top != entries_.end() && top->second.isRead ? top->second.style : Style();
    for (auto next = chain.rbegin(); next != chain.rend(); ++next) {
        const pugi::xml_node node = (*next)->node;
        if (const auto level = headingLevel(wordValue(node.child("w:name")))) {
            style.paragraph.headerLevel = level;
        }
        style.text.overlay(wordTextProperties(node.child("w:rPr"), theme_));
        style.paragraph.overlay(wordParagraphProperties(node.child("w:pPr")));
        style.table.overlay(wordTableProperties(node.child("w:tblPr")));
        style.table.overlay(wordTableProperties(node.child("w:tcPr")));
        (*next)->style = style;
        (*next)->isRead = true;
    }
    return entry.style;
}

const WordStyles::Style& WordStyles::find(std::string_view identifier,
                                          const std::string& otherwise) {
    auto entry = entries_.find(identifier);
    if (entry == entries_.end()) entry = entries_.find(otherwise);
    if (entry == entries_.end()) return nothing_;
    return entry->second.isRead ? entry->second.style : read(entry->second);
}

const WordStyles::Style& WordStyles::paragraphStyle(std::string_view identifier) {
    return find(identifier, defaultParagraph_);
}

const WordStyles::Style& WordStyles::tableStyle(std::string_view identifier) {
    return find(identifier, defaultTable_);
}

const WordStyles::Style& WordStyles::characterStyle(std::string_view identifier) {
    return identifier.empty() ? nothing_ : find(identifier, {});
}

TextStyle WordStyles::textStyle(const Style& paragraph, std::string_view character,
                                const TextProperties& own) {
    TextProperties text = defaults_.text;
    text.overlay(paragraph.text);
    if (!character.empty()) {
        const TextProperties& style = characterStyle(character).text;
        text.overlay(style);
        crossOut(text.bold, paragraph.text.bold, style.bold);
        crossOut(text.italic, paragraph.text.italic, style.italic);
    }
    text.overlay(own);
    return text.resolved();
}

}  // namespace corvy::platform
