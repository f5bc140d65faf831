#include "platform/document_readers/word_binary.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/document_readers/document_story.h"
#include "platform/document_readers/field_stack.h"
#include "platform/document_readers/property_set.h"
#include "platform/document_readers/word_binary_parts.h"
#include "platform/document_readers/word_binary_picture.h"
#include "platform/document_readers/word_binary_properties.h"
#include "platform/document_readers/word_binary_styles.h"
#include "platform/document_readers/word_binary_table.h"

namespace corvy::platform {

namespace {

namespace attribute = document_attribute;

constexpr char16_t kCellMark = 0x07, kParagraphMark = 0x0D, kSectionMark = 0x0C;

class BodyReader {
public:
    explicit BodyReader(const WordBinaryParts& parts)
        : parts_(parts),
          fonts_(wordBinaryFonts(parts)),
          styles_(wordBinaryStyles(parts, fonts_)),
          numbering_(wordBinaryNumbering(parts, fonts_)),
          sectionEnds_(parts.positions(WordBinaryParts::kSections, 12)),
          footnoteMarks_(parts.positions(WordBinaryParts::kFootnoteMarks, 2)),
          endnoteMarks_(parts.positions(WordBinaryParts::kEndnoteMarks, 2)) {
        // The last position is the end of the text.
        if (!footnoteMarks_.empty()) footnoteMarks_.pop_back();
        if (!endnoteMarks_.empty()) endnoteMarks_.pop_back();
    }

    AttributedText read() {
        story_.reserve(parts_.text().size());
        story(WordStory::main);
        story(WordStory::boxes);
        inNotes_ = true;
        story(WordStory::footnotes);
        story(WordStory::endnotes);
        return story_.take();
    }

private:
    void story(WordStory which) {
        fields_.clear();
        const std::vector<WordBinaryParagraph> paragraphs =
            split(parts_.storyStart(which), parts_.storyEnd(which));
        for (std::size_t i = 0; i < paragraphs.size();) {
            if (!paragraphs[i].isInTable()) {
                paragraph(paragraphs[i++]);
                continue;
            }
            const std::size_t start = i;
            while (i < paragraphs.size() && paragraphs[i].isInTable()) ++i;
            table(std::span(paragraphs).subspan(start, i - start));
        }
    }

    // kept: a page break inside the text has the character that ends a section; only the end of a
    // section is the end of a paragraph.
    bool endsParagraph(std::uint32_t position) const {
        const char16_t unit = parts_.text()[position];
        if (unit == kParagraphMark || unit == kCellMark) return true;
        return unit == kSectionMark && std::ranges::binary_search(sectionEnds_, position + 1);
    }

    std::vector<WordBinaryParagraph> split(std::uint32_t start, std::uint32_t end) {
        std::vector<WordBinaryParagraph> paragraphs;
        for (std::uint32_t i = start; i < end; ++i) {
            if (!endsParagraph(i) && i + 1 < end) continue;
            WordBinaryParagraph made;
            made.start = start;
            made.end = endsParagraph(i) ? i : i + 1;
            made.isCellEnd = parts_.text()[i] == kCellMark;
            readProperties(made, i);
            paragraphs.push_back(std::move(made));
            start = i + 1;
        }
        // Every story ends with a mark that belongs to no text.
        if (!paragraphs.empty() && paragraphs.back().start == paragraphs.back().end &&
            parts_.storyStart(WordStory::footnotes) != start) {
            paragraphs.pop_back();
        }
        return paragraphs;
    }

    void readProperties(WordBinaryParagraph& paragraph, std::uint32_t mark) {
        const WordFormatRun* run = runAt(parts_.paragraphRuns(), offsetOf(mark));
        if (run == nullptr) {
            paragraph.properties = styleAt(0).paragraph;
            return;
        }
        paragraph.style = run->style;
        paragraph.own = wordParagraphChanges(run->changes);
        paragraph.properties = styleAt(run->style).paragraph;
        paragraph.properties.overlay(paragraph.own);
    }

    const WordBinaryStyle& styleAt(std::size_t index) const {
        return styles_[index < styles_.size() ? index : 0];
    }

    const WordPiece& pieceAt(std::uint32_t position) {
        const auto pieces = parts_.pieces();
        // It is nearly always the one before.
        if (piece_ >= pieces.size() || position < pieces[piece_].start ||
            position >= pieces[piece_].end) {
            const auto next = std::ranges::upper_bound(pieces, position, {}, &WordPiece::start);
            piece_ = static_cast<std::size_t>(next - pieces.begin()) - 1;
        }
        return pieces[piece_];
    }

    std::uint32_t offsetOf(std::uint32_t position) {
        const WordPiece& piece = pieceAt(position);
        return piece.offset + (position - piece.start) * piece.unitBytes;
    }

