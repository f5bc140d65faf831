// What can be told of a block of text by itself: whether it is prose, and whether it is one of the
// lines that pages put around prose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvy {

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
