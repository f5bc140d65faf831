#include "platform/html_import/text_flow.h"

#include <algorithm>
#include <utility>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

using css::TextTransform;
using css::WhiteSpaceCollapse;

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

}  // namespace

void TextFlow::begin() {
    if (inParagraph_) return;
    // Behind a cell, and at the start of one, nothing else can hold the gap.
    const double ownGap = isSettled_ && !text_.empty() ? gap_ : 0;
    settle();
    inParagraph_ = true;
    style_ = {};
    if (breaksPage_ && !text_.empty()) text_.appendWithIndex(u"\f", lastStyle_);
    breaksPage_ = false;
    style_ = paragraphBegins_();
    style_.spacingBefore = ownGap;
}

// Gives the paragraph that ended last its style, now that the gap behind it is known.
void TextFlow::settle() {
    const double gap = std::exchange(gap_, 0);
    if (isSettled_) return;
    isSettled_ = true;
    // Gaps stand around all of its lines, even where those are paragraphs of their own.
    const std::u16string& string = text_.string();
    const std::size_t firstEnd = string.find(u'\n', text_.unstyledStart()) + 1;
    const std::size_t lastStart =
        string.size() < 2 ? 0 : string.rfind(u'\n', string.size() - 2) + 1;
    if (lastStart >= firstEnd && firstEnd > 0) {
        text_.setParagraphStyle(style_, firstEnd);
        style_.spacingBefore = 0;
        if (lastStart > firstEnd) text_.setParagraphStyle(style_, lastStart);
    }
    style_.spacingAfter = gap;
    text_.setParagraphStyle(style_);
}

void TextFlow::endParagraph(bool keepsEmpty) {
    // A break at the end of a block only ends its line.
    if (!breaks_.empty()) {
        if (!inParagraph_) keepsEmpty = true;
        breaks_.pop_back();
    }
    if (keepsEmpty) begin();
    if (inParagraph_) {
        if (!breaks_.empty()) text_.appendWithIndex(breaks_, breakStyle_);
        text_.appendWithIndex(u"\n", lastStyle_);
        inParagraph_ = false;
        isSettled_ = false;
    }
    breaks_.clear();
    hasSpace_ = false;
    atLineStart_ = true;
    inWord_ = false;
}

void TextFlow::beginCell() {
    endParagraph();
    settle();
    cellStarts_.push_back(text_.length());
}

void TextFlow::endCell() {
    endParagraph(text_.length() == cellStarts_.back());
    cellStarts_.pop_back();
    settle();
}

void TextFlow::finish() {
    endParagraph();
    gap_ = 0;
    // The end of the text ends the last paragraph as well.
    if (!isSettled_ && style_.cells.empty()) text_.truncate(text_.length() - 1);
    settle();
}

void TextFlow::addParagraphs(const AttributedText& paragraphs) {
    if (paragraphs.empty()) return;
    endParagraph();
    settle();
    text_.append(paragraphs);
    if (text_.string().back() != u'\n') text_.append(u"\n", text_.styleAt(text_.length() - 1));
    text_.setParagraphStyle(text_.paragraphStyleAt(text_.length() - 1));
}

void TextFlow::breakLine(StyleIndex style) {
    breaks_ += kLineBreak;
    breakStyle_ = style;
    hasSpace_ = false;
    atLineStart_ = true;
    inWord_ = false;
}

void TextFlow::addPendingSpace() {
    begin();
    if (!breaks_.empty()) {
        text_.appendWithIndex(breaks_, breakStyle_);
        breaks_.clear();
    }
    if (hasSpace_ && !atLineStart_) text_.appendWithIndex(u" ", spaceStyle_);
    hasSpace_ = false;
    atLineStart_ = false;
}

void TextFlow::addContent(const std::function<void()>& add) {
    addPendingSpace();
    add();
    inWord_ = false;
}

void TextFlow::emit(StyleIndex style, TextTransform transform) {
    if (collapsed_.empty()) return;
    std::u16string units = fromUtf8(collapsed_);
    collapsed_.clear();
    // These have a meaning of their own in attributed text.
    std::erase_if(units, [](char16_t c) {
        return c == kAttachmentCharacter || c == kLineBreak || c == u'\u2029';
    });
    for (char16_t& unit : units) {
        const bool startsWord = !inWord_;
        inWord_ = isAlphaNum(unit) || (inWord_ && (unit == u'\'' || unit == u'\u2019'));
        if (transform == TextTransform::uppercase ||
            (transform == TextTransform::capitalize && startsWord)) {
            unit = toUpper(unit);
        } else if (transform == TextTransform::lowercase) {
            unit = toLower(unit);
        }
    }
    text_.appendWithIndex(units, style);
    lastStyle_ = style;
}

void TextFlow::addText(std::string_view text, StyleIndex style, WhiteSpaceCollapse whiteSpace,
                       TextTransform transform) {
    const bool keepsBreaks = whiteSpace != WhiteSpaceCollapse::collapse;
    const bool keepsSpaces = whiteSpace == WhiteSpaceCollapse::preserve;
    for (std::size_t i = 0; i < text.size();) {
        // Most of a text is words.
        const std::size_t start = i;
        while (i < text.size() && text[i] != ' ' && !isControl(text[i])) ++i;
        if (i > start) {
            if (collapsed_.empty()) {
                addPendingSpace();
            } else if (hasSpace_) {
                collapsed_ += ' ';
                hasSpace_ = false;
            }
            collapsed_.append(text, start, i - start);
        }
        if (i >= text.size()) break;
        const char c = text[i++];
        if (c == '\n' && keepsBreaks) {
            emit(style, transform);
            hasSpace_ = false;
            breaks_ += u'\n';
            breakStyle_ = style;
            atLineStart_ = true;
            inWord_ = false;
        } else if (keepsSpaces && (c == ' ' || c == '\t')) {
            if (collapsed_.empty()) addPendingSpace();
            collapsed_ += c;
        } else if (css::isSpaceOf(c) && !hasSpace_) {
            hasSpace_ = true;
            spaceStyle_ = style;
        }
    }
    emit(style, transform);
}

}  // namespace corvy::platform
