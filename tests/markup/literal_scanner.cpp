#include "tests/markup/literal_scanner.h"

#include <algorithm>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy::literal {

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

std::size_t findNoCase(std::u16string_view string, std::u16string_view part, std::size_t from) {
    for (std::size_t i = from; i + part.size() <= string.size(); ++i) {
        // The first unit is a "<", which no other unit equals.
        if (string[i] == part[0] && equalNoCase(string.substr(i, part.size()), part)) return i;
    }
    return kNone;
}

bool equalAsciiLetters(std::u16string_view name, std::u16string_view lowerCase) {
    return std::equal(name.begin(), name.end(), lowerCase.begin(), lowerCase.end(),
                      [](char16_t a, char16_t b) { return (a | 0x20) == b; });
}

Range nameOfTag(std::u16string_view string, std::size_t start, std::size_t end) {
    std::size_t first = start;
    while (first < end && !isAlpha(string[first])) ++first;
    if (first == end) return kNotFoundRange;
    std::size_t last = first;
    while (last < end && !isWhite(string[last]) && string[last] != u'/' && string[last] != u'>') {
        ++last;
    }
    return {first, last - first};
}

// The index of the ">" of the whole element when the tag from `start` to the ">" at `end` opens a
// `script` or `style` that is closed, else `end`.
std::size_t endOfElement(std::u16string_view string, std::u16string_view name, std::size_t start,
                         std::size_t end) {
    std::u16string_view closing;
    if (equalAsciiLetters(name, u"script")) closing = u"</SCRIPT";
    if (equalAsciiLetters(name, u"style")) closing = u"</STYLE";
    if (closing.empty() || string[start + 1] == u'/' || string[end - 1] == u'/') return end;
    std::size_t p = findNoCase(string, closing, start + 1);
    if (p == kNone) return end;
    const std::size_t q = string.substr(0, p).find(u"<!-", start);
    if (q != kNone) {
        const std::size_t r = string.find(u"-->", q);
        const std::size_t second = r == kNone ? kNone : findNoCase(string, closing, r);
        if (second != kNone) p = second;
    }
    std::size_t e = p + closing.size();
    while (e < string.size() && string[e] != u'>') ++e;
    return e;
}

}  // namespace

bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context) {
    const std::size_t n = string.size();
    if (n == 0) return false;
    enum { text, tag, comment, section } mode = text;
    std::size_t start = 0, textStart = 0;
    bool equalSeen = false, inDoubleQuote = false, inSingleQuote = false, shortComment = false;
    const auto before = [&](std::size_t i, std::u16string_view part) {
        return string.substr(0, i).ends_with(part);
    };
    const auto call = [&](Range name, std::size_t at, std::size_t length, TagKind kind) {
        return handler(
            {string, string, name.location, name.length, at, length, textStart, kind, context});
    };
    for (std::size_t i = 0; i < n; ++i) {
        switch (string[i]) {
            case u'<':
                if (mode != text) break;
                start = i;
                mode = tag;
                if (i + 2 < n && string[i + 1] == u'!' && string[i + 2] == u'[') {
                    mode = section;
                    i += 2;
                } else if (i + 2 < n && string[i + 1] == u'!' && string[i + 2] == u'-') {
                    mode = comment;
                    shortComment = i + 3 >= n || string[i + 3] != u'-';
                    i += 2;
                }
                break;
            case u'=':
                if (mode == tag && !inDoubleQuote && !inSingleQuote) equalSeen = true;
                break;
            case u'"':
                if (mode != tag) break;
                inDoubleQuote = equalSeen;
                equalSeen = false;
                break;
            case u'\'':
                if (mode != tag) break;
                inSingleQuote = equalSeen;
                equalSeen = false;
                break;
            case u'>': {
                if (mode == text || inDoubleQuote || inSingleQuote) break;
                if (mode == section && !before(i, u"]") && !before(i, u"]--")) break;
                if (mode == comment && shortComment && !before(i, u"-")) break;
                if (mode == comment && !shortComment && !before(i, u"--") && !before(i, u"--!")) {
                    break;
                }
                std::size_t end = i;
                Range name = kNotFoundRange;
                if (mode == tag) {
                    name = nameOfTag(string, start, end + 1);
                    if (name.found()) {
                        end = endOfElement(string, string.substr(name.location, name.length), start,
                                           end);
                    }
                }
                if (call(name, start, end - start + 1, static_cast<TagKind>(mode))) return true;
                mode = text;
                equalSeen = inDoubleQuote = inSingleQuote = shortComment = false;
                textStart = end + 1;
                i = end;
                break;
            }
            default: break;
        }
    }
    if (mode == comment || mode == section) {
        call(kNotFoundRange, start, n - start, static_cast<TagKind>(mode));
        textStart = n;
    }
    call(kNotFoundRange, n, 0, TagKindEnd);
    return true;
}

}  // namespace corvy::literal