    void table(std::span<const WordBinaryParagraph> paragraphs) {
        const WordBinaryTable table = layOutWordBinaryTable(paragraphs);
        story_.beginTable(table.table);
        for (const WordBinaryTable::Cell& cell : table.cells) {
            story_.beginCell(cell.cell);
            for (const WordBinaryParagraph& inside : cell.paragraphs) paragraph(inside);
            story_.endCell();
        }
        story_.endTable();
    }

    void paragraph(const WordBinaryParagraph& told) {
        const WordBinaryStyle& style = styleAt(told.style);
        const TextStyle mark = markStyle(told, style);
        ParagraphStyle made = paragraphStyle(told, style, mark);
        text(told.start, told.end, style);
        story_.endParagraph(std::move(made), mark);
    }

    TextStyle markStyle(const WordBinaryParagraph& told, const WordBinaryStyle& style) {
        TextProperties text = style.text;
        const WordFormatRun* run = told.end < parts_.text().size()
                                       ? runAt(parts_.characterRuns(), offsetOf(told.end))
                                       : nullptr;
        if (run != nullptr) text.overlay(wordTextChanges(run->changes, style.text, fonts_).text);
        return text.resolved();
    }

    ParagraphStyle paragraphStyle(const WordBinaryParagraph& told, const WordBinaryStyle& style,
                                  const TextStyle& mark) {
        const WordParagraphProperties& properties = told.properties;
        if (properties.paragraph.breaksPage.value_or(false) && story_.length() > 0) {
            story_.append({&kPageBreak, 1}, mark);
        }
        ListPlace place;
        place.list = fromUtf8(std::to_string(properties.list.value_or(0)));
        place.level = properties.level.value_or(0);
        const WordNumbering::Level* level = numbering_.levelAt(place);
        if (level == nullptr) return properties.paragraph.resolved();
        // What a list says stands above the style, unless the style itself names the list.
        ParagraphProperties all = style.paragraph.paragraph;
        all.overlay(level->paragraph);
        if (!told.own.list) all.overlay(style.paragraph.paragraph);
        all.overlay(told.own.paragraph);
        ParagraphStyle made = all.resolved();
        beginListItem(made, all, numbering_, place, story_, mark);
        return made;
    }

    // Where the text stops that has the same properties; the first run behind it when none holds.
    std::uint32_t segmentEnd(std::uint32_t position, std::uint32_t end, const WordFormatRun* run) {
        const WordPiece& piece = pieceAt(position);
        const std::uint32_t offset = offsetOf(position);
        end = std::min(end, piece.end);
        std::uint32_t bound = 0;
        if (run != nullptr) {
            bound = run->end;
        } else {
            const auto runs = parts_.characterRuns();
            const auto next = std::ranges::upper_bound(runs, offset, {}, &WordFormatRun::start);
            if (next == runs.end()) return end;
            bound = next->start;
        }
        const std::uint32_t units = (bound - offset + piece.unitBytes - 1) / piece.unitBytes;
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(end, std::uint64_t{position} + std::max(units, 1U)));
    }

    void text(std::uint32_t position, std::uint32_t end, const WordBinaryStyle& style) {
        while (position < end) {
            const WordFormatRun* run = runAt(parts_.characterRuns(), offsetOf(position));
            const std::uint32_t stop = segmentEnd(position, end, run);
            WordTextProperties properties;
            properties.text = style.text;
            if (run != nullptr) {
                const WordTextProperties own = wordTextChanges(run->changes, style.text, fonts_);
                if (own.style) properties.text.overlay(styleAt(*own.style).text);
                properties.overlay(own);
            }
            segment(position, stop, properties);
            position = stop;
        }
    }

    void append(std::u16string_view text, TextStyle& style) {
        if (text.empty() || !fields_.isShown()) return;
        const std::u16string* link = fields_.link();
        style.link = link != nullptr ? *link : std::u16string();
        story_.append(text, style);
    }

    void segment(std::uint32_t position, std::uint32_t end, const WordTextProperties& properties) {
        const bool isHidden =
            properties.text.hidden.value_or(false) || properties.deleted.value_or(false);
        TextStyle style = properties.text.resolved();
        std::u16string plain;
        for (; position < end; ++position) {
            const char16_t unit = parts_.text()[position];
            if (unit >= 0x20 && unit != 0xFFFF) {
                plain += properties.symbolFont && unit == u'(' ? symbolOf(properties) : unit;
                continue;
            }
            give(plain, isHidden, style);
            if (field(unit) || isHidden) continue;
            special(position, unit, properties, style);
        }
        give(plain, isHidden, style);
    }

    void give(std::u16string& plain, bool isHidden, TextStyle& style) {
        fields_.addInstruction(plain);
        if (!isHidden) append(wordSymbolText(plain, style.font), style);
        plain.clear();
    }

    char16_t symbolOf(const WordTextProperties& properties) const {
        const std::size_t font = *properties.symbolFont;
        const char16_t unit = properties.symbol;
        return wordSymbolText({&unit, 1}, font < fonts_.size() ? fonts_[font] : u"")[0];
    }

