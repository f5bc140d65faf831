#include "platform/rich_text/rtf_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/rich_text/rtf_head.h"
#include "platform/rich_text/rtf_output.h"
#include "platform/rich_text/rtf_table_layout.h"

namespace corvy::platform {

namespace {

using StyleIndex = AttributedText::StyleIndex;

constexpr double kLargestSize = 4000;  // points; the control word's number must fit 16 bits
constexpr std::string_view kPngStart = "\x89PNG\r\n";
constexpr std::string_view kJpegStart = "\xFF\xD8\xFF";

std::int64_t halfPoints(double value) {
    return std::llround(std::fmin(std::fmax(value, -kLargestSize), kLargestSize) * 2);
}

std::int64_t halfPointsOfSize(double size) {
    return std::max<std::int64_t>(halfPoints(size), 1);
}

// The tables that a paragraph stands in, as far as the text has them.
std::span<const TableCell> cellsOf(const ParagraphStyle& style, const AttributedText& text) {
    const auto isKnown = [&text](const TableCell& cell) {
        return cell.table < text.tables().size();
    };
    const auto end = std::ranges::find_if_not(style.cells, isKnown);
    return std::span(style.cells).first(static_cast<std::size_t>(end - style.cells.begin()));
}

bool sameRow(const TableCell& a, const TableCell& b) {
    return a.table == b.table && a.row == b.row;
}

// How many cells two paragraphs have in common.
std::size_t commonCells(std::span<const TableCell> a, std::span<const TableCell> b) {
    std::size_t count = 0;
    while (count < a.size() && count < b.size() && sameRow(a[count], b[count]) &&
           a[count].column == b[count].column) {
        ++count;
    }
    return count;
}

std::string_view underlineWord(LineStyle style) {
    switch (style) {
        case LineStyle::single: return "\\ul";
        case LineStyle::thick: return "\\ulth";
        case LineStyle::doubled: return "\\uldb";
        default: return "\\ulnone";
    }
}

std::string_view strikeWord(LineStyle style) {
    switch (style) {
        case LineStyle::none: return "\\strike0\\striked0";
        case LineStyle::doubled: return "\\striked1";
        default: return "\\strike";
    }
}

std::string_view superscriptWord(int level) {
    return level == 0 ? "\\nosupersub" : level > 0 ? "\\super" : "\\sub";
}

class Writer {
public:
    Writer(const RichDocument& document, std::span<const std::u16string> names)
        : document_(document),
          text_(document.text),
          names_(names),
          head_(document.text),
          tables_(document.text) {
        for (const TextStyle& style : text_.styles()) fonts_.push_back(head_.font(style));
    }

    std::string write() {
        out_.reserve(text_.length() + text_.length() / 4 + 1024);
        head_.write(out_, document_);
        const std::u16string& string = text_.string();
        const ParagraphStyle* style = paragraphAt(0);
        for (std::size_t start = 0; start < string.size();) {
            const std::size_t end = std::min(string.find(u'\n', start), string.size());
            beginParagraph(*style);
            writeParagraph(start, end, *style);
            start = end + 1;
            const bool isLast = start >= string.size();
            const ParagraphStyle* next = isLast ? nullptr : paragraphAt(start);
            endParagraph(*style, next, end < string.size());
            style = next;
        }
        out_.raw('}');
        return out_.take();
    }

private:
    static constexpr StyleIndex kNoStyle = 0xFFFFFFFF;

    // Of the paragraph there. Paragraphs are asked for in text order.
    const ParagraphStyle* paragraphAt(std::size_t location) {
        static const ParagraphStyle kDefault;
        const auto runs = text_.paragraphRuns();
        while (paragraphRun_ < runs.size() && runs[paragraphRun_].end <= location) ++paragraphRun_;
        if (paragraphRun_ == runs.size()) return &kDefault;
        return &text_.paragraphStyle(runs[paragraphRun_].style);
    }

    // Paragraphs and their cells.

