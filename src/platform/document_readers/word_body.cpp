#include "platform/document_readers/word_body.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/document_readers/document_story.h"
#include "platform/document_readers/field_stack.h"
#include "platform/document_readers/word_numbering.h"
#include "platform/document_readers/word_styles.h"
#include "platform/document_readers/word_table.h"
#include "platform/document_readers/xml_part.h"
#include "platform/rich_text/rich_document.h"
#include "platform/rich_text/rtf_links.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

// Elements that only stand around others.
bool isWrapper(std::string_view name) {
    static constexpr std::string_view kWrappers[] = {
        "aml:annotation", "aml:content",  "mc:Choice",    "w:bdo",
        "w:customXml",    "w:dir",        "w:ins",        "w:moveTo",
        "w:rubyBase",     "w:sdt",        "w:sdtContent", "w:smartTag",
        "w:txbxContent",  "wx:pBdrGroup", "wx:sect",      "wx:sub-section"};
    static_assert(std::ranges::is_sorted(kWrappers));
    return std::ranges::binary_search(kWrappers, name);
}

bool isDeletion(Node node) {
    return attributeOf(node, "w:type").value_or("").ends_with("Deletion");
}

// The alternative that is read; the others say the same.
Node alternativeOf(Node content) {
    const Node choice = content.child("mc:Choice");
    return choice ? choice : content.child("mc:Fallback");
}

// The length in a style such as "width:12pt;height:3cm".
double styledLength(std::string_view style, std::string_view name) {
    while (!style.empty()) {
        std::string_view item = style.substr(0, style.find(';'));
        style.remove_prefix(std::min(item.size() + 1, style.size()));
        item.remove_prefix(std::min(item.find_first_not_of(' '), item.size()));
        if (!item.starts_with(name) || item.size() <= name.size() || item[name.size()] != ':') {
            continue;
        }
        item.remove_prefix(name.size() + 1);
        item.remove_prefix(std::min(item.find_first_not_of(' '), item.size()));
        return std::max(0.0, pointsOf(item).value_or(0));
    }
    return 0;
}

class BodyReader {
public:
    BodyReader(const WordSource& source, Dictionary& attributes)
        : source_(source),
          attributes_(attributes),
          styles_(source.styles, source.theme),
          numbering_(source.numbering, source.theme) {
        addNotes(source.footnotes, "w:footnote");
        addNotes(source.endnotes, "w:endnote");
    }

    AttributedText read() {
        blocks(source_.body, 0);
        inNotes_ = true;
        for (noteNumber_ = 1; noteNumber_ <= notes_.size(); ++noteNumber_) {
            fields_.clear();
            blocks(notes_[noteNumber_ - 1], 0);
        }
        return story_.take();
    }

private:
    // What paragraph and link a run stands in.
    struct Context {
        const WordStyles::Style& paragraph;
        TextProperties marks;  // of the paragraph's own text, such as its marker
        std::u16string link = {};
    };

    void addNotes(Node notes, const char* name) {
        for (const Node note : notes.children(name)) {
            noteNodes_.try_emplace(std::string(name) + "Reference/" +
                                       std::string(attributeOf(note, "w:id").value_or("")),
                                   note);
        }
    }

