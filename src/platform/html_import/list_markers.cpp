#include "platform/html_import/list_markers.h"

#include <array>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

using css::ListType;

std::u16string decimal(std::int32_t number) {
    return fromUtf8(std::to_string(number));
}

// Digits that have no zero: a, b, ... z, aa, ab. `first` is the first of `count` letters.
std::u16string letters(std::int32_t number, char16_t first, std::int32_t count) {
    std::u16string text;
    for (; number > 0; number = (number - 1) / count) {
        text.insert(text.begin(), static_cast<char16_t>(first + (number - 1) % count));
    }
    return text;
}

std::u16string roman(std::int32_t number, bool upper) {
    struct Digit {
        std::int32_t value;
        std::u16string_view text;
    };
    constexpr std::array<Digit, 13> kDigits = {{{1000, u"m"},
                                                {900, u"cm"},
                                                {500, u"d"},
                                                {400, u"cd"},
                                                {100, u"c"},
                                                {90, u"xc"},
                                                {50, u"l"},
                                                {40, u"xl"},
                                                {10, u"x"},
                                                {9, u"ix"},
                                                {5, u"v"},
                                                {4, u"iv"},
                                                {1, u"i"}}};
    std::u16string text;
    for (const Digit& digit : kDigits) {
        for (; number >= digit.value; number -= digit.value) text += digit.text;
    }
    for (char16_t& unit : text) unit = static_cast<char16_t>(upper ? unit - 32 : unit);
    return text;
}

std::u16string counterText(ListType type, std::int32_t number) {
    constexpr std::int32_t kLargestRoman = 3999;
    if (number > 0) {
        switch (type) {
            case ListType::lowerAlpha: return letters(number, u'a', 26);
            case ListType::upperAlpha: return letters(number, u'A', 26);
            case ListType::lowerGreek: {
                // The form of sigma that ends words has no place in it.
                std::u16string text = letters(number, u'\u03B1', 24);
                for (char16_t& unit : text) unit = static_cast<char16_t>(unit + (unit >= 0x3C2));
                return text;
            }
            case ListType::lowerRoman:
            case ListType::upperRoman:
                if (number > kLargestRoman) break;
                return roman(number, type == ListType::upperRoman);
            case ListType::decimalLeadingZero: return (number < 10 ? u"0" : u"") + decimal(number);
            default: break;
        }
    }
    return decimal(number);
}

}  // namespace

std::u16string markerText(ListType type, std::string_view ownText, std::int32_t number) {
    switch (type) {
        case ListType::none: return {};
        case ListType::disc: return u"\u2022";
        case ListType::circle: return u"\u25E6";
        case ListType::square: return u"\u25AA";
        case ListType::text: return fromUtf8(ownText);
        default: return counterText(type, number) + u".";
    }
}

std::u16string markerFormat(ListType type) {
    switch (type) {
        case ListType::circle: return u"{circle}";
        case ListType::square: return u"{square}";
        case ListType::decimal:
        case ListType::decimalLeadingZero: return u"{decimal}.";
        case ListType::lowerAlpha:
        case ListType::lowerGreek: return u"{lower-alpha}.";
        case ListType::upperAlpha: return u"{upper-alpha}.";
        case ListType::lowerRoman: return u"{lower-roman}.";
        case ListType::upperRoman: return u"{upper-roman}.";
        default: return u"{disc}";
    }
}

}  // namespace corvy::platform
