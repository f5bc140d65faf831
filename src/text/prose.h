// What can be told of a block of text by itself: whether it is prose, and whether it is one of the
// lines that pages put around prose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvy {

// The units U+0080 to U+009F as windows-1252 has them. As controls they mean nothing; old pages
// write quotation marks and dashes so, mostly as references.
inline constexpr char16_t kWindowsUnits[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};
constexpr char16_t readableUnit(char16_t c) {
    return c < 0x80 || c > 0x9F ? c : kWindowsUnits[c - 0x80];
}

// Decodes all character references, those of emoji included. Returns the number of units written,
// at most text.size(); `destination` may be where the text is.
std::size_t decodeReferences(std::u16string_view text, char16_t* destination);

struct Prose {
    bool isProse = false;      // in sentences, or long
    std::uint32_t weight = 0;  // UTF-16 code units, ideographs and kana three times
};
Prose proseOf(std::u16string_view text);

// The last unit, closing quotes and brackets apart, ends a sentence or is a colon.
bool endsAsSentence(std::u16string_view text);

// A short text that begins as advertising, calls to share or subscribe, and the like do.
bool isBoilerplate(std::u16string_view text);
// The heading stands over links to other pages, wherever it is.
bool headsTeasers(std::u16string_view heading);
// The heading begins a section that comes behind the text of an article, such as references.
bool closesText(std::u16string_view heading);

// The text of readable units, with single blanks for white space and none at its ends.
std::u16string collapsed(std::u16string_view text);
// A page's title without the name of the site in front of it or behind it.
std::u16string withoutSite(std::u16string_view title);

}  // namespace corvy
