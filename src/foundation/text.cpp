#include "foundation/text.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstdint>

namespace corvy {

namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char32_t kIllFormed = 0xFFFFFFFF;

struct Decoded {
    char32_t character;  // kIllFormed for a maximal ill-formed part
    std::size_t length;  // bytes read, at least 1
};

// One character at the start of `bytes`, which are not empty.
Decoded decodeOne(std::string_view bytes) {
    const auto byteAt = [bytes](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) return {lead, 1};
    std::size_t length = 0;
    char32_t character = 0;
    // The range of the second byte keeps out overlong forms, surrogates and what lies past
    // U+10FFFF.
    std::uint8_t low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, character = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, character = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, character = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {kIllFormed, 1};
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= bytes.size() || byteAt(i) < low || byteAt(i) > high) return {kIllFormed, i};
        character = character << 6 | (byteAt(i) & 0x3F);
        low = 0x80, high = 0xBF;
    }
    return {character, length};
}

void appendUtf16(std::u16string& out, char32_t character) {
    if (character < 0x10000) {
        out.push_back(static_cast<char16_t>(character));
    } else {
        out.push_back(U16_LEAD(character));
        out.push_back(U16_TRAIL(character));
    }
}

// Decodes all of `bytes`; `illFormed(part, out)` says what to append for an ill-formed part and
// gives false to stop.
template <typename IllFormed>
bool decode(std::string_view bytes, std::u16string& out, IllFormed illFormed) {
    out.reserve(out.size() + bytes.size());
    std::size_t i = 0;
    while (i < bytes.size()) {
        if (static_cast<std::uint8_t>(bytes[i]) < 0x80) {
            out.push_back(static_cast<char16_t>(bytes[i++]));
            continue;
        }
        const Decoded one = decodeOne(bytes.substr(i));
        if (one.character != kIllFormed) {
            appendUtf16(out, one.character);
        } else if (!illFormed(bytes.substr(i, one.length), out)) {
            return false;
        }
        i += one.length;
    }
    return true;
}

void appendUtf8(std::string& out, char32_t c) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6), put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12), put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18), put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
    }
}

// UTF-8 of all of `text`; `loneSurrogate(unit, out)` says what to append for one.
template <typename LoneSurrogate>
void encode(std::u16string_view text, std::string& out, LoneSurrogate loneSurrogate) {
    out.reserve(out.size() + text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
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
    decode(bytes, out, [](std::string_view, std::u16string& to) {
        to.push_back(kReplacement);
        return true;
    });
    return out;
}

std::optional<std::u16string> fromStrictUtf8(std::string_view bytes) {
    std::u16string out;
    if (!decode(bytes, out, [](std::string_view, std::u16string&) { return false; })) {
        return std::nullopt;
    }
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
    decode(bytes, out, [](std::string_view part, std::u16string& to) {
        for (const char byte : part) {
            to.push_back(static_cast<char16_t>(0xDC00 + static_cast<std::uint8_t>(byte)));
        }
        return true;
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

}  // namespace corvy