    void blocks(Node parent, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node node : parent.children()) {
            const std::string_view name = node.name();
            if (name == "w:p") {
                paragraph(node, depth);
            } else if (name == "w:tbl") {
                table(node, depth);
            } else if (name == "w:sectPr") {
                section(node);
            } else if (name == "mc:AlternateContent") {
                blocks(alternativeOf(node), depth + 1);
            } else if (isWrapper(name) && !isDeletion(node)) {
                blocks(node, depth + 1);
            }
        }
    }

    void table(Node node, int depth) {
        const WordTable table = readWordTable(node, styles_);
        if (table.cells.empty()) return;
        if (story_.isInParagraph()) story_.endParagraph({}, {});
        story_.beginTable(table.table);
        for (const WordTable::Cell& cell : table.cells) {
            story_.beginCell(cell.cell);
            blocks(cell.node, depth + 1);
            story_.endCell();
        }
        story_.endTable();
    }

    void section(Node node) {
        if (attributes_.contains(document_attribute::kPaperSize)) return;
        const Node paper = node.child("w:pgSz");
        const double width = pointsOf(attributeOf(paper, "w:w"), kTwips).value_or(0);
        const double height = pointsOf(attributeOf(paper, "w:h"), kTwips).value_or(0);
        if (width <= 0 || height <= 0) return;
        attributes_.set(document_attribute::kPaperSize, sizeString({width, height}));
        const Node margins = node.child("w:pgMar");
        const auto set = [&](const char16_t* key, const char* name) {
            const auto margin = pointsOf(attributeOf(margins, name), kTwips);
            // Below zero the text overlaps the header.
            if (margin) attributes_.set(key, std::abs(*margin));
        };
        set(document_attribute::kLeftMargin, "w:left");
        set(document_attribute::kRightMargin, "w:right");
        set(document_attribute::kTopMargin, "w:top");
        set(document_attribute::kBottomMargin, "w:bottom");
    }

    void paragraph(Node node, int depth) {
        const Node properties = node.child("w:pPr");
        const std::string_view styleName = wordValue(properties.child("w:pStyle"));
        const WordStyles::Style& style = styles_.paragraphStyle(styleName);
        const Node markProperties = properties.child("w:rPr");
        Context context{style, wordTextProperties(markProperties, source_.theme)};
        const TextStyle mark =
            styles_.textStyle(style, wordValue(markProperties.child("w:rStyle")), context.marks);

        ParagraphProperties own = wordParagraphProperties(properties);
        ParagraphStyle made = paragraphStyle(own, style, styleName, mark);
        inlines(node, context, depth + 1);
        // A paragraph whose end was deleted goes on in the next one.
        const bool isJoined = markProperties.child("w:del") ||
                              (context.marks.hidden.value_or(false) && !story_.isInParagraph());
        if (!isJoined) story_.endParagraph(std::move(made), mark);
        if (const Node sectionProperties = properties.child("w:sectPr")) {
            section(sectionProperties);
        }
        for (const Node box : std::exchange(boxes_, {})) blocks(box, depth + 1);
    }

    // Writes the marker of a list's item as well.
    ParagraphStyle paragraphStyle(const ParagraphProperties& own, const WordStyles::Style& style,
                                  std::string_view styleName, const TextStyle& mark) {
        ParagraphProperties all = styles_.defaults().paragraph;
        ListPlace place = own.list.value_or(style.paragraph.list.value_or(ListPlace()));
        if (!own.list) {
            place.level = numbering_.levelOfStyle(place.list, styleName).value_or(place.level);
        }
        const WordNumbering::Level* const level = numbering_.levelAt(place);
        // What a list says stands above the style, unless the style itself names the list.
        if (level != nullptr && !own.list) all.overlay(level->paragraph);
        all.overlay(style.paragraph);
        if (level != nullptr && own.list) all.overlay(level->paragraph);
        all.overlay(own);
        if (all.breaksPage.value_or(false) && story_.length() > 0) {
            story_.append({&kPageBreak, 1}, mark);
        }
        ParagraphStyle made = all.resolved();
        if (level == nullptr) return made;
        beginListItem(made, all, numbering_, place, story_, mark);
        return made;
    }

    void inlines(Node parent, Context& context, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node node : parent.children()) {
            const std::string_view name = node.name();
            if (name == "w:r") {
                run(node, context, depth);
            } else if (name == "w:hyperlink" || name == "w:hlink") {
                std::u16string before = std::exchange(context.link, linkOf(node));
                inlines(node, context, depth + 1);
                context.link = std::move(before);
            } else if (name == "w:fldSimple") {
                const auto instruction = attributeOf(node, "w:instr");
                auto link = linkOfInstruction(fromUtf8(instruction.value_or("")));
                std::u16string before = context.link;
                if (link) context.link = *std::move(link);
                inlines(node, context, depth + 1);
                context.link = std::move(before);
            } else if (name == "mc:AlternateContent") {
                inlines(alternativeOf(node), context, depth + 1);
            } else if (name == "m:oMath" || name == "m:oMathPara") {
                append(textBelow(node), textStyle({}, context));
            } else if (isWrapper(name) && !isDeletion(node)) {
                inlines(node, context, depth + 1);
            }
        }
    }

    std::u16string linkOf(Node node) const {
        std::u16string link;
        if (const auto identifier = attributeOf(node, "r:id"); identifier && !inNotes_) {
            link = source_.link(*identifier).value_or(u"");
        }
        if (const auto address = attributeOf(node, "w:dest")) link = fromUtf8(*address);
        const char* const name = node.attribute("w:anchor") ? "w:anchor" : "w:bookmark";
        if (const auto place = attributeOf(node, name)) link += u'#' + fromUtf8(*place);
        return link;
    }

    TextStyle textStyle(Node properties, const Context& context) {
        TextStyle style =
            styles_.textStyle(context.paragraph, wordValue(properties.child("w:rStyle")),
                              wordTextProperties(properties, source_.theme));
        style.link = context.link;
        if (const std::u16string* link = fields_.link()) style.link = *link;
        return style;
    }

    bool isHidden(Node properties, const Context& context) {
        if (const Node own = properties.child("w:vanish")) return isWordSwitchOn(own);
        const std::string_view name = wordValue(properties.child("w:rStyle"));
        const auto style = styles_.characterStyle(name).text.hidden;
        return style.value_or(context.paragraph.text.hidden.value_or(false));
    }

    void append(std::u16string_view text, const TextStyle& style) {
        if (fields_.isShown()) story_.append(text, style);
    }

    void run(Node node, Context& context, int depth) {
        if (depth > kMaxXmlDepth) return;
        const Node properties = node.child("w:rPr");
        if (isHidden(properties, context)) {
            // Its fields count even so.
            for (const Node part : node.children()) fieldPart(part);
            return;
        }
        runParts(node, textStyle(properties, context), context, depth);
    }

    void runParts(Node node, TextStyle style, Context& context, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node part : node.children()) {
            const std::string_view name = part.name();
            if (name == "w:t") {
                append(textOf(part, style), style);
            } else if (const std::u16string_view special = specialText(part); !special.empty()) {
                append(special, style);
            } else if (name == "w:sym") {
                append(symbol(part), style);
            } else if (name == "w:drawing") {
                drawing(part, style);
            } else if (name == "w:pict" || name == "w:object") {
                picture(part, style);
            } else if (name == "w:footnoteReference" || name == "w:endnoteReference") {
                const auto identifier = attributeOf(part, "w:id").value_or("");
                const auto note =
                    noteNodes_.find(std::string(name) + "/" + std::string(identifier));
                if (note != noteNodes_.end()) addNote(note->second, style);
            } else if (name == "w:footnote" || name == "w:endnote") {
                addNote(part, style);
            } else if (name == "w:footnoteRef" || name == "w:endnoteRef") {
                append(fromUtf8(std::to_string(noteNumber_)), style);
            } else if (name == "w:r") {
                run(part, context, depth + 1);
            } else if (name == "mc:AlternateContent") {
                runParts(alternativeOf(part), style, context, depth + 1);
            } else if (name == "w:ruby") {
                inlines(part, context, depth + 1);
            } else if (fieldPart(part)) {
                // What follows may stand in a link.
                style = textStyle(node.child("w:rPr"), context);
            }
        }
    }

    std::u16string textOf(Node part, const TextStyle& style) const {
        std::string_view bytes = part.text().get();
        if (!source_.keepsSpaces && attributeOf(part, "xml:space").value_or("") != "preserve") {
            constexpr std::string_view kBlanks = " \t\n\r";
            const std::size_t start = std::min(bytes.find_first_not_of(kBlanks), bytes.size());
            bytes.remove_prefix(start);
            bytes = bytes.substr(0, bytes.find_last_not_of(kBlanks) + 1);
        }
        std::u16string text = fromUtf8(bytes);
        std::ranges::replace(text, u'\n', u' ');
        const auto isPrivate = [](char16_t unit) { return unit >= 0xF000 && unit < 0xF100; };
        if (std::ranges::any_of(text, isPrivate)) text = wordSymbolText(text, style.font);
        return text;
    }

    static std::u16string_view specialText(Node part) {
        const std::string_view name = part.name();
        if (name == "w:tab" || name == "w:ptab") return u"\t";
        if (name == "w:cr") return {&kLineBreak, 1};
        if (name == "w:noBreakHyphen") return u"\x2011";
        if (name == "w:softHyphen") return u"\x00AD";
        if (name != "w:br") return {};
        const std::string_view kind = attributeOf(part, "w:type").value_or("");
        return {kind == "page" || kind == "column" ? &kPageBreak : &kLineBreak, 1};
    }

    static std::u16string symbol(Node part) {
        const std::string_view code = attributeOf(part, "w:char").value_or("");
        std::uint32_t unit = 0;
        std::from_chars(code.data(), code.data() + code.size(), unit, 16);
        if (unit < 0x20 || unit > 0xFFFD || (unit & 0xF800) == 0xD800) return {};
        if (unit < 0x100) unit += 0xF000;
        const char16_t text = static_cast<char16_t>(unit);
        return wordSymbolText({&text, 1}, fromUtf8(attributeOf(part, "w:font").value_or("")));
    }

    // False for what is no part of a field.
    bool fieldPart(Node part) {
        const std::string_view name = part.name();
        if (name == "w:instrText") fields_.addInstruction(fromUtf8(part.text().get()));
        if (name != "w:fldChar") return false;
        const std::string_view kind = attributeOf(part, "w:fldCharType").value_or("");
        if (kind == "begin") fields_.begin();
        if (kind == "separate") fields_.separate();
        if (kind == "end") fields_.end();
        return true;
    }

    void addNote(Node note, const TextStyle& style) {
        if (inNotes_ || !fields_.isShown()) return;
        notes_.push_back(note);
        append(fromUtf8(std::to_string(notes_.size())), style);
    }

    bool takeBox(Node drawing) {
        const Node box = descendant(drawing, "w:txbxContent");
        if (box && fields_.isShown()) boxes_.push_back(box);
        return static_cast<bool>(box);
    }

    void drawing(Node node, const TextStyle& style) {
        if (takeBox(node)) return;
        const Node blip = descendant(node, "a:blip");
        const auto identifier = attributeOf(blip, "r:embed");
        if (!identifier) return;
        constexpr double kUnits = 12700;  // to a point
        const Node extent = descendant(node, "wp:extent");
        const Size size = {pointsOf(attributeOf(extent, "cx"), kUnits).value_or(0),
                           pointsOf(attributeOf(extent, "cy"), kUnits).value_or(0)};
        attach(*identifier, size, style);
    }

    void picture(Node node, const TextStyle& style) {
        if (takeBox(node)) return;
        const Node image = descendant(node, "v:imagedata");
        auto identifier = attributeOf(image, "r:id");
        if (!identifier) identifier = attributeOf(image, "src");
        if (!identifier) return;
        const std::string_view shape = attributeOf(image.parent(), "style").value_or("");
        attach(*identifier, {styledLength(shape, "width"), styledLength(shape, "height")}, style);
    }

    void attach(std::string_view identifier, Size size, const TextStyle& style) {
        if (!fields_.isShown() || inNotes_) return;
        auto picture = source_.picture(identifier);
        if (!picture || picture->contents.empty()) return;
        if (size.width <= 0 || size.height <= 0) size = {};
        story_.attach(std::move(picture->contents), picture->name, size, style);
    }

    const WordSource& source_;
    Dictionary& attributes_;
    WordStyles styles_;
    WordNumbering numbering_;
    DocumentStory story_;
    FieldStack fields_;
    std::vector<Node> boxes_;  // text boxes of the paragraph, that follow it
    std::map<std::string, Node, std::less<>> noteNodes_;
    std::vector<Node> notes_;  // in the order of their references
    std::size_t noteNumber_ = 0;
    // Notes have no notes, and identifiers of their own, which nobody resolves.
    bool inNotes_ = false;
};

}  // namespace

AttributedText textOfWordDocument(const WordSource& source, Dictionary& attributes) {
    return BodyReader(source, attributes).read();
}

}  // namespace corvy::platform