    void beginParagraph(const ParagraphStyle& style) {
        const auto cells = cellsOf(style, text_);
        for (std::size_t depth = openCells_; depth < cells.size(); ++depth) {
            const bool isNewRow = depth >= places_.size();
            if (isNewRow) {
                places_.push_back(0);
                // Rows inside cells are told of behind their text.
                if (depth == 0) writeRow(cells[0], 0);
            }
            writeFillers(cells[depth], depth);
        }
        openCells_ = cells.size();
        if (paragraph_ != &style) writeParagraphStyle(style, cells.size());
        paragraph_ = &style;
    }

    void endParagraph(const ParagraphStyle& style, const ParagraphStyle* next, bool hasEnd) {
        const auto cells = cellsOf(style, text_);
        const auto nextCells =
            next != nullptr ? cellsOf(*next, text_) : std::span<const TableCell>();
        const std::size_t common = commonCells(cells, nextCells);
        if (common == cells.size()) {
            if (hasEnd) out_.raw("\\\n");
            return;
        }
        for (std::size_t depth = cells.size(); depth-- > common;) {
            if (depth + 1 < cells.size()) writeEmptyParagraph(depth);
            endCell(depth);
            const bool rowGoesOn = depth == common && depth < nextCells.size() &&
                                   sameRow(cells[depth], nextCells[depth]);
            if (rowGoesOn) continue;
            writeFillers(cells[depth], depth);
            endRow(cells[depth], depth);
            places_.resize(depth);
        }
        openCells_ = common;
    }

    void writeEmptyParagraph(std::size_t depth) {
        out_.word("\\pard\\intbl\\itap", static_cast<std::int64_t>(depth + 1));
        paragraph_ = nullptr;
    }

    void endCell(std::size_t depth) {
        out_.raw(depth == 0 ? "\\cell\n" : "\\nestcell\n");
        ++places_[depth];
    }

    // The cells without text that come next in the row.
    void writeFillers(const TableCell& cell, std::size_t depth) {
        const auto& row = tables_.row(cell.table, cell.row);
        while (places_[depth] < row.size() && row[places_[depth]].isContinuation) {
            writeEmptyParagraph(depth);
            endCell(depth);
        }
    }

    void endRow(const TableCell& cell, std::size_t depth) {
        if (depth > 0) {
            out_.raw("{\\*\\nesttableprops");
            writeRow(cell, depth);
            out_.raw("\\nestrow}{\\nonesttables\\par}\n");
            return;
        }
        out_.raw(tables_.isLastRow(cell.table, cell.row) ? "\\lastrow\\row\n" : "\\row\n");
    }

    void writeRow(const TableCell& cell, std::size_t depth) {
        const TextTable& table = text_.tables()[cell.table];
        if (depth == 0) out_.raw("\n\\itap1");
        out_.raw("\\trowd");
        const std::vector<RtfLayoutCell>& row = tables_.row(cell.table, cell.row);
        const double gap = commonGap(row);
        out_.lengthIfAny("\\trgaph", gap);
        if (table.alignment == TextAlignment::center) out_.raw("\\trqc");
        if (table.alignment == TextAlignment::right) out_.raw("\\trqr");
        if (table.background) out_.word("\\trcbpat", head_.color(table.background));
        if (table.width) writeWidth("\\trwWidth", "\\trftsWidth", *table.width);
        if (depth > 0 && tables_.isLastRow(cell.table, cell.row)) out_.raw("\\lastrow");
        out_.raw('\n');
        for (const RtfLayoutCell& each : row) writeCell(each, gap);
    }

    // The padding on the left and right of all cells; 0 when it differs. Readers do not agree on
    // the words for the padding of single cells.
    static double commonGap(const std::vector<RtfLayoutCell>& row) {
        const double gap = row.empty() ? 0 : row.front().cell.padding.left;
        const bool isCommon = std::ranges::all_of(row, [gap](const RtfLayoutCell& each) {
            return each.cell.padding.left == gap && each.cell.padding.right == gap;
        });
        return isCommon ? std::max(gap, 0.0) : 0;
    }

    void writeWidth(std::string_view word, std::string_view unitWord, TextLength width) {
        constexpr int kFiftieths = 2, kTwips = 3;  // of a percent
        if (width.percent) {
            out_.word(word, std::llround(std::fmin(std::fmax(width.value, 0), 1000) * 50));
        } else {
            out_.length(word, width.value);
        }
        out_.word(unitWord, width.percent ? kFiftieths : kTwips);
    }

