// Lines and paragraphs of attributed text, as they come about when a page is read in order: white
// space is joined, breaks at the end of a block add no line, and the gaps between blocks overlap.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/html_import/computed_style.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

class TextFlow {
public:
    using StyleIndex = AttributedText::StyleIndex;

    // `paragraphBegins` is called when a paragraph gets its first content, in front of that: it
    // gives the style of the paragraph, and may add text of its own by addRaw().
    TextFlow(AttributedText& text, std::function<ParagraphStyle()> paragraphBegins)
        : text_(text),
          paragraphBegins_(std::move(paragraphBegins)),
          lastStyle_(text.indexOf({.font = u"Times"})) {}

    // Text of one style, UTF-8, with its white space treated as asked.
    void addText(std::string_view text, StyleIndex style, css::WhiteSpaceCollapse whiteSpace,
                 css::TextTransform transform);
    // A character that stands for something, such as an attachment: `add` adds it to the text.
    void addContent(const std::function<void()>& add);
    // Text as it is, at the start of a paragraph.
    void addRaw(std::u16string_view text, StyleIndex style) { text_.appendWithIndex(text, style); }
    // Paragraphs that are made already.
    void addParagraphs(const AttributedText& paragraphs);
    // <br>.
    void breakLine(StyleIndex style);
    // The next content begins a new page.
    void breakPage() { breaksPage_ = true; }

    // Ends the paragraph, if it has any content. `keepsEmpty`: it is one even without content.
    void endParagraph(bool keepsEmpty = false);
    // Asks for a gap in front of what comes next, in points; the largest one counts.
    void addGap(double points) { gap_ = std::max(gap_, points); }
    // A cell of a table has a paragraph at least, and gaps of its own.
    void beginCell();
    void endCell();
    // Ends the last paragraph, which keeps its line feed only if it stands in a table.
    void finish();

private:
    void begin();
    void settle();
    void emit(StyleIndex style, css::TextTransform transform);
    void addPendingSpace();

    AttributedText& text_;
    std::function<ParagraphStyle()> paragraphBegins_;
    bool inParagraph_ = false;
    bool atLineStart_ = true;
    bool inWord_ = false;    // for capitals
    bool hasSpace_ = false;  // that is added when something follows
    StyleIndex spaceStyle_ = 0;
    StyleIndex lastStyle_;   // that of breaks and of paragraphs without content
    std::u16string breaks_;  // likewise
    StyleIndex breakStyle_ = 0;
    bool breaksPage_ = false;
    double gap_ = 0;
    std::vector<std::size_t> cellStarts_;
    ParagraphStyle style_;   // of the paragraph that is open, or that ended last
    bool isSettled_ = true;  // the last paragraph has its style
    std::string collapsed_;  // words of one text that are not added yet
};

}  // namespace corvy::platform
