#include "platform/document_readers/word_binary_styles.h"

#include <algorithm>
#include <map>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

std::u16string textAt(LittleEndian bytes, std::size_t at, std::size_t units) {
    std::u16string text;
    for (std::size_t i = 0; i < units && at + 2 * i + 2 <= bytes.size(); ++i) {
        text += static_cast<char16_t>(bytes.u16(at + 2 * i));
    }
    return text;
}

class StyleReader {
public:
    StyleReader(const WordBinaryParts& parts, const std::vector<std::u16string>& fonts)
        : fonts_(fonts) {
        const LittleEndian sheet = parts.table(WordBinaryParts::kStyles);
        const std::size_t headSize = sheet.u16(0);
        const std::size_t count = std::min<std::size_t>(sheet.u16(2), 4095);
        baseSize_ = sheet.u16(4);
        // What no style says.
        constexpr double kUsualSize = 10;
        defaults_.text.font = u"Times New Roman";
        defaults_.text.size = kUsualSize;
        constexpr std::size_t kFontInHead = 2 + 12;
        const std::size_t font = sheet.u16(kFontInHead);
        if (headSize >= kFontInHead && font < fonts.size()) defaults_.text.font = fonts[font];
        LittleEndian rest = sheet.from(2 + headSize);
        for (std::size_t i = 0; i < count && rest.size() >= 2; ++i) {
            const std::size_t size = rest.u16(0);
            entries_.push_back(rest.part(2, size));
            rest = rest.from(2 + size);
        }
        styles_.resize(entries_.size());
        isRead_.resize(entries_.size());
    }

    std::vector<WordBinaryStyle> read() {
        for (std::size_t i = 0; i < entries_.size(); ++i) resolve(i, 0);
        if (styles_.empty()) styles_.push_back(defaults_);
        return std::move(styles_);
    }

private:
    static constexpr unsigned kParagraph = 1, kCharacter = 2, kNoBase = 0xFFF;

    unsigned kindOf(std::size_t index) const { return entries_[index].u16(2) & 0xFU; }

    const WordBinaryStyle& resolve(std::size_t index, int depth) {
        constexpr int kDeepest = 64;  // a style that is based on itself ends here
        if (isRead_[index] || depth > kDeepest) return styles_[index];
        const LittleEndian entry = entries_[index];
        const std::size_t base = entry.u16(2) >> 4;
        const unsigned kind = kindOf(index);
        WordBinaryStyle style;
        if (kind == kParagraph) style = defaults_;
        if (base != kNoBase && base < entries_.size() && base != index && kindOf(base) == kind) {
            style = resolve(base, depth + 1);
        }
        if (!entry.span().empty()) apply(style, entry, kind);
        styles_[index] = std::move(style);
        isRead_[index] = true;
        return styles_[index];
    }

    void apply(WordBinaryStyle& style, LittleEndian entry, unsigned kind) const {
        const std::size_t identifier = entry.u16(0) & 0xFFFU;
        if (identifier >= 1 && identifier <= 9) {
            style.paragraph.paragraph.headerLevel =
                static_cast<std::uint8_t>(identifier <= 6 ? identifier : 0);
        }
        const std::size_t nameUnits = entry.u16(baseSize_);
        std::size_t at = baseSize_ + 2 + 2 * nameUnits + 2;
        const auto nextList = [&] {
            at += at % 2;
            const LittleEndian list = entry.part(at + 2, entry.u16(at));
            at += 2 + list.size();
            return list;
        };
        if (kind == kParagraph) {
            // The number of the style comes first.
            style.paragraph.overlay(wordParagraphChanges(nextList().from(2)));
        }
        if (kind == kParagraph || kind == kCharacter) {
            style.text.overlay(wordTextChanges(nextList(), style.text, fonts_).text);
        }
    }

    const std::vector<std::u16string>& fonts_;
    std::size_t baseSize_ = 0;
    WordBinaryStyle defaults_;
    std::vector<LittleEndian> entries_;
    std::vector<WordBinaryStyle> styles_;
    std::vector<bool> isRead_;
};

