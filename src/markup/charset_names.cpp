#include "markup/charset_names.h"

#include <algorithm>
#include <string>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy {

namespace {

using enum Encoding;

struct Numbered {
    std::int64_t number;
    Encoding encoding;
};

struct Named {
    std::u16string_view name;
    Encoding encoding;
};

enum class Test { is, starts, contains };

struct NameRule {
    Test test;
    std::u16string_view part;
    Encoding encoding;
};

#include "markup/charset_names.inc"

static_assert(std::ranges::is_sorted(kNumbers, {}, &Numbered::number));

std::u16string normalized(std::u16string_view name) {
    std::u16string result;
    for (const char16_t unit : name) {
        if (isAlphaNum(unit)) result.push_back(toLower(unit));
    }
    return result;
}

// kInvalid when the number in the name is not that of a set.
Encoding encodingOfNumber(std::u16string_view name) {
    const auto* const digits = std::ranges::find_if(name, isDigit);
    if (digits == name.end()) return kInvalid;
    const std::int64_t number =
        integerValue(name.substr(static_cast<std::size_t>(digits - name.begin())));
    if (number == 2022) {
        if (name == u"iso2022jp1") return kISO2022JP_1;
        if (name == u"iso2022jp2") return kISO2022JP_2;
        if (name == u"iso2022jp3") return kISO2022JP_3;
        return kISO2022JP;
    }
    // Misspellings of 8859-1 with a digit too many.
    if (number >= 885101 && number <= 885391 && number % 5 == 1) return kISO8859_1;
    const auto* const found = std::ranges::lower_bound(kNumbers, number, {}, &Numbered::number);
    return found != std::end(kNumbers) && found->number == number ? found->encoding : kInvalid;
}

bool matches(const NameRule& rule, std::u16string_view name) {
    switch (rule.test) {
        case Test::is: return name == rule.part;
        case Test::starts: return name.starts_with(rule.part);
        case Test::contains: return name.find(rule.part) != std::u16string_view::npos;
    }
    return false;
}

}  // namespace

Encoding CFEncodingFromName(std::u16string_view charset) {
    const std::u16string name = normalized(charset);
    if (name.size() < 3) return kInvalid;
    if (const Encoding byNumber = encodingOfNumber(name); byNumber != kInvalid) return byNumber;
    const std::u16string_view view = name;
    if (view.starts_with(u"mac")) {
        const Encoding mac = macEncoding(view.substr(3));
        if (mac != kInvalid) return mac;
    }
    if (view.starts_with(u"xmac")) return macEncoding(view.substr(4));
    for (const NameRule& rule : kNameRules) {
        if (matches(rule, view)) return rule.encoding;
    }
    return kInvalid;
}

Encoding macEncoding(std::u16string_view rest) {
    const auto* const found = std::ranges::find(kMacNames, rest, &Named::name);
    return found == std::end(kMacNames) ? kInvalid : found->encoding;
}

}  // namespace corvy
