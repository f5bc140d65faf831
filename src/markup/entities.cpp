#include "markup/entities.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "foundation/character_tables.h"
#include "foundation/find_unit.h"

namespace corvy {

namespace {

struct Entity {
    std::string_view name;
    char16_t unit;
};

constexpr Entity kEntities[] = {
#include "markup/entity_table.inc"
};
constexpr std::size_t kEntityCount = std::size(kEntities);
static_assert(kEntityCount == 246);

constexpr std::size_t kLeastDecoded = 4;    // units of a text that is worth decoding
constexpr std::size_t kLongestStretch = 7;  // units from behind "&" through the terminator

// Letters of a name as one number: names compare in one step.
constexpr std::uint64_t packed(std::string_view name) {
    std::uint64_t key = 0;
    for (const char c : name) key = key << 8 | static_cast<std::uint8_t>(c);
    return key;
}

// The entities by name: open addressing, no more than half full. Names too long to be read are not
// in it.
class NameIndex {
public:
    consteval NameIndex() {
        for (const Entity& entity : kEntities) {
            if (entity.name.size() >= kLongestStretch) continue;
            const std::uint64_t key = packed(entity.name);
            std::size_t slot = slotOf(key);
            while (slots_[slot].key != 0) slot = (slot + 1) % kSlots;
            slots_[slot] = {key, entity.unit};
        }
    }
    // 0 when there is no such name.
    constexpr char16_t unitOf(std::uint64_t key) const {
        std::size_t slot = slotOf(key);
        while (slots_[slot].key != 0 && slots_[slot].key != key) slot = (slot + 1) % kSlots;
        return slots_[slot].unit;
    }

private:
    struct Slot {
        std::uint64_t key = 0;
        char16_t unit = 0;
    };
    static constexpr std::size_t kSlots = 512;
    static constexpr std::size_t slotOf(std::uint64_t key) {
        return static_cast<std::size_t>(key * 0x9E3779B97F4A7C15ULL >> 55);
    }
    std::array<Slot, kSlots> slots_{};
};
constexpr NameIndex kNames;

// The row of the entity for each unit of the span that entities cover.
class ReverseIndex {
public:
    consteval ReverseIndex() {
        rows_.fill(kNone);
        for (std::size_t row = 0; row < kEntityCount; ++row) {
            rows_[kEntities[row].unit - kLowest] = static_cast<std::uint16_t>(row);
        }
    }
    // Null when the unit has no name.
    constexpr const Entity* entityFor(char16_t unit) const {
        if (unit < kLowest || unit > kHighest || rows_[unit - kLowest] == kNone) return nullptr;
        return &kEntities[rows_[unit - kLowest]];
    }

private:
    static constexpr std::uint16_t kNone = 0xFFFF;
    static constexpr char16_t kLowest = 0x00A0;
    static constexpr char16_t kHighest = 0x2666;
    std::array<std::uint16_t, kHighest - kLowest + 1> rows_{};
};
constexpr ReverseIndex kReverse;

// A reference that was read: its character, and how many units it takes (0: it is none).
struct Reference {
    char16_t unit = 0;
    std::size_t length = 0;
    bool isMarkup = false;  // one of those that are never folded
};

constexpr bool isHexDigit(char16_t c) {
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
}
constexpr unsigned valueOfDigit(char16_t c) {
    return c <= u'9' ? c - u'0' : (c | 0x20U) - u'a' + 10U;
}

// The references that need no terminator. `rest` starts at the "&".
Reference readFastForm(std::u16string_view rest, bool markup) {
    struct Form {
        std::u16string_view text;
        char16_t unit;
        bool always;  // not only as markup
    };
    static constexpr Form kForms[] = {
        {u"&amp", u'&', false},   {u"&lt", u'<', false},   {u"&gt", u'>', false},
        {u"&nbsp", 0x00A0, true}, {u"&quot", u'"', false}, {u"&apos", u'\'', true},
    };
    for (const Form& form : kForms) {
        if (!(form.always || markup) || !rest.starts_with(form.text)) continue;
        const std::size_t length = form.text.size();
        const bool terminated = length < rest.size() && rest[length] == u';';
        return {form.unit, length + (terminated ? 1 : 0), true};
    }
    return {};
}

// "&#233;", "&#xE9;". `rest` starts at the "&" and goes on with "#".
Reference readNumber(std::u16string_view rest) {
    const bool hex = rest.size() > 2 && (rest[2] | 0x20) == u'x';
    unsigned value = 0;
    std::size_t end = hex ? 3 : 2;
    for (; end < rest.size() && end <= kLongestStretch + 1; ++end) {
        if (hex ? !isHexDigit(rest[end]) : rest[end] < u'0' || rest[end] > u'9') break;
        value = value * (hex ? 16 : 10) + valueOfDigit(rest[end]);
    }
    const std::size_t stretch = end < rest.size() ? end : end - 1;
    if (stretch < 2 || stretch > kLongestStretch) return {};
    return {static_cast<char16_t>(value), end};
}

// "&eacute;". `rest` starts at the "&".
Reference readName(std::u16string_view rest) {
    std::size_t end = 1;
    while (end < rest.size() && end <= kLongestStretch && isAlphaNum(rest[end])) ++end;
    // kept: at the very end of the text the last letter of the name counts as its terminator.
    if (end == rest.size()) --end;
    // A name of one letter, or none that ends in time.
    if (end < 3 || end > kLongestStretch) return {};
    std::uint64_t key = 0;
    for (const char16_t c : rest.substr(1, end - 1)) {
        if (c >= 0x80) return {};
        key = key << 8 | c;
    }
    const char16_t unit = kNames.unitOf(key);
    return unit ? Reference{unit, end} : Reference{};
}

// The reference at the "&" with which `rest` starts.
Reference readReference(std::u16string_view rest, const EntityOptions& options) {
    if (rest.size() < 2) return {};
    if (const Reference fast = readFastForm(rest, options.markup); fast.length) return fast;
    const bool numeric = rest[1] == u'#';
    if (!numeric && options.onlyNumericEntities) return {};
    Reference reference = numeric ? readNumber(rest) : readName(rest);
    if (!reference.length) return {};
    const char16_t unit = reference.unit;
    if (!options.markup && (unit == u'"' || unit == u'&' || unit == u'<' || unit == u'>')) {
        return {};
    }
    if (reference.length < rest.size() && rest[reference.length] == u';') ++reference.length;
    return reference;
}

// The same for the four references of markup in their strict form.
Reference readStandardReference(std::u16string_view rest) {
    // kept: the first place that holds a ";" decides which form is tried, so "&amp;;" stays.
    const auto endsAt = [rest](std::size_t i) { return i < rest.size() && rest[i] == u';'; };
    if (endsAt(5)) return rest.starts_with(u"&quot;") ? Reference{u'"', 6} : Reference{};
    if (endsAt(4)) return rest.starts_with(u"&amp;") ? Reference{u'&', 5} : Reference{};
    if (rest.starts_with(u"&gt;")) return {u'>', 4};
    if (rest.starts_with(u"&lt;")) return {u'<', 4};
    return {};
}

constexpr auto kIsHigh = [](auto c) { return c >= 0x80; };

char16_t* copied(std::u16string_view run, char16_t* out) {
    if (out != run.data()) std::char_traits<char16_t>::move(out, run.data(), run.size());
    return out + run.size();
}

char16_t* copiedWithoutUmlauts(std::u16string_view run, char16_t* out) {
    while (!run.empty()) {
        const std::size_t ascii = findUnitIf(run, kIsHigh);
        out = copied(run.substr(0, ascii), out);
        run.remove_prefix(ascii);
        for (; !run.empty() && kIsHigh(run.front()); run.remove_prefix(1)) {
            *out++ = umlautsToAscii(run.front());
        }
    }
    return out;
}

// Copies the text with its references, as `read` finds them, replaced.
template <typename Read>
std::size_t decode(std::u16string_view source, char16_t* destination, bool nonUmlauted, Read read) {
    std::size_t i = 0;
    char16_t* out = destination;
    while (true) {
        const std::size_t ampersand = findUnit(source, u'&', i);
        const std::u16string_view run = source.substr(i, ampersand - i);
        out = nonUmlauted ? copiedWithoutUmlauts(run, out) : copied(run, out);
        if (ampersand == source.size()) break;
        const Reference reference = read(source.substr(ampersand));
        const char16_t unit = reference.length ? reference.unit : u'&';
        *out++ = nonUmlauted && !reference.isMarkup ? umlautsToAscii(unit) : unit;
        i = ampersand + std::max<std::size_t>(reference.length, 1);
    }
    return static_cast<std::size_t>(out - destination);
}

// `convert` works in place on a copy of the text. A result of the same length means that nothing
// was decoded.
template <typename Convert>
std::u16string decoded(std::u16string_view text, Convert convert) {
    std::u16string result(text);
    if (text.size() < kLeastDecoded || findUnit(text, u'&') == text.size()) return result;
    const std::size_t length = convert(result, result.data());
    if (length == text.size()) return std::u16string(text);
    result.resize(length);
    return result;
}

void appendDecimalReference(std::u16string& out, char16_t unit) {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, std::uint16_t{unit}).ptr;
    out += u"&#";
    out.append(digits, end);
    out += u';';
}

// Copies the text, with what `append(out, unit)` writes for each unit that `isChanged`.
template <typename IsChanged, typename Append>
std::u16string encoded(std::u16string_view text, IsChanged isChanged, Append append) {
    std::u16string out;
    out.reserve(text.size() + text.size() / 8);
    std::size_t start = 0;
    while (true) {
        const std::size_t i = findUnitIf(text, isChanged, start);
        out += text.substr(start, i - start);
        if (i == text.size()) return out;
        append(out, text[i]);
        start = i + 1;
    }
}

// What JSON writes behind a backslash for each unit of ASCII; 0 for one that is copied.
constexpr auto kJsonEscapes = [] {
    std::array<char16_t, 0x80> escapes{};
    escapes[u'\b'] = u'b', escapes[u'\t'] = u't', escapes[u'\n'] = u'n';
    escapes[u'\f'] = u'f', escapes[u'\r'] = u'r';
    for (const char16_t c : {u'"', u'/', u'\\'}) escapes[c] = c;
    return escapes;
}();

constexpr char16_t jsonEscape(char16_t c) {
    return c < kJsonEscapes.size() ? kJsonEscapes[c] : u'\0';
}

}  // namespace