CounterForm formOf(std::uint8_t number) {
    switch (number) {
        case 1: return CounterForm::upperRoman;
        case 2: return CounterForm::lowerRoman;
        case 3: return CounterForm::upperAlpha;
        case 4: return CounterForm::lowerAlpha;
        default: return CounterForm::decimal;
    }
}

// Takes a level off the list of levels.
WordNumbering::Level takeLevel(LittleEndian& rest, const std::vector<std::u16string>& fonts) {
    WordNumbering::Level level;
    constexpr std::size_t kHead = 28;
    constexpr std::uint8_t kBullet = 23, kNone = 255;
    level.start = std::clamp(rest.s32(0), -1'000'000, 1'000'000);
    level.form = formOf(rest.u8(4));
    level.isBullet = rest.u8(4) == kBullet;
    level.isNone = rest.u8(4) == kNone;
    const std::size_t textChanges = rest.u8(24), paragraphChanges = rest.u8(25);
    level.paragraph = wordParagraphChanges(rest.part(kHead, paragraphChanges)).paragraph;
    const WordTextProperties marker =
        wordTextChanges(rest.part(kHead + paragraphChanges, textChanges), {}, fonts);
    rest = rest.from(kHead + paragraphChanges + textChanges);
    const std::size_t units = rest.u16(0);
    for (const char16_t unit : textAt(rest, 2, std::min(units, kMaxMarkerText))) {
        // The first nine characters stand for the counters of the levels.
        if (unit < 9 && !level.isBullet) {
            level.text += u'%';
            level.text += static_cast<char16_t>(u'1' + unit);
        } else {
            level.text += unit;
        }
    }
    rest = rest.from(2 + 2 * units);
    if (level.isBullet) level.text = bulletText(level.text, marker.text.font.value_or(u""));
    return level;
}

}  // namespace

std::vector<std::u16string> wordBinaryFonts(const WordBinaryParts& parts) {
    std::vector<std::u16string> fonts;
    const LittleEndian table = parts.table(WordBinaryParts::kFonts);
    LittleEndian rest = table.from(4);
    for (std::size_t i = 0; i < table.u16(0) && rest.size() > 0; ++i) {
        const std::size_t size = std::size_t{rest.u8(0)} + 1;
        constexpr std::size_t kName = 40;
        const LittleEndian font = rest.part(0, size);
        std::u16string name = textAt(font, kName, size / 2);
        fonts.push_back(name.substr(0, name.find(u'\0')));
        rest = rest.from(size);
    }
    return fonts;
}

std::vector<WordBinaryStyle> wordBinaryStyles(const WordBinaryParts& parts,
                                              const std::vector<std::u16string>& fonts) {
    return StyleReader(parts, fonts).read();
}

WordNumbering wordBinaryNumbering(const WordBinaryParts& parts,
                                  const std::vector<std::u16string>& fonts) {
    constexpr std::size_t kList = 28, kReference = 16, kMost = 4096;
    const LittleEndian table = parts.table(WordBinaryParts::kLists);
    const std::size_t count = std::min<std::size_t>(table.u16(0), kMost);
    // The levels follow the table, though its size does not count them.
    LittleEndian rest = parts.tableFrom(WordBinaryParts::kLists).from(2 + count * kList);
    std::map<std::uint32_t, WordNumbering::Levels> lists;
    for (std::size_t i = 0; i < count && rest.size() > 0; ++i) {
        const LittleEndian list = table.part(2 + i * kList, kList);
        const bool isSimple = (list.u8(26) & 1U) != 0;
        WordNumbering::Levels& levels = lists[list.u32(0)];
        for (std::size_t level = 0; level < (isSimple ? 1 : levels.size()); ++level) {
            levels[level] = takeLevel(rest, fonts);
        }
    }
    WordNumbering numbering;
    const LittleEndian references = parts.table(WordBinaryParts::kListReferences);
    for (std::size_t i = 0; i < references.u32(0) && 4 + i * kReference < references.size(); ++i) {
        const std::uint32_t list = references.u32(4 + i * kReference);
        const auto levels = lists.find(list);
        if (levels == lists.end()) continue;
        numbering.add(fromUtf8(std::to_string(i + 1)), {std::to_string(list), levels->second, {}});
    }
    return numbering;
}

}  // namespace corvy::platform