    void writeCell(const RtfLayoutCell& each, double gap) {
        const TableCell& cell = each.cell;
        if (each.continuesRows) {
            out_.raw("\\clvmrg");
        } else if (cell.rowSpan > 1) {
            out_.raw("\\clvmgf");
        }
        if (cell.alignment == VerticalAlignment::middle) out_.raw("\\clvertalc");
        if (cell.alignment == VerticalAlignment::bottom) out_.raw("\\clvertalb");
        if (cell.background) out_.word("\\clcbpat", head_.color(cell.background));
        if (cell.width) {
            writeWidth("\\clwWidth", "\\clftsWidth", *cell.width);
        } else {
            out_.raw("\\clftsWidth1");
        }
        writeBorder("\\clbrdrl", cell.borderWidth.left, cell.borderColor.left);
        writeBorder("\\clbrdrt", cell.borderWidth.top, cell.borderColor.top);
        writeBorder("\\clbrdrr", cell.borderWidth.right, cell.borderColor.right);
        writeBorder("\\clbrdrb", cell.borderWidth.bottom, cell.borderColor.bottom);
        if (gap <= 0) writePadding("\\clpadl", "\\clpadfl3", cell.padding.left);
        writePadding("\\clpadt", "\\clpadft3", cell.padding.top);
        if (gap <= 0) writePadding("\\clpadr", "\\clpadfr3", cell.padding.right);
        writePadding("\\clpadb", "\\clpadfb3", cell.padding.bottom);
        out_.word("\\cellx", each.right);
        out_.raw('\n');
    }

    void writeBorder(std::string_view edge, double width, const std::optional<RgbColor>& color) {
        if (RtfOutput::twips(width) <= 0) return;
        out_.raw(edge);
        out_.length("\\brdrs\\brdrw", width);
        if (color) out_.word("\\brdrcf", head_.color(color));
    }

    void writePadding(std::string_view edge, std::string_view unit, double width) {
        if (RtfOutput::twips(width) <= 0) return;
        out_.length(edge, width);
        out_.raw(unit);
    }

    void writeParagraphStyle(const ParagraphStyle& style, std::size_t depth) {
        out_.raw("\\pard");
        if (depth > 0) out_.word("\\intbl\\itap", static_cast<std::int64_t>(depth));
        for (const TabStop& tab : style.tabs) {
            if (tab.kind == TabKind::right) out_.raw("\\tqr");
            if (tab.kind == TabKind::center) out_.raw("\\tqc");
            if (tab.kind == TabKind::decimal) out_.raw("\\tqdec");
            out_.length("\\tx", tab.position);
        }
        out_.lengthIfAny("\\pardeftab", style.defaultTabInterval);
        if (!style.lists.empty()) {
            out_.word("\\ls", head_.list(style.lists));
            out_.word("\\ilvl",
                      static_cast<std::int64_t>(std::min<std::size_t>(style.lists.size() - 1, 8)));
        }
        out_.lengthIfAny("\\li", style.headIndent);
        out_.lengthIfAny("\\fi", style.firstLineIndent - style.headIndent);
        out_.lengthIfAny("\\ri", style.tailIndent);
        writeLineHeight(style);
        out_.lengthIfAny("\\sb", style.spacingBefore);
        out_.lengthIfAny("\\sa", style.spacingAfter);
        if (style.headerLevel > 0) out_.word("\\outlinelevel", style.headerLevel - 1);
        switch (style.direction) {
            case WritingDirection::natural: out_.raw("\\pardirnatural"); break;
            case WritingDirection::leftToRight: out_.raw("\\ltrpar"); break;
            case WritingDirection::rightToLeft: out_.raw("\\rtlpar"); break;
        }
        switch (style.alignment) {
            case TextAlignment::natural: break;
            case TextAlignment::left: out_.raw("\\ql"); break;
            case TextAlignment::right: out_.raw("\\qr"); break;
            case TextAlignment::center: out_.raw("\\qc"); break;
            case TextAlignment::justified: out_.raw("\\qj"); break;
        }
        out_.raw("\\partightenfactor0\n");
    }

