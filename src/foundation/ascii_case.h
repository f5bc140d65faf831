// Comparison without case for words in ASCII, where the folding of other letters cannot matter.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace corvy {

constexpr char16_t asciiLower(char16_t unit) {
    const bool isUpper = static_cast<char16_t>(unit - u'A') < 26;
    return static_cast<char16_t>(unit + (isUpper ? 32 : 0));
}

// `word` is in lower case in all of these, and not empty.
constexpr bool equalsAsciiNoCase(std::u16string_view text, std::u16string_view word) {
    return text.size() == word.size() &&
           std::equal(text.begin(), text.end(), word.begin(),
                      [](char16_t a, char16_t b) { return asciiLower(a) == b; });
}
constexpr bool startsWithAsciiNoCase(std::u16string_view text, std::u16string_view word) {
    return equalsAsciiNoCase(text.substr(0, word.size()), word);
}
constexpr bool endsWithAsciiNoCase(std::u16string_view text, std::u16string_view word) {
    return text.size() >= word.size() &&
           equalsAsciiNoCase(text.substr(text.size() - word.size()), word);
}
// The first place from `from` on where the word stands; npos when there is none.
constexpr std::size_t findAsciiNoCase(std::u16string_view text, std::u16string_view word,
                                      std::size_t from = 0) {
    for (std::size_t i = from; i + word.size() <= text.size(); ++i) {
        if (asciiLower(text[i]) == word[0] && startsWithAsciiNoCase(text.substr(i), word)) return i;
    }
    return std::u16string_view::npos;
}

}  // namespace corvy
