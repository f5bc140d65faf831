// The text of a document on its way from a word processor's file into the model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

// Tables within each other that are told apart; deeper ones are text in the cell they stand in.
inline constexpr std::size_t kMaxTableDepth = 16;

class DocumentStory {
public:
    void append(std::u16string_view text, const TextStyle& style) { text_.append(text, style); }
    // A file under the last part of `name`. A size of zero: its own.
    void attach(Bytes contents, std::u16string_view name, Size size, const TextStyle& style);
    // Ends the paragraph by a line feed, in the cell that is open.
    void endParagraph(ParagraphStyle style, const TextStyle& mark);
    // The level of a list, kept once for each `key`.
    std::uint32_t listFor(const std::u16string& key, const TextList& list);

    // A table is a series of cells; each holds a paragraph at least.
    void beginTable(const TextTable& table);
    void endTable();
    // The cell's table is set here.
    void beginCell(TableCell cell);
    void endCell();

    std::size_t length() const { return text_.length(); }
    bool isInTable() const { return !cells_.empty(); }
    // Whether text has been added that no paragraph has ended.
    bool isInParagraph() const { return text_.length() > paragraphStart_; }
    void reserve(std::size_t units) { text_.reserve(units); }
    // A paragraph that is open ends as it is.
    AttributedText take();

private:
    AttributedText text_;
    std::size_t paragraphStart_ = 0;
    std::vector<std::uint32_t> tables_;  // those that are open
    std::vector<TableCell> cells_;
    std::vector<std::size_t> cellStarts_;
    std::size_t deeperTables_ = 0;
    std::map<std::u16string, std::uint32_t> lists_;
};

// Units of what stands around the counters of a marker. A few bytes that say it stand for it at
// every item.
inline constexpr std::size_t kMaxMarkerText = 64;

// The paragraph as an item of lists, from the outermost to its own. Its text begins with a tab, the
// marker and a tab; `text` is where the item's text begins, `marker` its marker, in points.
void makeListItem(ParagraphStyle& style, std::vector<std::uint32_t> lists, double marker,
                  double text);

// Numbers as lists have them: "c", "IV". What a form cannot say is decimal.
enum class CounterForm { decimal, lowerAlpha, upperAlpha, lowerRoman, upperRoman };
std::u16string counterText(std::int32_t number, CounterForm form);
// "{lower-roman}"
std::u16string_view counterName(CounterForm form);
// The marker of a list whose items have this bullet: "{disc}", or the character itself.
std::u16string bulletFormat(std::u16string_view bullet);

}  // namespace corvy::platform