    void writeLineHeight(const ParagraphStyle& style) {
        out_.lengthIfAny("\\slleading", style.lineSpacing);
        if (style.lineHeightMultiple > 0) {
            out_.word("\\sl", std::llround(std::fmin(style.lineHeightMultiple, 1000) * 240));
            out_.raw("\\slmult1");
            out_.lengthIfAny("\\slminimum", style.minimumLineHeight);
            out_.lengthIfAny("\\slmaximum", style.maximumLineHeight);
        } else if (style.maximumLineHeight == 0) {
            out_.lengthIfAny("\\sl", style.minimumLineHeight);
        } else if (style.maximumLineHeight == style.minimumLineHeight) {
            out_.length("\\sl", -style.minimumLineHeight);
        } else {
            out_.lengthIfAny("\\slminimum", style.minimumLineHeight);
            out_.length("\\slmaximum", style.maximumLineHeight);
        }
    }

    // Text.

    void writeParagraph(std::size_t start, std::size_t end, const ParagraphStyle& style) {
        const std::size_t markerEnd = style.lists.empty() ? start : endOfMarker(start, end);
        if (markerEnd > start) {
            writeStyle(runAt(start).style);
            out_.raw("{\\listtext");
            out_.text(std::u16string_view(text_.string()).substr(start, markerEnd - start));
            out_.raw('}');
            start = markerEnd;
        }
        while (start < end) {
            const AttributedText::Run& run = runAt(start);
            const std::size_t stop = std::min(run.end, end);
            setLink(text_.style(run.style).link);
            writeStyle(run.style);
            writeText(start, stop);
            start = stop;
        }
        setLink({});
        // The end of the paragraph has a style, too, which an empty one shows by its height.
        if (end < text_.length()) writeStyle(runAt(end).style);
    }

    // Behind the tab, the marker and the tab that an item begins with; `start` without them.
    std::size_t endOfMarker(std::size_t start, std::size_t end) const {
        constexpr std::size_t kLongest = 32;
        const std::u16string& string = text_.string();
        if (start == end || string[start] != u'\t') return start;
        const std::size_t tab = string.find(u'\t', start + 1);
        const bool isMarker = tab < end && tab - start <= kLongest;
        return isMarker ? tab + 1 : start;
    }

    const AttributedText::Run& runAt(std::size_t location) {
        while (text_.runs()[run_].end <= location) ++run_;
        return text_.runs()[run_];
    }

    void setLink(std::u16string_view link) {
        if (link == link_) return;
        if (!link_.empty()) {
            out_.raw("}}");
            style_ = styleBeforeLink_;
        }
        link_ = link;
        if (link.empty()) return;
        out_.raw("{\\field{\\*\\fldinst{HYPERLINK \"");
        std::u16string quoted;
        for (const char16_t unit : link) {
            if (unit == u'"' || unit == u'\\') quoted += u'\\';
            quoted += unit == u'\n' ? u' ' : unit;
        }
        out_.text(quoted);
        out_.raw("\"}}{\\fldrslt ");
        styleBeforeLink_ = style_;
    }

    // What differs from the style before.
    void writeStyle(StyleIndex index) {
        if (index == style_) return;
        static const TextStyle kPlain;
        const bool first = style_ == kNoStyle;
        const TextStyle& before = first ? kPlain : text_.style(style_);
        const TextStyle& style = text_.style(index);
        RtfOutput words;
        if (first || fonts_[style_] != fonts_[index]) words.word("\\f", fonts_[index]);
        if (before.italic != style.italic) words.raw(style.italic ? "\\i" : "\\i0");
        if (before.bold != style.bold) words.raw(style.bold ? "\\b" : "\\b0");
        if (first || halfPointsOfSize(before.size) != halfPointsOfSize(style.size)) {
            words.word("\\fs", halfPointsOfSize(style.size));
        }
        if (before.underline != style.underline) words.raw(underlineWord(style.underline));
        if (before.strike != style.strike) words.raw(strikeWord(style.strike));
        if (before.superscript != style.superscript) {
            words.raw(superscriptWord(style.superscript));
        }
        if (before.baselineOffset != style.baselineOffset) {
            const std::int64_t offset = halfPoints(style.baselineOffset);
            words.word(offset < 0 ? "\\dn" : "\\up", std::abs(offset));
        }
        if (before.kern != style.kern) words.length("\\expndtw", style.kern);
        if (before.outline != style.outline) words.raw(style.outline ? "\\outl" : "\\outl0");
        if (before.shadow != style.shadow) words.raw(style.shadow ? "\\shad" : "\\shad0");
        writeColor(words, "\\cb", before.background, style.background);
        // What other programs read in its place.
        writeColor(words, "\\chcbpat", before.background, style.background);
        writeColor(words, "\\ulc", before.underlineColor, style.underlineColor);
        writeColor(words, "\\strikec", before.strikeColor, style.strikeColor);
        std::string bytes = words.take();
        if (!bytes.empty()) bytes += ' ';
        if (first || before.color != style.color) {
            RtfOutput color;
            color.word("\\cf", head_.color(style.color));
            bytes += color.take() + ' ';
        }
        if (!bytes.empty()) out_.raw('\n' + bytes);
        style_ = index;
    }

