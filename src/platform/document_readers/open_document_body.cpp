#include "platform/document_readers/open_document_body.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/document_readers/document_story.h"
#include "platform/document_readers/open_document_lists.h"
#include "platform/document_readers/open_document_table.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

bool isOneOf(std::string_view name, std::span<const std::string_view> sorted) {
    return std::ranges::binary_search(sorted, name);
}

// What stands around paragraphs. Of an index the entries are text, its form is not.
bool isBlockWrapper(std::string_view name) {
    static constexpr std::string_view kNames[] = {"office:text",
                                                  "text:alphabetical-index",
                                                  "text:bibliography",
                                                  "text:illustration-index",
                                                  "text:index-body",
                                                  "text:index-title",
                                                  "text:numbered-paragraph",
                                                  "text:object-index",
                                                  "text:section",
                                                  "text:table-index",
                                                  "text:table-of-content",
                                                  "text:user-index"};
    static_assert(std::ranges::is_sorted(kNames));
    return isOneOf(name, kNames);
}

// What stands in a paragraph and is no part of its text.
bool isPassedOver(std::string_view name) {
    static constexpr std::string_view kNames[] = {"office:annotation",   "office:annotation-end",
                                                  "office:binary-data",  "office:event-listeners",
                                                  "presentation:notes",  "svg:desc",
                                                  "svg:title",           "text:change",
                                                  "text:change-end",     "text:change-start",
                                                  "text:ruby-text",      "text:script",
                                                  "text:tracked-changes"};
    static_assert(std::ranges::is_sorted(kNames));
    return isOneOf(name, kNames);
}

bool isFrame(std::string_view name) {
    static constexpr std::string_view kNames[] = {"draw:custom-shape", "draw:ellipse", "draw:frame",
                                                  "draw:line",         "draw:polygon", "draw:rect"};
    static_assert(std::ranges::is_sorted(kNames));
    return isOneOf(name, kNames);
}

class BodyReader {
public:
    BodyReader(OpenDocumentStyles& styles, const FindPicture& picture)
        : styles_(styles), picture_(picture), lists_(styles) {}

    AttributedText read(Node body) {
        blocks(body, 0);
        inNotes_ = true;
        for (const auto& [note, citation] : notes_) {
            citation_ = citation;
            blocks(note, 0);
        }
        return story_.take();
    }

private:
    // What the text of a paragraph is like, down to the innermost span.
    struct Context {
        TextProperties text;
        std::u16string link = {};
    };

