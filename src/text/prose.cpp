#include "text/prose.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "foundation/character_tables.h"
#include "foundation/find_unit.h"
#include "foundation/latin_controls.h"
#include "markup/entities.h"

namespace corvy {

namespace {

#include "text/boilerplate.inc"

constexpr std::uint32_t kSentence = 40;      // weight of prose with the end of a sentence
constexpr std::uint32_t kLongSentence = 80;  // with a comma only
constexpr std::uint32_t kLong = 120;         // without either

// Ideographs, kana and hangul: few units that say much.
std::uint32_t countDense(std::u16string_view text) {
    const auto isDense = [](char16_t c) { return c >= 0x2E80 && c < 0xE000; };
    constexpr std::size_t kBlock = 32;  // units; the loop over them becomes a few vector operations
    std::uint32_t count = 0;
    std::size_t i = 0;
    for (; i + kBlock <= text.size(); i += kBlock) {
        std::uint16_t inBlock = 0;
        for (std::size_t k = 0; k < kBlock; ++k) {
            inBlock = static_cast<std::uint16_t>(inBlock + (isDense(text[i + k]) ? 1 : 0));
        }
        count += inBlock;
    }
    return count + static_cast<std::uint32_t>(std::count_if(
                       text.begin() + static_cast<std::ptrdiff_t>(i), text.end(), isDense));
}

bool isLetterOrBlank(char16_t c) {
    return (c | 0x20U) - u'a' < 26U || c == u' ';
}

bool endsSentence(char16_t c) {
    return c == u'.' || c == u'!' || c == u'?' || c == 0x2026 || c == 0x3002 || c == 0xFF01 ||
           c == 0xFF1F || c == 0x061F || c == 0x06D4 || c == 0x0964;
}

bool partsSentence(char16_t c) {
    return c == u',' || c == u';' || c == u':' || c == 0x3001 || c == 0xFF0C || c == 0x060C;
}

bool closesQuote(char16_t c) {
    return c == u'"' || c == u'\'' || c == u')' || c == 0x201D || c == 0x2019 || c == 0xBB ||
           c == 0x300D;
}

bool beginsWith(std::u16string_view text, std::u16string_view lower) {
    return text.size() >= lower.size() &&
           std::equal(lower.begin(), lower.end(), text.begin(),
                      [](char16_t a, char16_t b) { return a == toLower(b); });
}

// The text is short and begins like one of the list.
bool isOneOf(std::span<const std::u16string_view> beginnings, std::u16string_view text) {
    constexpr std::size_t kLongest = 80;
    return text.size() <= kLongest &&
           std::ranges::any_of(beginnings, [text](std::u16string_view beginning) {
               return beginsWith(text, beginning);
           });
}

// A numeric reference to a character beyond 16 bits.
struct WideReference {
    std::size_t start = 0;
    std::size_t length = 0;  // 0: there is none
    char32_t character = 0;
};

unsigned digitOf(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    const auto lower = static_cast<char16_t>(c | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10U : 16U;
}

WideReference firstWideReference(std::u16string_view text) {
    constexpr std::size_t kShortest = 8;  // &#65536;
    for (std::size_t start = findUnit(text, u'&'); start + kShortest <= text.size();
         start = findUnit(text, u'&', start + 1)) {
        if (text[start + 1] != u'#') continue;
        const unsigned base = (text[start + 2] | 0x20) == u'x' ? 16 : 10;
        std::size_t end = start + (base == 16 ? 3 : 2);
        char32_t character = 0;
        while (end < text.size() && character <= 0x10FFFF && digitOf(text[end]) < base) {
            character = character * base + digitOf(text[end++]);
        }
        if (character <= 0xFFFF || character > 0x10FFFF) continue;
        if (end < text.size() && text[end] == u';') ++end;
        return {.start = start, .length = end - start, .character = character};
    }
    return {.start = text.size()};
}

}  // namespace

std::size_t decodeReferences(std::u16string_view text, char16_t* destination) {
    char16_t* out = destination;
    while (true) {
        const WideReference wide = firstWideReference(text);
        out += convertEntitiesToCharacters(text.substr(0, wide.start), out);
        if (wide.length == 0) return static_cast<std::size_t>(out - destination);
        *out++ = static_cast<char16_t>(0xD7C0 + (wide.character >> 10));
        *out++ = static_cast<char16_t>(0xDC00 | (wide.character & 0x3FF));
        text.remove_prefix(wide.start + wide.length);
    }
}

Prose proseOf(std::u16string_view text) {
    std::uint32_t commas = 0;
    bool ends = false;
    for (const char16_t c : text) {
        if (isLetterOrBlank(c)) continue;
        ends = endsSentence(c);
        if (ends) break;
        commas += partsSentence(c) ? 1 : 0;
    }
    const std::uint32_t weight = static_cast<std::uint32_t>(text.size()) + 2 * countDense(text);
    const bool sentence = weight >= kSentence && (ends || commas > 1);
    const bool longSentence = weight >= kLongSentence && commas > 0;
    return {sentence || longSentence || weight >= kLong, weight};
}

bool endsAsSentence(std::u16string_view text) {
    while (!text.empty() && closesQuote(text.back())) text.remove_suffix(1);
    return !text.empty() && (endsSentence(text.back()) || text.back() == u':');
}

bool isBoilerplate(std::u16string_view text) {
    return isOneOf(kBoilerplate, text);
}

bool headsTeasers(std::u16string_view heading) {
    return isOneOf(kTeaserHeadings, heading);
}

bool closesText(std::u16string_view heading) {
    return isOneOf(kClosingHeadings, heading);
}

std::u16string collapsed(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : text) {
        const char16_t c = readableUnit(unit);
        if (c > u' ' && !isWhite(c)) {
            out += c;
        } else if (!out.empty() && out.back() != u' ') {
            out += u' ';
        }
    }
    if (out.ends_with(u' ')) out.pop_back();
    return out;
}

std::u16string withoutSite(std::u16string_view title) {
    std::size_t mark = std::u16string_view::npos, width = 0;
    for (const std::u16string_view separator :
         {u" | ", u" - ", u" \u2013 ", u" \u2014 ", u" \u00BB ", u" :: ", u" \u00B7 "}) {
        const std::size_t at = title.rfind(separator);
        if (at == std::u16string_view::npos) continue;
        if (mark == std::u16string_view::npos || at > mark) {
            mark = at;
            width = separator.size();
        }
    }
    if (mark == std::u16string_view::npos) return std::u16string(title);
    // The name of a site is the shorter part.
    const std::u16string_view before = title.substr(0, mark), behind = title.substr(mark + width);
    return std::u16string(before.size() * 2 >= behind.size() ? before : behind);
}

}  // namespace corvy
