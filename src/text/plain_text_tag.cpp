#include "text/plain_text_tag.h"

#include <algorithm>
#include <cstddef>

namespace corvy {

namespace {

using Tag = PlainTextTag;

// A name of up to eight characters as one number.
constexpr std::uint64_t key(std::string_view name) {
    std::uint64_t key = 0;
    for (const char c : name) key = key << 8 | static_cast<std::uint8_t>(c);
    return key;
}
constexpr std::size_t kLongestKey = 8;

bool equalsAscii(std::u16string_view name, std::u16string_view lowerCaseName) {
    return std::equal(name.begin(), name.end(), lowerCaseName.begin(), lowerCaseName.end(),
                      [](char16_t a, char16_t b) { return (a | (a <= u'Z' ? 0x20 : 0)) == b; });
}

}  // namespace

PlainTextTag tagNamed(std::u16string_view name) {
    if (name.size() > kLongestKey) {
        return equalsAscii(name, u"plaintext")    ? Tag::preformatted
               : equalsAscii(name, u"blockquote") ? Tag::block
                                                  : Tag::other;
    }
    std::uint64_t letters = 0;
    for (const char16_t c : name) {
        if (c >= 0x80) return Tag::other;
        const bool isUpper = c >= u'A' && c <= u'Z';
        letters = letters << 8 | c | (isUpper ? 0x20U : 0U);
    }
    switch (letters) {
        case key("a"): return Tag::anchor;
        case key("p"):
        case key("hr"): return Tag::block;
        case key("br"):
        case key("li"):
        case key("ol"):
        case key("ul"):
        case key("dd"):
        case key("dl"):
        case key("dt"): return Tag::line;
        case key("tr"): return Tag::row;
        case key("td"):
        case key("th"): return Tag::cell;
        case key("h0"):
        case key("h1"):
        case key("h2"):
        case key("h3"):
        case key("h4"):
        case key("h5"):
        case key("h6"):
        case key("h7"):
        case key("h8"):
        case key("h9"): return Tag::heading;
        case key("div"): return Tag::div;
        case key("img"): return Tag::image;
        case key("pre"): return Tag::preformatted;
        case key("body"): return Tag::body;
        case key("cite"):
        case key("code"): return Tag::code;
        case key("font"): return Tag::font;
        case key("head"): return Tag::head;
        case key("input"): return Tag::input;
        case key("table"): return Tag::table;
        case key("title"): return Tag::title;
        case key("iframe"): return Tag::iframe;
        case key("option"): return Tag::option;
        case key("select"): return Tag::select;
        case key("marquee"): return Tag::marquee;
        case key("noframes"): return Tag::noframes;
        case key("noscript"): return Tag::noscript;
        case key("textarea"): return Tag::textarea;
        default: return Tag::other;
    }
}

}  // namespace corvy
