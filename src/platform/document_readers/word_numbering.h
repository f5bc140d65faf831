// The lists of a WordprocessingML document and the counters of their items.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/document_readers/document_story.h"
#include "platform/document_readers/style_properties.h"
#include "platform/document_readers/word_properties.h"

namespace corvy::platform {

class WordNumbering {
public:
    static constexpr std::size_t kLevels = 9;

    struct Level {
        std::int32_t start = 1;
        CounterForm form = CounterForm::decimal;
        bool isBullet = false;
        bool isNone = false;  // neither number nor bullet
        std::u16string text;  // of the marker: "%1." with the counters of levels, or the bullet
        std::string style;    // the paragraph style that belongs to it
        ParagraphProperties paragraph;
    };

    using Levels = std::array<Level, kLevels>;
    struct List {
        std::string abstract;  // lists that share it share their counters
        Levels levels;
        std::array<std::optional<std::int32_t>, kLevels>
            restarts;  // at the first item of this list
    };

    // Without any list.
    WordNumbering() = default;
    // `numbering` is <w:numbering>, or <w:lists> of the 2003 form, or empty.
    WordNumbering(pugi::xml_node numbering, const WordTheme& theme);

    // Adds a list under a name that none has yet.
    void add(std::u16string name, const List& list) { lists_.try_emplace(std::move(name), list); }

    // Null when there is no such list.
    const Level* levelAt(const ListPlace& place) const;
    // The level of the list that belongs to a paragraph style.
    std::optional<std::uint8_t> levelOfStyle(const std::u16string& list,
                                             std::string_view style) const;
    // Counts an item and gives its marker; empty when it has none.
    std::u16string nextMarker(const ListPlace& place);
    // The lists that the item is in, from the outermost, as the model has them.
    std::vector<std::pair<std::u16string, TextList>> listsOf(const ListPlace& place) const;

private:
    static Level readLevel(pugi::xml_node node, const WordTheme& theme);
    const List* find(const std::u16string& list) const;

    std::map<std::u16string, List> lists_;
    // Numbers of the last items; none where the next one starts.
    std::map<std::string, std::array<std::optional<std::int32_t>, kLevels>> counters_;
    std::map<std::u16string, std::array<bool, kLevels>> restarted_;
};

// Counts an item of a list and writes its marker. `properties` are those that the paragraph's style
// was made of; it becomes one of a list's item.
void beginListItem(ParagraphStyle& style, const ParagraphProperties& properties,
                   WordNumbering& numbering, const ListPlace& place, DocumentStory& story,
                   const TextStyle& mark);

// Text in a font whose letters stand for other characters.
std::u16string wordSymbolText(std::u16string_view text, std::u16string_view font);
// The same of a bullet, which is a plain one where nobody knows what it stands for.
std::u16string bulletText(std::u16string_view bullet, std::u16string_view font);

}  // namespace corvy::platform
