#include "tests/text/literal_plain_text.h"

#include <algorithm>
#include <initializer_list>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "markup/entities.h"
#include "markup/tag_attributes.h"
#include "markup/tag_scanner.h"

namespace corvy::literal {
namespace {

using Text = std::u16string;

struct Page {
    PlainTextOptions options;
    Text characters;  // decoded in place
    Text out = {};
    std::size_t lineStart = 0;
    Text background = {};
    bool marquee = false, textarea = false, frames = false, noscript = false, lineHasText = false,
         collapse = true, pending = false, sawBody = false, junkFont = false, feedDate = false,
         hidden = false, removed = false;
    long depth = 0, links = 0;
    unsigned mask = 7;

    bool lastIsWhite() const { return !out.empty() && isWhite(out.back()); }
    bool endsInText() const { return !out.empty() && !isWhite(out.back()); }
};

bool isBreak(char16_t c) {
    return Text(u"\x03\n\f\r\u2028\u2029\uFEFF\uFFFC").find(c) != Text::npos;
}

bool overlong(Page& page) {
    if (!page.options.removeJunk || page.out.size() - page.lineStart < 20001) return false;
    page.removed = true;
    page.out.resize(page.lineStart);
    return true;
}

void lineFeeds(Page& page, int count) {
    page.out.append(static_cast<std::size_t>(count), u'\n');
    page.lineStart = page.out.size();
}

void reflow(Page& page, const Text& run) {
    for (std::size_t i = 0; i < run.size();) {
        int breaks = 0;
        while (i < run.size() && isBreak(run[i])) {
            i += run[i] == u'\r' && run[i + 1] == u'\n' ? 2 : 1;
            ++breaks;
        }
        if (breaks > 1) {
            if (!overlong(page)) lineFeeds(page, 2);
        } else if (breaks == 1 && i < run.size()) {
            if (Text(u" -/>}").find(run[i]) != Text::npos) {
                if (!overlong(page)) lineFeeds(page, 1);
            } else if (page.endsInText()) {
                page.out += u' ';
            }
        }
        const std::size_t spaces = i;
        while (i < run.size() && isSpace(run[i])) ++i;
        if (i > spaces) page.out += u' ';
        if (i < run.size() && !isBreak(run[i])) page.out += run[i++];
    }
    overlong(page);
}

void append(Page& page, std::size_t location, std::size_t length, std::size_t firstCharacter) {
    const PlainTextOptions& options = page.options;
    if (options.removeJunk &&
        ((length > 10000 && page.collapse) || (length >= 3501 && page.links > 0))) {
        page.removed = true;
        page.pending = page.collapse;
        return;
    }
    char16_t* start = page.characters.data() + location;
    if (length >= 4 && options.entities) {
        length = convertEntitiesToCharacters(
            {start, length}, start,
            {.markup = options.stdEntities, .nonUmlauted = options.nonUmlauted});
    } else if (length >= 4 && options.stdEntities) {
        length = convertStandardEntitiesToCharacters({start, length}, start);
    }
    Text run(start, length);
    const bool endsWhite = isWhite(run.back());
    if (page.collapse) run = trimWhite(run);
    if (run.empty()) {
        page.pending = true;
        return;
    }
    page.pending |= isWhite(page.characters[firstCharacter]);
    if (page.pending && (page.lineHasText || (!page.collapse && page.endsInText()))) {
        page.out += u' ';
    }
    if (!page.collapse && options.reformat) return reflow(page, run);
    for (std::size_t i = 0; i < run.size();) {
        std::size_t end = i;
        while (end < run.size() && isWhite(run[end])) ++end;
        if (end > i) page.out += u' ';
        page.out += run[end < run.size() ? end : end - 1];
        i = end + 1;
    }
    if (overlong(page)) return;
    page.pending = endsWhite;
    page.lineHasText = true;
}

void measureDropped(Page& page, Text run) {
    run.resize(convertEntitiesToCharacters(run, run.data()));
    if (run.size() < 100 || trimWhite(run).size() < 100) return;
    run = trimWhite(run);
    std::size_t alphanumerics = 0, separators = 0;
    for (std::size_t i = 0; i < run.size(); ++i) {
        if (isAlphaNum(run[i])) {
            ++alphanumerics;
        } else if (i == 0 || isAlphaNum(run[i - 1])) {
            ++separators;
        }
    }
    if (separators >= 5 && alphanumerics >= 100 && alphanumerics / separators >= 6) {
        page.removed = true;
    }
}

struct Tag {
    Text text, name;
    bool closing, empty, opens;
    long step;