    void writeColor(RtfOutput& words, std::string_view word, const std::optional<RgbColor>& before,
                    const std::optional<RgbColor>& color) {
        if (before != color) words.word(word, head_.color(color));
    }

    void writeText(std::size_t start, std::size_t end) {
        const auto string = std::u16string_view(text_.string());
        const auto attachments = text_.attachments();
        while (attachment_ < attachments.size() && attachments[attachment_].location < end) {
            const std::size_t location = attachments[attachment_].location;
            out_.text(string.substr(start, location - start));
            writeAttachment(attachments[attachment_]);
            ++attachment_;
            start = location + 1;
        }
        out_.text(string.substr(start, end - start));
    }

    void writeAttachment(const Attachment& attachment) {
        if (attachment_ >= names_.size()) return writePicture(attachment);
        out_.raw("{{\\NeXTGraphic ");
        out_.text(names_[attachment_]);
        out_.raw(' ');
        if (attachment.size.width > 0 && attachment.size.height > 0) {
            out_.length("\\width", attachment.size.width);
            out_.length(" \\height", attachment.size.height);
            out_.raw(" \\appleattachmentpadding0 \\appleembedtype0 \\appleaqc");
        }
        out_.raw("\n}\\'ac}");
    }

    void writePicture(const Attachment& attachment) {
        const std::string_view bytes = attachment.file.contents.chars();
        const bool isPng = bytes.starts_with(kPngStart);
        if (!isPng && !bytes.starts_with(kJpegStart)) return;
        out_.raw(isPng ? "{\\*\\shppict{\\pict\\pngblip" : "{\\*\\shppict{\\pict\\jpegblip");
        if (attachment.size.width > 0 && attachment.size.height > 0) {
            out_.length("\\picwgoal", attachment.size.width);
            out_.length("\\pichgoal", attachment.size.height);
        }
        constexpr std::size_t kBytesInLine = 64;
        constexpr std::string_view kDigits = "0123456789abcdef";
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (i % kBytesInLine == 0) out_.raw('\n');
            const auto byte = static_cast<unsigned char>(bytes[i]);
            out_.raw(kDigits[byte >> 4]);
            out_.raw(kDigits[byte & 0xF]);
        }
        out_.raw("}}");
    }

    const RichDocument& document_;
    const AttributedText& text_;
    std::span<const std::u16string> names_;
    RtfHead head_;
    RtfTableLayout tables_;
    RtfOutput out_;
    std::vector<std::int64_t> fonts_;  // of each style
    const ParagraphStyle* paragraph_ = nullptr;
    std::size_t paragraphRun_ = 0;
    std::size_t openCells_ = 0;
    std::vector<std::size_t>
        places_;  // in the open rows, from the outermost: the cell that is next
    std::size_t run_ = 0;
    StyleIndex style_ = kNoStyle;
    StyleIndex styleBeforeLink_ = kNoStyle;
    std::u16string_view link_;
    std::size_t attachment_ = 0;
};

}  // namespace

std::string rtfOf(const RichDocument& document, std::span<const std::u16string> attachmentNames) {
    return Writer(document, attachmentNames).write();
}

}  // namespace corvy::platform