    bool field(char16_t unit) {
        if (unit == 0x13) fields_.begin();
        if (unit == 0x14) fields_.separate();
        if (unit == 0x15) fields_.end();
        return unit >= 0x13 && unit <= 0x15;
    }

    void special(std::uint32_t position, char16_t unit, const WordTextProperties& properties,
                 TextStyle& style) {
        switch (unit) {
            case 0x01: return picture(properties, style);
            case 0x02: return append(noteNumber(position), style);
            case 0x09: return append(u"\t", style);
            case 0x0B: return append({&kLineBreak, 1}, style);
            case 0x0C:
            case 0x0E: return append({&kPageBreak, 1}, style);
            case 0x1E: return append(u"\x2011", style);
            case 0x1F: return append(u"\x00AD", style);
            default: return;
        }
    }

    // Endnotes count on from the footnotes, as they stand at the end.
    std::u16string noteNumber(std::uint32_t position) {
        const auto indexIn = [&](const std::vector<std::uint32_t>& marks) {
            const auto mark = std::ranges::lower_bound(marks, position);
            return mark != marks.end() && *mark == position
                       ? static_cast<std::size_t>(mark - marks.begin()) + 1
                       : std::size_t{0};
        };
        std::size_t number = 0;
        if (inNotes_) {
            number = ++notes_;
        } else if (const std::size_t footnote = indexIn(footnoteMarks_); footnote > 0) {
            number = footnote;
        } else if (const std::size_t endnote = indexIn(endnoteMarks_); endnote > 0) {
            number = footnoteMarks_.size() + endnote;
        } else {
            return {};
        }
        return fromUtf8(std::to_string(number));
    }

    void picture(const WordTextProperties& properties, const TextStyle& style) {
        if (!properties.picture || !fields_.isShown()) return;
        const auto [known, isNew] = pictures_.try_emplace(*properties.picture);
        if (isNew) known->second = wordBinaryPicture(parts_.data(), *properties.picture);
        if (known->second) {
            story_.attach(known->second->contents, known->second->name, known->second->size, style);
        }
    }

    const WordBinaryParts& parts_;
    std::vector<std::u16string> fonts_;
    std::vector<WordBinaryStyle> styles_;
    WordNumbering numbering_;
    std::vector<std::uint32_t> sectionEnds_;
    std::vector<std::uint32_t> footnoteMarks_;
    std::vector<std::uint32_t> endnoteMarks_;
    DocumentStory story_;
    FieldStack fields_;
    std::size_t piece_ = 0;
    std::map<std::uint32_t, std::optional<WordBinaryPicture>> pictures_;
    bool inNotes_ = false;
    std::size_t notes_ = 0;
};

// Paper and margins of the first section.
void readPage(const WordBinaryParts& parts, Dictionary& attributes) {
    constexpr std::size_t kEntry = 12;
    const LittleEndian table = parts.table(WordBinaryParts::kSections);
    const std::size_t count = parts.positions(WordBinaryParts::kSections, kEntry).size();
    if (count < 2) return;
    const std::uint32_t place = table.u32(4 * count + 2);
    double width = 612, height = 792;
    constexpr double kTwips = 20, kUsualSide = 90, kUsualEnd = 72;
    double left = kUsualSide, right = kUsualSide, top = kUsualEnd, bottom = kUsualEnd;
    const LittleEndian section = parts.main().from(place);
    WordChanges changes(place == 0xFFFFFFFF ? LittleEndian() : section.part(2, section.u16(0)));
    while (const auto change = changes.next()) {
        const double length = std::abs(change->operand.s16(0)) / kTwips;
        switch (change->code) {
            case 0xB01F: width = length; break;
            case 0xB020: height = length; break;
            case 0xB021: left = length; break;
            case 0xB022: right = length; break;
            case 0x9023: top = length; break;
            case 0x9024: bottom = length; break;
            default: break;
        }
    }
    if (width <= 0 || height <= 0) return;
    attributes.set(attribute::kPaperSize, sizeString({width, height}));
    attributes.set(attribute::kLeftMargin, left);
    attributes.set(attribute::kRightMargin, right);
    attributes.set(attribute::kTopMargin, top);
    attributes.set(attribute::kBottomMargin, bottom);
    const double tab = parts.table(WordBinaryParts::kDocument).u16(0x0A) / kTwips;
    if (tab > 0) attributes.set(attribute::kDefaultTabInterval, tab);
}

}  // namespace

bool isWordBinary(const CompoundFile& file) {
    return file.has(u"WordDocument") && (file.has(u"0Table") || file.has(u"1Table"));
}

std::optional<RichDocument> documentOfWordBinary(const CompoundFile& file) {
    const std::optional<WordBinaryParts> parts = WordBinaryParts::open(file);
    if (!parts) return std::nullopt;
    RichDocument document;
    document.attributes.set(attribute::kType, document_type::kDocFormat);
    document.text = BodyReader(*parts).read();
    readPage(*parts, document.attributes);
    document.attributes.addEntries(summaryInformation(file).attributes);
    return document;
}

}  // namespace corvy::platform
