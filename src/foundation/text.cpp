#include "foundation/text.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <span>

#include "foundation/character_tables.h"
#include "foundation/utf8.h"

namespace corvy {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

void appendUtf16(std::u16string& out, char32_t character) {
    if (character < 0x10000) {
        out.push_back(static_cast<char16_t>(character));
    } else {
        out.push_back(U16_LEAD(character));
        out.push_back(U16_TRAIL(character));
    }
}

// Decodes all of `bytes`; `illFormed(part, out)` says what to append for an ill-formed part.
template <typename IllFormed>
void decode(std::string_view bytes, std::u16string& out, IllFormed illFormed) {
    out.reserve(out.size() + bytes.size());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::uint8_t* const end = in + bytes.size();
    while (in < end) {
        const Utf8Character one = decodeUtf8Character(in, end);
        if (one.character != kIllFormed) {
            appendUtf16(out, one.character);
        } else {
            illFormed(std::span(in, one.length), out);
        }
        in += one.length;
    }
}

// The same by blocks, with U+FFFD for each ill-formed part, whose number is the result.
std::size_t decodeWithReplacements(std::string_view bytes, std::u16string& out) {
    std::array<char16_t, 4096> chunk;  // stays in the first-level cache
    out.reserve(out.size() + bytes.size());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::uint8_t* const end = in + bytes.size();
    std::size_t substitutions = 0;
    while (in < end) {
        const Utf8Progress step =
            decodeUtf8<NativeBlocks>(in, end, chunk.data(), chunk.data() + chunk.size());
        out.append(chunk.data(), step.out);
        substitutions += step.substitutions;
        in = step.in;
    }
    return substitutions;
}

void appendUtf8(std::string& out, char32_t character) {
    char bytes[4];
    out.append(bytes, encodeUtf8Character(character, bytes));
}

// UTF-8 of all of `text`; `loneSurrogate(unit, out)` says what to append for one.
template <typename LoneSurrogate>
void encode(std::u16string_view text, std::string& out, LoneSurrogate loneSurrogate) {
    out.reserve(out.size() + text.size() + text.size() / 8);
    char block[NativeBlocks::kSize];
    for (std::size_t i = 0; i < text.size(); ++i) {
        while (text.size() - i >= sizeof block && NativeBlocks::narrow(text.data() + i, block)) {
            out.append(block, sizeof block);
            i += sizeof block;
        }
        if (i == text.size()) break;
        const char16_t unit = text[i];
        if (unit < 0x80) {
            out.push_back(static_cast<char>(unit));
        } else if (!U16_IS_SURROGATE(unit)) {
            appendUtf8(out, unit);
        } else if (U16_IS_LEAD(unit) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            appendUtf8(out, static_cast<char32_t>(U16_GET_SUPPLEMENTARY(unit, text[i + 1])));
            ++i;
        } else {
            loneSurrogate(unit, out);
        }
    }
}

char16_t folded(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    const UChar32 simple = u_foldCase(unit, U_FOLD_CASE_DEFAULT);
    return simple < 0x10000 ? static_cast<char16_t>(simple) : unit;
}

bool equalFolded(char16_t a, char16_t b) {
    return a == b || folded(a) == folded(b);
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
    std::string out;
    encode(text, out, [](char16_t, std::string& to) { appendUtf8(to, kReplacement); });
    return out;
}

std::u16string fromUtf8(std::string_view bytes) {
    std::u16string out;
    decodeWithReplacements(bytes, out);
    return out;
}

std::optional<std::u16string> fromStrictUtf8(std::string_view bytes) {
    std::u16string out;
    if (decodeWithReplacements(bytes, out) > 0) return std::nullopt;
    return out;
}

bool isWellFormed(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!U16_IS_SURROGATE(text[i])) continue;
        if (!U16_IS_LEAD(text[i]) || i + 1 == text.size() || !U16_IS_TRAIL(text[i + 1])) {
            return false;
        }
        ++i;
    }
    return true;
}

std::u16string pathFromBytes(std::string_view bytes) {
    std::u16string out;
    decode(bytes, out, [](std::span<const std::uint8_t> part, std::u16string& to) {
        for (const std::uint8_t byte : part) to.push_back(static_cast<char16_t>(0xDC00 + byte));
    });
    return out;
}

std::optional<std::string> bytesOfPath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) return std::nullopt;
    std::string out;
    encode(path, out, [](char16_t unit, std::string& to) {
        if (unit >= 0xDC80 && unit <= 0xDCFF) {
            to.push_back(static_cast<char>(unit - 0xDC00));
        } else {
            appendUtf8(to, kReplacement);
        }
    });
    return out;
}

std::u16string_view lastPathComponent(std::u16string_view path) {
    while (path.size() > 1 && path.back() == u'/') path.remove_suffix(1);
    if (path == u"/") return path;
    return path.substr(path.rfind(u'/') + 1);  // not found + 1 = 0
}

std::u16string_view pathExtension(std::u16string_view path) {
    const std::u16string_view name = lastPathComponent(path);
    const std::size_t dot = name.rfind(u'.');
    if (dot == std::u16string_view::npos || dot == 0) return {};
    return name.substr(dot + 1);
}

bool equalNoCase(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), equalFolded);
}

bool containsNoCase(std::u16string_view text, std::u16string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), equalFolded) !=
               text.end() ||
           part.empty();
}

bool hasSuffixNoCase(std::u16string_view text, std::u16string_view suffix) {
    return text.size() >= suffix.size() &&
           equalNoCase(text.substr(text.size() - suffix.size()), suffix);
}

std::u16string_view trimWhite(std::u16string_view text) {
    while (!text.empty() && isWhite(text.front())) text.remove_prefix(1);
    while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
    return text;
}

std::int64_t integerValue(std::u16string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isWhite(text[i])) ++i;
    const bool negative = i < text.size() && text[i] == u'-';
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) ++i;
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        const std::int64_t digit = text[i] - u'0';
        // Built up with its sign, since the smallest value has no positive counterpart.
        if (__builtin_mul_overflow(value, 10, &value) ||
            __builtin_add_overflow(value, negative ? -digit : digit, &value)) {
            using Limits = std::numeric_limits<std::int64_t>;
            return negative ? Limits::min() : Limits::max();
        }
    }
    return value;
}

}  // namespace corvy