    void blocks(Node parent, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node node : parent.children()) {
            const std::string_view name = node.name();
            if (name == "text:p" || name == "text:h") {
                paragraph(node, depth);
            } else if (name == "text:list") {
                list(node, depth);
            } else if (name == "table:table") {
                table(node, depth);
            } else if (isBlockWrapper(name)) {
                if (attributeOf(node, "text:display") != "none") blocks(node, depth + 1);
            } else if (isFrame(name) || name == "draw:g" || name == "draw:a") {
                // One that stands on a page is a paragraph of its own.
                Context context;
                inlineNode(node, context, depth + 1);
                if (story_.isInParagraph()) story_.endParagraph({}, {});
                boxes(depth);
            }
        }
    }

    void list(Node node, int depth) {
        lists_.begin(node);
        for (const Node item : node.children()) {
            const std::string_view name = item.name();
            if (name == "text:list-item") {
                lists_.beginItem(item);
                blocks(item, depth + 1);
            } else if (name == "text:list-header") {
                lists_.beginHeader();
                blocks(item, depth + 1);
            }
        }
        lists_.end();
    }

    void table(Node node, int depth) {
        const OpenDocumentTable table = readOpenDocumentTable(node, styles_);
        if (table.cells.empty()) return;
        if (story_.isInParagraph()) story_.endParagraph({}, {});
        story_.beginTable(table.table);
        for (const OpenDocumentTable::Cell& cell : table.cells) {
            story_.beginCell(cell.cell);
            blocks(cell.node, depth + 1);
            story_.endCell();
        }
        story_.endTable();
    }

    void paragraph(Node node, int depth) {
        const OpenDocumentStyles::Style& style =
            styles_.style("paragraph", attributeOf(node, "text:style-name").value_or(""));
        Context context{style.text};
        if (context.text.hidden.value_or(false)) return;
        ParagraphProperties properties = style.paragraph;
        // Tabs count from where the lines begin.
        for (TabStop& tab : properties.tabs) tab.position += properties.head.value_or(0);
        ParagraphStyle made = properties.resolved();
        if (std::string_view(node.name()) == "text:h") {
            const double level = numberOf(attributeOf(node, "text:outline-level")).value_or(1);
            made.headerLevel = static_cast<std::uint8_t>(level >= 1 && level <= 6 ? level : 0);
        } else {
            made.headerLevel = 0;
        }
        const TextStyle mark = context.text.resolved();
        if (properties.breaksPage.value_or(false) && story_.length() > 0) {
            story_.append({&kPageBreak, 1}, mark);
        }
        if (lists_.isInList()) {
            const std::u16string marker = lists_.place(made, style.list, story_);
            if (!marker.empty()) story_.append(u"\t" + marker + u"\t", mark);
        }
        isBehindSpace_ = true;
        inlines(node, context, depth + 1);
        story_.endParagraph(std::move(made), mark);
        boxes(depth);
    }

    // Text boxes follow the paragraph that they belong to.
    void boxes(int depth) {
        for (const Node box : std::exchange(boxes_, {})) blocks(box, depth + 1);
    }

    void inlines(Node parent, Context& context, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node node : parent.children()) inlineNode(node, context, depth);
    }

    void inlineNode(Node node, Context& context, int depth) {
        const std::string_view name = node.name();
        if (name.empty()) {
            collapsed(node.value(), context);
        } else if (name == "text:span") {
            Context inner = context;
            inner.text.overlay(
                styles_.style("text", attributeOf(node, "text:style-name").value_or("")).text);
            if (!inner.text.hidden.value_or(false)) inlines(node, inner, depth + 1);
        } else if (name == "text:a" || name == "draw:a") {
            Context inner = context;
            inner.text.overlay(
                styles_.style("text", attributeOf(node, "text:style-name").value_or("")).text);
            inner.link = fromUtf8(attributeOf(node, "xlink:href").value_or(""));
            inlines(node, inner, depth + 1);
        } else if (name == "text:s") {
            constexpr double kMostSpaces = 1000;
            const double count = numberOf(attributeOf(node, "text:c")).value_or(1);
            append(
                std::u16string(static_cast<std::size_t>(std::clamp(count, 1.0, kMostSpaces)), u' '),
                context);
        } else if (name == "text:tab") {
            append(u"\t", context);
        } else if (name == "text:line-break") {
            append({&kLineBreak, 1}, context);
        } else if (name == "text:note") {
            note(node, context);
        } else if (name == "text:note-ref" || name == "text:note-citation") {
            append(citation_, context);
        } else if (isFrame(name)) {
            frame(node, context);
        } else if (!isPassedOver(name)) {
            // Fields show the text that they had when the document was written.
            inlines(node, context, depth + 1);
        }
    }

    TextStyle styleOf(const Context& context) const {
        TextStyle style = context.text.resolved();
        style.link = context.link;
        return style;
    }

    void append(std::u16string_view text, const Context& context) {
        if (text.empty()) return;
        story_.append(text, styleOf(context));
        isBehindSpace_ = false;
    }

    // White space in the markup is one space at most, and none at the start of a paragraph.
    void collapsed(std::string_view bytes, const Context& context) {
        std::u16string text = fromUtf8(bytes);
        std::size_t length = 0;
        bool isBehindSpace = isBehindSpace_;
        for (const char16_t unit : text) {
            const bool isSpace = unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r';
            if (isSpace && isBehindSpace) continue;
            text[length++] = isSpace ? u' ' : unit;
            isBehindSpace = isSpace;
        }
        text.resize(length);
        append(text, context);
        isBehindSpace_ = isBehindSpace;
    }

    void note(Node node, const Context& context) {
        if (inNotes_) return;
        const std::u16string citation = textBelow(node.child("text:note-citation"));
        Context mark = context;
        mark.text.superscript = std::int8_t{1};
        append(citation, mark);
        // The citation stands in front of the note as well.
        notes_.emplace_back(node.child("text:note-body"), citation);
    }

    void frame(Node node, const Context& context) {
        const Size size = {pointsOf(attributeOf(node, "svg:width")).value_or(0),
                           pointsOf(attributeOf(node, "svg:height")).value_or(0)};
        for (const Node image : node.children("draw:image")) {
            if (attach(image, size, context)) return;
        }
        const Node box = node.child("draw:text-box");
        if (box) {
            boxes_.push_back(box);
        } else if (node.child("text:p")) {
            boxes_.push_back(node);
        }
    }

    bool attach(Node image, Size size, const Context& context) {
        std::string name(attributeOf(image, "xlink:href").value_or(""));
        std::optional<Bytes> contents;
        if (const Node data = image.child("office:binary-data")) {
            const auto decoded = bytesOfBase64(data.text().get());
            if (decoded) contents = Bytes::copyOf(*decoded);
            name = "image.png";
        } else {
            if (name.starts_with("./")) name.erase(0, 2);
            contents = picture_(name);
        }
        if (!contents || contents->empty()) return false;
        if (size.width <= 0 || size.height <= 0) size = {};
        story_.attach(*std::move(contents), fromUtf8(name), size, styleOf(context));
        isBehindSpace_ = false;
        return true;
    }

    OpenDocumentStyles& styles_;
    const FindPicture& picture_;
    DocumentStory story_;
    OpenDocumentLists lists_;
    bool isBehindSpace_ = true;
    std::vector<Node> boxes_;
    std::vector<std::pair<Node, std::u16string>> notes_;  // with their citations
    std::u16string citation_;
    bool inNotes_ = false;  // notes have no notes
};

}  // namespace

AttributedText textOfOpenDocument(Node body, OpenDocumentStyles& styles,
                                  const FindPicture& picture) {
    return BodyReader(styles, picture).read(body);
}

}  // namespace corvy::platform