    bool is(std::initializer_list<std::u16string_view> names) const {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    Text attribute(std::u16string_view attributeName) const {
        return attributeOfTagCharacters(text, {0, text.size()}, attributeName).value_or(u"");
    }
};

Tag tagOf(const TagCall& call) {
    Tag tag{Text(call.tag()), Text(call.name()), false, false, false, 0};
    for (char16_t& c : tag.name) c = c >= u'A' && c <= u'Z' ? c + 32 : c;
    if (tag.name.empty()) return tag;
    tag.closing = tag.text[1] == u'/';
    tag.empty = tag.text[tag.text.size() - 2] == u'/';
    tag.opens = !(tag.text.size() >= 4 && (tag.closing || tag.empty));
    tag.step = tag.text.size() < 3 || tag.empty ? 0 : tag.closing ? -1 : 1;
    return tag;
}

void directive(Page& page, const TagCall& call) {
    if (!page.options.googleTags || call.tagKind != TagKindComment || call.tagLength < 19) return;
    const auto holds = [&](std::u16string_view word) { return containsNoCase(call.tag(), word); };
    const unsigned bits = holds(u"all")
                              ? 7
                              : (holds(u"index") ? 1U : 0U) | (holds(u"snippet") ? 2U : 0U) |
                                    (holds(u"anchor") ? 4U : 0U);
    if (holds(u"googleon:")) {
        page.mask |= bits;
    } else if (holds(u"googleoff:")) {
        page.mask &= ~bits;
    }
}

void outside(Page& page, const Tag& tag, const TagCall& call) {
    directive(page, call);
    if (!tag.is({u"noframes", u"noscript", u"body", u"head"})) return;
    page.depth += tag.name == u"head" ? -tag.step : tag.step;
    page.junkFont = page.feedDate = page.hidden = page.textarea = page.marquee = false;
    page.background.clear();
    if (tag.name == u"noscript") {
        page.noscript = tag.opens;
    } else {
        page.frames = tag.name == u"noframes" && tag.opens;
    }
    if (tag.name == u"body") page.background = tag.attribute(u"BGCOLOR");
}

bool isHidden(const Tag& tag) {
    const Text& text = tag.text;
    if (text.size() < 16) return false;
    const auto ordered = [&](std::u16string_view a, std::u16string_view b) {
        return text.find(a) != Text::npos && text.find(b, text.find(a) + a.size()) != Text::npos;
    };
    const Text style = tag.attribute(u"STYLE");
    const auto offset = [&](std::u16string_view name) {
        return integerValue(attributeOfStyleWithName(style, name).value_or(u""));
    };
    const TagSize size = getTagWidth(text);
    return equalNoCase(tag.attribute(u"CLASS"), u"hidden") || ordered(u"visibility", u"hidden") ||
           ordered(u"display:", u"none") ||
           (containsNoCase(style, u"position:absolute") &&
            (offset(u"TOP") < -1000 || offset(u"LEFT") < -1000)) ||
           (size.width > 0 &&
            (size.width <= 3 || size.height < 0 || (size.height >= 1 && size.height <= 3)));
}

bool isTinyFont(Text style) {
    for (char16_t& c : style) c = toLower(c);
    const std::size_t points = style.find(u"pt");
    if (style.find(u"font-size") == Text::npos || points == Text::npos || points < 2) return false;
    const char16_t digit = style[points - 1], before = style[points - 2];
    return digit >= u'1' && digit <= u'4' && !(before >= u'0' && before <= u'9');
}

bool isHeading(const Tag& tag) {
    return tag.name.size() == 2 && tag.name[0] == u'h' && tag.name[1] >= u'0' &&
           tag.name[1] <= u'9';
}

void separate(Page& page, const Tag& tag) {
    int feeds = 0;
    if (!page.lineHasText) {
        if (tag.is({u"td", u"th"}) && page.endsInText()) page.out += u' ', page.pending = false;
        if (tag.name == u"tr" && !page.out.empty() && !isBreak(page.out.back())) feeds = 1;
    } else if (isHeading(tag) || tag.is({u"p", u"hr", u"div", u"table", u"blockquote"})) {
        feeds = 2;
    } else if (tag.is({u"br", u"li", u"ol", u"ul", u"dd", u"dl", u"dt", u"tr"})) {
        feeds = 1;
    } else if (tag.is({u"td", u"th"})) {
        page.pending = !page.endsInText();
        if (!page.pending) page.out += u' ';
        page.lineHasText = false;
    } else if (tag.is({u"code", u"cite"}) && page.endsInText()) {
        page.out += u' ';
        page.pending = false;
    }
    if (feeds) lineFeeds(page, feeds), page.lineHasText = page.pending = false;
}

void change(Page& page, const Tag& tag, const TagCall& call) {
    const Text& name = tag.name;
    if (isHeading(tag) ||
        tag.is({u"div", u"pre", u"plaintext", u"body", u"input", u"option", u"select"}) ||
        (name == u"table" && page.out.size() >= 2)) {
        page.marquee = page.textarea = false;
    }
    if (name == u"a" || isHeading(tag))
        page.links = std::max(0L, page.links + (tag.closing ? -1 : 1));
    if (name == u"a") page.pending = true;
    if (name == u"div") page.hidden = isHidden(tag);
    if (tag.is({u"pre", u"plaintext"})) {
        page.collapse = tag.closing || tag.empty;
        if (!page.collapse) lineFeeds(page, 2), page.lineHasText = page.pending = false;
    }
    if (name == u"img" && page.options.imageAlts) {
        const Range tagRange = call.tagRange();
        Range value = rangeOfAttributeOfTagCharacters(page.characters, tagRange, u"ALT");
        if (!value.found()) {
            value = rangeOfAttributeOfTagCharacters(page.characters, tagRange, u"TITLE");
        }
        page.pending = true;
        if (value.found()) append(page, value.location, value.length, 0);
        page.pending = true;
    }
    if (name == u"font") {
        page.junkFont =
            (!page.background.empty() && equalNoCase(tag.attribute(u"COLOR"), page.background)) ||
            isTinyFont(tag.attribute(u"STYLE"));
        page.feedDate = tag.attribute(u"CLASS") == u"feed_date";
    }
    if (name == u"body") {
        page.depth += tag.step;
        page.hidden = page.feedDate = page.junkFont = false;
        page.background = tag.attribute(u"BGCOLOR");
    }
    if (name == u"input") {
        const bool space = page.endsInText();
        if (space) page.out += u' ';
        page.pending = !space;
    }
    if (name == u"table" && page.out.size() >= 2) {
        const std::size_t size = page.out.size();
        const int feeds = !isBreak(page.out[size - 1]) ? 2 : !isBreak(page.out[size - 2]) ? 1 : 0;
        if (feeds) lineFeeds(page, feeds), page.lineHasText = page.pending = false;
    }
    if (tag.is({u"iframe", u"noframes"})) page.frames = tag.opens;
    if (name == u"noscript") page.noscript = tag.opens;
    if (name == u"option") page.hidden = tag.opens;
    if (name == u"select") page.hidden = false;
    if (name == u"marquee") page.marquee = tag.opens;
    if (name == u"textarea") page.textarea = tag.opens;
}

bool handler(const TagCall& call) {
    Page& page = *static_cast<Page*>(call.context);
    const Tag tag = tagOf(call);
    const PlainTextOptions& options = page.options;
    if (page.depth < 1) return outside(page, tag, call), false;
    page.sawBody = true;
    const Text run(call.text());
    if (!(options.removeJunk && tag.name == u"title") && !run.empty() && !page.hidden) {
        if (!page.frames && !page.noscript && !page.marquee && !page.textarea &&
            !(options.removeJunk && page.junkFont) &&
            !(options.googleTags && (!(page.mask & 1) || page.feedDate))) {
            append(page, call.textLocation, run.size(), call.textLocation);
        } else if (page.junkFont && !page.removed && run.size() >= 100) {
            measureDropped(page, run);
        }
    }
    if (tag.name.empty()) return directive(page, call), false;
    separate(page, tag);
    change(page, tag, call);
    return false;
}

}  // namespace

PlainText plainText(std::u16string_view html, const PlainTextOptions& options) {
    for (const long depth : {options.onlyBody ? 0L : 1L << 60, 1L << 60}) {
        Page page{.options = options, .characters = Text(html), .depth = depth};
        GetTagsOfString(html, handler, &page);
        if (page.sawBody) return {page.out, page.removed};
    }
    return {Text(html), false};
}

}  // namespace corvy::literal
