#include "text/plain_text_handler.h"

#include <cstdint>

#include "foundation/text.h"
#include "foundation/unit_vector.h"
#include "markup/tag_predicates.h"
#include "text/plain_text_run.h"
#include "text/plain_text_tag.h"

namespace corvy {

namespace {

using Tag = PlainTextTag;

// These are asked of tags with a name, which have three units at least.

bool isClosing(const TagCall& call) {
    return call.characters[call.tagLocation + 1] == u'/';
}

bool opensRegion(const TagCall& call) {
    return !isClosing(call) && !isEmptyElementTag(call);
}

std::int64_t depthStep(const TagCall& call) {
    if (isEmptyElementTag(call)) return 0;
    return isClosing(call) ? -1 : 1;
}

bool containsInOrder(std::u16string_view text, std::u16string_view first,
                     std::u16string_view second) {
    const std::size_t at = text.find(first);
    return at != text.npos && text.find(second, at + first.size()) != text.npos;
}

// Far off the page, where style sheets put what is not to be seen.
bool isMovedAway(std::u16string_view style) {
    if (!containsNoCase(style, u"position:absolute")) return false;
    constexpr std::int64_t kNearest = -1000;  // pixels
    const auto offset = [style](std::u16string_view side) {
        return integerValue(attributeOfStyleWithName(style, side).value_or(u""));
    };
    return offset(u"TOP") < kNearest || offset(u"LEFT") < kNearest;
}

// What the letters of a tag may spell, of what can hide an element. False is certain.
struct HidingWords {
    bool hidden = false;
    bool style = false;
    bool display = false;
    bool width = false;
};

// One pass over the tag for a rare pair of letters of each word.
HidingWords hidingWordsOf(std::u16string_view tag) {
    UnitMask hidden = {}, style = {}, display = {}, width = {};
    const auto look = [&](const char16_t* units) {
        const UnitVector first = UnitVector(units) | 0x20, second = UnitVector(units + 1) | 0x20;
        hidden |= (first == u'd') & (second == u'd');
        style |= (first == u't') & (second == u'y');
        display |= (first == u'y') & (second == u':');
        width |= (first == u'd') & (second == u't');
    };
    const std::size_t last = tag.size() - 1 - UnitVector::kSize;
    for (std::size_t i = 0; i < last; i += UnitVector::kSize) look(tag.data() + i);
    look(tag.data() + last);
    return {
        .hidden = any(hidden), .style = any(style), .display = any(display), .width = any(width)};
}

bool isHiddenDiv(const TagCall& call) {
    constexpr std::uint64_t kLeastLength = 16;  // of a tag that can say so
    if (call.tagLength < kLeastLength) return false;
    const std::u16string_view tag = call.tag();
    const HidingWords words = hidingWordsOf(tag);
    if (words.hidden && (equalNoCase(attributeViewOfTag(call, u"CLASS"), u"hidden") ||
                         containsInOrder(tag, u"visibility", u"hidden"))) {
        return true;
    }
    if (words.display && containsInOrder(tag, u"display:", u"none")) return true;
    if (words.style && isMovedAway(attributeViewOfTag(call, u"STYLE"))) return true;
    if (!words.width) return false;
    const TagSize size = getTagWidth(call.characters, call.tagRange());
    const auto isTiny = [](std::int64_t pixels) { return pixels >= 1 && pixels <= 3; };
    return size.found() && (isTiny(size.width) || size.height < 0 || isTiny(size.height));
}

// A font size of 1 to 4 points; the digit in front keeps 12pt apart from 2pt.
bool isUnreadable(std::u16string_view style) {
    if (!containsNoCase(style, u"font-size")) return false;
    for (std::size_t i = 0; i + 1 < style.size(); ++i) {
        if ((style[i] | 0x20) != u'p' || (style[i + 1] | 0x20) != u't') continue;
        const auto isAsciiDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
        return i >= 2 && !isAsciiDigit(style[i - 2]) && style[i - 1] >= u'1' &&
               style[i - 1] <= u'4';
    }
    return false;
}

bool isJunkFont(const PlainTextContext& page, const TagCall& call) {
    if (!page.bodyBackgroundColor.empty() &&
        equalNoCase(attributeViewOfTag(call, u"COLOR"), page.bodyBackgroundColor)) {
        return true;
    }
    return isUnreadable(attributeViewOfTag(call, u"STYLE"));
}

void writeLineFeeds(PlainTextContext& page, int count) {
    while (count-- > 0) page.write(u'\n');
    page.lineStart = page.output;
    page.lineHasText = false;
    page.pendingSpace = false;
}

// False when there is nothing that the space would keep apart.
bool writeSpaceBehindText(PlainTextContext& page) {
    if (!page.endsInText()) return false;
    page.write(u' ');
    page.pendingSpace = false;
    return true;
}

// What the tag writes to end the text in front of it.
void separate(PlainTextContext& page, Tag tag) {
    if (!page.lineHasText) {
        if (tag == Tag::cell) {
            writeSpaceBehindText(page);
        } else if (tag == Tag::row && page.hasOutput() && !isLineBreak(page.output[-1])) {
            writeLineFeeds(page, 1);
        }
        return;
    }
    switch (tag) {
        case Tag::block:
        case Tag::heading:
        case Tag::div:
        case Tag::table: writeLineFeeds(page, 2); break;
        case Tag::line:
        case Tag::row: writeLineFeeds(page, 1); break;
        case Tag::cell:
            if (!writeSpaceBehindText(page)) page.pendingSpace = true;
            page.lineHasText = false;
            break;
        case Tag::code: writeSpaceBehindText(page); break;
        default: break;
    }
}

// So that an unclosed one cannot swallow the rest of the page.
void leaveFields(PlainTextContext& page) {
    page.inMarquee = false;
    page.inTextarea = false;
}

// The output comes to end in one blank line.
void beginTable(PlainTextContext& page) {
    if (page.output - page.outputStart < 2) return;
    leaveFields(page);
    if (!isLineBreak(page.output[-1])) {
        writeLineFeeds(page, 2);
    } else if (!isLineBreak(page.output[-2])) {
        writeLineFeeds(page, 1);
    }
}

// kept: alternative texts count even where the text around them is hidden.
void appendImage(PlainTextContext& page, const TagCall& call) {
    page.pendingSpace = true;
    std::u16string_view text = attributeViewOfTag(call, u"ALT");
    if (text.empty()) text = attributeViewOfTag(call, u"TITLE");
    if (!text.empty()) appendRangeToPlainText(page, text);
    page.pendingSpace = true;
}

void stepLinkDepth(PlainTextContext& page, const TagCall& call) {
    // kept: "<a/>" opens a link.
    if (!isClosing(call)) {
        ++page.linkDepth;
    } else if (page.linkDepth > 0) {
        --page.linkDepth;
    }
}

// What the tag changes for the text behind it.
void change(PlainTextContext& page, Tag tag, const TagCall& call) {
    switch (tag) {
        case Tag::anchor:
            stepLinkDepth(page, call);
            page.pendingSpace = true;
            break;
        case Tag::heading:
            leaveFields(page);
            stepLinkDepth(page, call);
            break;
        case Tag::div:
            leaveFields(page);
            page.hidden = isHiddenDiv(call);
            break;
        case Tag::preformatted:
            leaveFields(page);
            page.collapseWhite = !opensRegion(call);
            if (!page.collapseWhite) writeLineFeeds(page, 2);
            break;
        case Tag::image:
            if (page.imageAlts) appendImage(page, call);
            break;
        case Tag::font:
            page.inJunkFont = isJunkFont(page, call);
            page.inFeedDate = attributeViewOfTag(call, u"CLASS") == u"feed_date";
            break;
        case Tag::body:
            leaveFields(page);
            page.bodyDepth += depthStep(call);
            page.hidden = page.inFeedDate = page.inJunkFont = false;
            page.bodyBackgroundColor = attributeViewOfTag(call, u"BGCOLOR");
            break;
        case Tag::input:
            leaveFields(page);
            if (!writeSpaceBehindText(page)) page.pendingSpace = true;
            break;
        case Tag::table: beginTable(page); break;
        case Tag::iframe:
        case Tag::noframes: page.inFrameFallback = opensRegion(call); break;
        case Tag::noscript: page.inNoscript = opensRegion(call); break;
        case Tag::option:
            leaveFields(page);
            page.hidden = opensRegion(call);
            break;
        case Tag::select:
            leaveFields(page);
            page.hidden = false;
            break;
        case Tag::marquee: page.inMarquee = opensRegion(call); break;
        case Tag::textarea: page.inTextarea = opensRegion(call); break;
        default: break;
    }
}

// "<!--googleoff: index-->" and the like.
void obeyDirective(PlainTextContext& page, const TagCall& call) {
    constexpr std::uint64_t kLeastLength = 19;
    if (!page.googleTags || call.tagKind != TagKindComment || call.tagLength < kLeastLength) return;
    const std::u16string_view comment = call.tag();
    const bool on = containsNoCase(comment, u"googleon:");
    if (!on && !containsNoCase(comment, u"googleoff:")) return;
    std::uint64_t named = 0;
    if (containsNoCase(comment, u"all")) named = kAllDirectives;
    if (containsNoCase(comment, u"index")) named |= kIndexDirective;
    if (containsNoCase(comment, u"snippet")) named |= kSnippetDirective;
    if (containsNoCase(comment, u"anchor")) named |= kAnchorDirective;
    page.indexMask = on ? page.indexMask | named : page.indexMask & ~named;
}

// Outside the body only these can lead into it.
void handleOutsideBody(PlainTextContext& page, Tag tag, const TagCall& call) {
    if (tag != Tag::noframes && tag != Tag::noscript && tag != Tag::body && tag != Tag::head) {
        if (tag == Tag::other) obeyDirective(page, call);
        return;
    }
    leaveFields(page);
    page.inJunkFont = page.inFeedDate = page.hidden = false;
    page.bodyBackgroundColor = {};
    // kept: a `head` lowers the depth, so that a `body` inside it does not count.
    page.bodyDepth += tag == Tag::head ? -depthStep(call) : depthStep(call);
    if (tag == Tag::noscript) {
        page.inNoscript = opensRegion(call);
    } else {
        page.inFrameFallback = tag == Tag::noframes && opensRegion(call);
    }
    if (tag == Tag::body) page.bodyBackgroundColor = attributeViewOfTag(call, u"BGCOLOR");
}

void handleText(PlainTextContext& page, std::u16string_view run) {
    if (run.empty() || page.hidden) return;
    const bool isLeftOut =
        page.inFrameFallback || page.inNoscript || page.inMarquee || page.inTextarea ||
        (page.removeJunk && page.inJunkFont) ||
        (page.googleTags && (!(page.indexMask & kIndexDirective) || page.inFeedDate));
    if (!isLeftOut) {
        appendRangeToPlainText(page, run);
    } else if (page.inJunkFont && !page.didRemoveJunk) {
        page.didRemoveJunk = isProse(page, run);
    }
}

}  // namespace

bool PlainTextHandler(const TagCall& call) {
    auto& page = *static_cast<PlainTextContext*>(call.context);
    const Tag tag = tagNamed(call.name());
    if (page.bodyDepth < 1) {
        handleOutsideBody(page, tag, call);
        return false;
    }
    page.sawBodyContent = true;
    if (!(page.removeJunk && tag == Tag::title)) handleText(page, call.text());
    if (tag != Tag::other) {
        separate(page, tag);
        change(page, tag, call);
    } else {
        obeyDirective(page, call);
    }
    return false;
}

bool SimplePlainTextHandler(const TagCall& call) {
    auto& page = *static_cast<PlainTextContext*>(call.context);
    const std::u16string_view run = call.text();
    if (page.bodyDepth > 0 && !run.empty()) appendSimpleRange(page, run);
    switch (tagNamed(call.name())) {
        case Tag::noframes:
        case Tag::body: page.bodyDepth += depthStep(call); break;
        case Tag::head: page.bodyDepth -= depthStep(call); break;
        default: break;
    }
    return false;
}

}  // namespace corvy
