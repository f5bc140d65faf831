#include "platform/document_readers/document_story.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"

namespace corvy::platform {

void DocumentStory::attach(Bytes contents, std::u16string_view name, Size size,
                           const TextStyle& style) {
    FileNode file;
    file.name = lastPathComponent(name);
    file.contents = std::move(contents);
    text_.attach(std::move(file), size, style);
}

void DocumentStory::endParagraph(ParagraphStyle style, const TextStyle& mark) {
    text_.append(u"\n", mark);
    style.cells = cells_;
    text_.setParagraphStyle(style);
    paragraphStart_ = text_.length();
}

std::uint32_t DocumentStory::listFor(const std::u16string& key, const TextList& list) {
    const auto [known, isNew] = lists_.try_emplace(key);
    if (isNew) known->second = text_.addList(list);
    return known->second;
}

void DocumentStory::beginTable(const TextTable& table) {
    if (tables_.size() >= kMaxTableDepth) {
        ++deeperTables_;
    } else {
        tables_.push_back(text_.addTable(table));
    }
}

void DocumentStory::endTable() {
    if (deeperTables_ > 0) {
        --deeperTables_;
    } else {
        tables_.pop_back();
    }
}

void DocumentStory::beginCell(TableCell cell) {
    if (deeperTables_ > 0) return;
    cell.table = tables_.back();
    cells_.push_back(cell);
    cellStarts_.push_back(text_.length());
}

void DocumentStory::endCell() {
    if (deeperTables_ > 0) return;
    if (isInParagraph() || text_.length() == cellStarts_.back()) endParagraph({}, {});
    cells_.pop_back();
    cellStarts_.pop_back();
}

AttributedText DocumentStory::take() {
    if (isInParagraph()) endParagraph({}, {});
    paragraphStart_ = 0;
    lists_.clear();
    return std::exchange(text_, {});
}

void makeListItem(ParagraphStyle& style, std::vector<std::uint32_t> lists, double marker,
                  double text) {
    constexpr double kMarkerRoom = 0.3;  // of what stands in front of the text
    constexpr double kTabRoom = 11;      // points, of the tab in front of the marker
    if (text <= 0) text = std::max(style.headIndent, 0.0);
    if (marker <= 0 || marker >= text) marker = text * kMarkerRoom;
    style.lists = std::move(lists);
    style.headIndent = text;
    style.firstLineIndent = std::max(0.0, marker - kTabRoom);
    std::erase_if(style.tabs, [&](const TabStop& tab) { return tab.position <= text; });
    if (text > 0) {
        style.tabs.insert(style.tabs.begin(), {{marker, TabKind::left}, {text, TabKind::left}});
    }
}

std::u16string counterText(std::int32_t number, CounterForm form) {
    const bool isLower = form == CounterForm::lowerAlpha || form == CounterForm::lowerRoman;
    const char16_t first = isLower ? u'a' : u'A';
    constexpr std::int32_t kMostRoman = 3999, kMostRepeats = 20;
    std::u16string text;
    if (form == CounterForm::lowerRoman || form == CounterForm::upperRoman) {
        if (number > 0 && number <= kMostRoman) {
            struct Digit {
                std::int32_t value;
                std::u16string_view lower, upper;
            };
            static constexpr Digit kDigits[] = {
                {1000, u"m", u"M"}, {900, u"cm", u"CM"}, {500, u"d", u"D"}, {400, u"cd", u"CD"},
                {100, u"c", u"C"},  {90, u"xc", u"XC"},  {50, u"l", u"L"},  {40, u"xl", u"XL"},
                {10, u"x", u"X"},   {9, u"ix", u"IX"},   {5, u"v", u"V"},   {4, u"iv", u"IV"},
                {1, u"i", u"I"}};
            for (const Digit& digit : kDigits) {
                for (; number >= digit.value; number -= digit.value) {
                    text += isLower ? digit.lower : digit.upper;
                }
            }
            return text;
        }
    } else if (form != CounterForm::decimal && number > 0 && number <= 26 * kMostRepeats) {
        // After z comes aa, then bb.
        text.assign(static_cast<std::size_t>(number - 1) / 26 + 1,
                    static_cast<char16_t>(first + (number - 1) % 26));
        return text;
    }
    return fromUtf8(std::to_string(number));
}

std::u16string_view counterName(CounterForm form) {
    switch (form) {
        case CounterForm::lowerAlpha: return u"{lower-alpha}";
        case CounterForm::upperAlpha: return u"{upper-alpha}";
        case CounterForm::lowerRoman: return u"{lower-roman}";
        case CounterForm::upperRoman: return u"{upper-roman}";
        case CounterForm::decimal: break;
    }
    return u"{decimal}";
}

std::u16string bulletFormat(std::u16string_view bullet) {
    if (bullet == u"\x2022" || bullet == u"\x25CF") return u"{disc}";
    if (bullet == u"o" || bullet == u"\x25E6" || bullet == u"\x25CB") return u"{circle}";
    if (bullet == u"\x25AA" || bullet == u"\x25A0") return u"{square}";
    if (bullet == u"-" || bullet == u"\x2043" || bullet == u"\x2013") return u"{hyphen}";
    return std::u16string(bullet);
}

}  // namespace corvy::platform
