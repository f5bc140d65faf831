#include "markup/tag_attributes.h"

#include <algorithm>

#include "foundation/character_tables.h"
#include "foundation/find_unit.h"
#include "foundation/text.h"
#include "markup/tag_scanner.h"

namespace corvy {

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

// In what the look-ups differ.
struct LookupRules {
    char16_t separator = u'=';   // between name and value
    char16_t terminator = u'>';  // ends a value
    std::size_t slack = 5;       // a name that leaves no more units than this has no value
    bool underscoreJoins = false;
    bool repeatedSeparators = false;
    bool tolerant = false;
};

constexpr LookupRules kCharactersRules = {.underscoreJoins = true, .repeatedSeparators = true};
constexpr LookupRules kTagRules = {};
constexpr LookupRules kStyleRules = {.separator = u':', .terminator = u';', .slack = 1};

bool isQuote(char16_t c) {
    return c == u'"' || c == u'\'';
}

// `a` begins with `b`, both in upper case.
bool hasPrefixUpper(std::u16string_view a, std::u16string_view b) {
    return a.size() >= b.size() &&
           std::equal(b.begin(), b.end(), a.begin(),
                      [](char16_t x, char16_t y) { return toUpper(x) == toUpper(y); });
}

std::size_t skipWhite(std::u16string_view text, std::size_t i) {
    while (i < text.size() && isWhite(text[i])) ++i;
    return i;
}

// Where the value of the attribute begins, its quote included; the size of the tag when nothing
// stands behind the separator, none when the tag has no such attribute.
std::size_t findValue(std::u16string_view tag, std::u16string_view name, const LookupRules& rules) {
    if (name.empty() || tag.size() <= rules.slack || name.size() >= tag.size() - rules.slack) {
        return kNone;
    }
    const char16_t first = toUpper(name.front());
    const auto joinsWord = [&rules](char16_t c) {
        return isAlphaNum(c) || c == u'-' || (c == u'_' && rules.underscoreJoins);
    };
    const std::size_t limit = tag.size() - name.size();
    for (std::size_t i = 0; i < limit; ++i) {
        if (isQuote(tag[i])) {
            i = findUnit(tag, tag[i], i + 1);
            continue;
        }
        if (toUpper(tag[i]) != first || (i > 0 && joinsWord(tag[i - 1]))) continue;
        if (!hasPrefixUpper(tag.substr(i), name)) continue;
        std::size_t value = skipWhite(tag, i + name.size());
        if (value == tag.size() || tag[value] != rules.separator) continue;
        ++value;
        while (rules.repeatedSeparators && value < tag.size() && tag[value] == rules.separator) {
            ++value;
        }
        return skipWhite(tag, value);
    }
    return kNone;
}

// The end of a quoted value that may hold markup. `start` follows the quote.
std::size_t endOfTolerantValue(std::u16string_view tag, std::size_t start, char16_t quote) {
    std::size_t nesting = 0;
    for (std::size_t i = start; i < tag.size(); ++i) {
        const char16_t c = tag[i];
        if (c == quote) {
            // A tag that the quote cut short is no part of the value.
            const std::u16string_view value = tag.substr(start, i - start);
            if (nesting == 1 && value.ends_with(u"<")) return i - 1;
            if (nesting == 1 && value.ends_with(u"</")) return i - 2;
            return i;
        }
        if (c == u'<') {
            // The closing quote was forgotten, and the next tag has begun.
            if (hasPrefixUpper(tag.substr(i + 1), u"META")) return i;
            ++nesting;
        } else if (c == u'>' && i > start) {
            if (nesting == 0) return i;
            --nesting;
        }
    }
    return tag.size();
}

// The value of the attribute, as a range of the tag.
Range rangeOfValue(std::u16string_view tag, std::u16string_view name, const LookupRules& rules) {
    std::size_t start = findValue(tag, name, rules);
    if (start == kNone || start == tag.size()) return kNotFoundRange;
    std::size_t end = start;
    if (!isQuote(tag[start])) {
        while (end < tag.size() && !isWhite(tag[end]) && tag[end] != rules.terminator) ++end;
    } else {
        const char16_t quote = tag[start++];
        if (rules.tolerant) {
            end = endOfTolerantValue(tag, start, quote);
        } else {
            const char16_t ends[] = {quote, rules.terminator};
            end = std::min(tag.find_first_of({ends, 2}, start), tag.size());
        }
    }
    while (end > start && isWhite(tag[end - 1])) --end;
    if (end == start) return kNotFoundRange;
    return {start, end - start};
}

std::u16string_view cut(std::u16string_view characters, Range range) {
    if (range.location > characters.size()) return {};
    return characters.substr(range.location, range.length);
}

std::optional<std::u16string> valueOf(std::u16string_view tag, std::u16string_view name,
                                      const LookupRules& rules) {
    const Range value = rangeOfValue(tag, name, rules);
    if (!value.found()) return std::nullopt;
    return std::u16string(tag.substr(value.location, value.length));
}

}  // namespace