std::size_t convertEntitiesToCharacters(std::u16string_view source, char16_t* destination,
                                        const EntityOptions& options) {
    return decode(source, destination, options.nonUmlauted,
                  [&options](std::u16string_view rest) { return readReference(rest, options); });
}

std::size_t convertStandardEntitiesToCharacters(std::u16string_view source, char16_t* destination) {
    return decode(source, destination, false, readStandardReference);
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view text,
                                                      const EntityOptions& options) {
    return decoded(text, [&options](std::u16string_view source, char16_t* destination) {
        return convertEntitiesToCharacters(source, destination, options);
    });
}

std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(std::u16string_view text,
                                                                 bool nonUmlauted) {
    return stringByConvertingEntitiesToCharacters(text, {.nonUmlauted = nonUmlauted});
}

std::u16string stringByConvertingStandardEntitiesToCharacters(std::u16string_view text) {
    return decoded(text, convertStandardEntitiesToCharacters);
}

std::u16string stringByConvertingCharactersToEntities(std::u16string_view text) {
    return encoded(text, kIsHigh, [](std::u16string& out, char16_t unit) {
        if (const Entity* entity = kReverse.entityFor(unit)) {
            out += u'&';
            out.append(entity->name.begin(), entity->name.end());
            out += u';';
        } else {
            appendDecimalReference(out, unit);
        }
    });
}

std::u16string stringByConvertingHighCharactersToEntities(std::u16string_view text) {
    return encoded(text, kIsHigh, appendDecimalReference);
}

std::u16string stringByConvertingCharactersToStandardEntities(std::u16string_view text) {
    const auto isMarkup = [](auto c) {
        return (c == u'"') | (c == u'&') | (c == u'<') | (c == u'>');
    };
    return encoded(text, isMarkup, [](std::u16string& out, char16_t unit) {
        out += unit == u'"'   ? u"&quot;"
               : unit == u'&' ? u"&amp;"
               : unit == u'<' ? u"&lt;"
                              : u"&gt;";
    });
}

std::u16string stringByConvertingCharactersToJSON(std::u16string_view text) {
    // Escapes are too frequent for a search between them to pay.
    std::size_t length = text.size();
    for (const char16_t c : text) length += jsonEscape(c) ? 1 : 0;
    std::u16string out(length, u'\0');
    char16_t* to = out.data();
    for (const char16_t c : text) {
        const char16_t escape = jsonEscape(c);
        if (escape) *to++ = u'\\';
        *to++ = escape ? escape : c;
    }
    return out;
}

}  // namespace corvy