std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view characters, Range range,
                                                       std::u16string_view name, bool tolerant) {
    const Range value = rangeOfAttributeOfTagCharacters(characters, range, name, tolerant);
    if (!value.found()) return std::nullopt;
    return std::u16string(characters.substr(value.location, value.length));
}

Range rangeOfAttributeOfTagCharacters(std::u16string_view characters, Range range,
                                      std::u16string_view name, bool tolerant) {
    LookupRules rules = kCharactersRules;
    rules.tolerant = tolerant;
    Range value = rangeOfValue(cut(characters, range), name, rules);
    if (value.found()) value.location += range.location;
    return value;
}

std::optional<std::u16string> attributeOfTagWithName(std::u16string_view tag,
                                                     std::u16string_view name) {
    return valueOf(tag, name, kTagRules);
}

std::optional<std::u16string> attributeOfTagInRange(std::u16string_view string, Range range,
                                                    std::u16string_view name) {
    return valueOf(cut(string, range), name, kTagRules);
}

std::optional<std::u16string> attributeOfStyleWithName(std::u16string_view style,
                                                       std::u16string_view name) {
    return valueOf(style, name, kStyleRules);
}

std::optional<std::u16string> attributeOfStyleInRange(std::u16string_view string, Range range,
                                                      std::u16string_view name) {
    return valueOf(cut(string, range), name, kStyleRules);
}

TagSize getTagWidth(std::u16string_view characters, Range range) {
    const std::u16string_view tag = cut(characters, range);
    constexpr std::size_t kLeastLength = 10;
    if (tag.size() < kLeastLength) return {};
    const auto integerOf = [tag](std::u16string_view name) {
        return integerValue(valueOf(tag, name, kCharactersRules).value_or(u""));
    };
    TagSize size;
    size.width = integerOf(u"WIDTH");
    if (size.width != 0) {
        size.height = integerOf(u"HEIGHT");
        // A misspelling of real pages.
        if (size.height == 0) size.height = integerOf(u"HEIGH");
        return size;
    }
    const std::u16string style = valueOf(tag, u"STYLE", kCharactersRules).value_or(u"");
    const auto styleInteger = [&style](std::u16string_view name) {
        return integerValue(attributeOfStyleWithName(style, name).value_or(u""));
    };
    size.width = styleInteger(u"WIDTH");
    if (size.width != 0) size.height = styleInteger(u"HEIGHT");
    return size;
}

TagSize getTagWidth(std::u16string_view tag) {
    return getTagWidth(tag, {0, tag.size()});
}

std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view characters,
                                                                Range range) {
    if (!isTagOpenCharacters(characters, range)) return std::nullopt;
    const std::optional<std::u16string> style =
        attributeOfTagCharacters(characters, range, u"STYLE");
    if (!style) return std::nullopt;
    if (!containsNoCase(*style, u"background:") && !containsNoCase(*style, u"background-image:")) {
        return std::nullopt;
    }
    if (!containsNoCase(*style, u"no-repeat")) return std::nullopt;
    std::u16string_view url = *style;
    while (!hasPrefixUpper(url, u"url(")) {
        if (url.empty()) return std::nullopt;
        url.remove_prefix(1);
    }
    url.remove_prefix(4);
    const std::size_t end = url.find(u')');
    if (end == kNone) return std::nullopt;
    url = url.substr(0, end);
    while (url.starts_with(u'\'')) {
        url.remove_prefix(1);
        if (!url.empty()) url.remove_suffix(1);
    }
    if (url.empty()) return std::nullopt;
    return std::u16string(url);
}

}  // namespace corvy
