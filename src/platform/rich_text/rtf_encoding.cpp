#include "platform/rich_text/rtf_encoding.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>

#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr char16_t kSymbols[] = {
#include "platform/rich_text/symbol_characters.inc"
};
static_assert(std::size(kSymbols) == 0xFF - 0x20);

struct Pair {
    int key;
    int value;
};

// The signs of Wingdings that documents use as bullets and marks.
constexpr Pair kWingdings[] = {
    {0x28, 0x260E}, {0x2A, 0x2709}, {0x46, 0x261E}, {0x4A, 0x263A}, {0x4C, 0x2639}, {0x6C, 0x25CF},
    {0x6D, 0x274D}, {0x6E, 0x25A0}, {0x6F, 0x25A1}, {0x71, 0x2751}, {0x72, 0x2752}, {0x74, 0x29EB},
    {0x75, 0x25C6}, {0x76, 0x2756}, {0x9F, 0x2022}, {0xA7, 0x25AA}, {0xA8, 0x25FB}, {0xD8, 0x27A2},
    {0xDF, 0x2190}, {0xE0, 0x2192}, {0xE1, 0x2191}, {0xE2, 0x2193}, {0xE8, 0x2794}, {0xF0, 0x21E8},
    {0xFB, 0x2717}, {0xFC, 0x2713}, {0xFD, 0x2612}, {0xFE, 0x2611},
};

constexpr Pair kCharsets[] = {
    {0, 1252},   {77, 10000}, {78, 10001}, {79, 10003}, {80, 10008}, {81, 10002},
    {83, 10005}, {84, 10004}, {85, 10006}, {86, 10081}, {87, 10021}, {88, 10029},
    {89, 10007}, {128, 932},  {129, 949},  {130, 1361}, {134, 936},  {136, 950},
    {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257},
    {204, 1251}, {222, 874},  {238, 1250}, {254, 437},  {255, 850},
};

template <std::size_t count>
std::optional<int> find(const Pair (&pairs)[count], int key) {
    const auto* const pair = std::ranges::lower_bound(pairs, key, {}, &Pair::key);
    if (pair == std::end(pairs) || pair->key != key) return std::nullopt;
    return pair->value;
}

struct NumberedName {
    int codePage;
    const char* name;
};

// Code pages whose names do not follow from their numbers.
constexpr NumberedName kNames[] = {
    {819, "ISO-8859-1"},     {10000, "macintosh"},      {10001, "x-mac-japanese"},
    {10002, "Big5"},         {10003, "x-mac-korean"},   {10004, "x-mac-arabic"},
    {10005, "x-mac-hebrew"}, {10007, "x-mac-cyrillic"}, {10008, "cp936"},
    {10029, "x-mac-ce"},     {20866, "KOI8-R"},         {65001, "UTF-8"},
};

bool isLead(Encoding encoding, std::uint8_t byte) {
    switch (encoding) {
        case Encoding::kDOS932:
        case Encoding::kMacJapanese:
            return (byte > 0x80 && byte < 0xA0) || (byte > 0xDF && byte < 0xFD);
        case Encoding::kDOS936:
        case Encoding::kDOS949:
        case Encoding::kDOS950:
        case Encoding::kBig5:
        case Encoding::kMacKorean:
        case Encoding::kWindows1361: return byte > 0x80 && byte < 0xFF;
        default: return false;
    }
}

std::uint8_t bytesOfCharacter(Encoding encoding, std::uint8_t first) {
    if (encoding == Encoding::kUTF8)
        return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    return isLead(encoding, first) ? 2 : 1;
}

std::u16string decode(std::string_view bytes, Encoding encoding) {
    const auto decoded = tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), encoding);
    return decoded ? decoded->text : std::u16string(1, 0xFFFD);
}

// The characters of the single bytes, made on first use.
const std::array<char16_t, 256>& singleBytes(Encoding encoding) {
    thread_local std::array<std::unique_ptr<std::array<char16_t, 256>>, 256> tables;
    auto& table = tables[static_cast<std::uint8_t>(encoding)];
    if (!table) {
        table = std::make_unique<std::array<char16_t, 256>>();
        for (std::size_t i = 0; i < 256; ++i) {
            const char byte = static_cast<char>(i);
            const std::u16string text = decode({&byte, 1}, encoding);
            (*table)[i] = text.size() == 1 ? text[0] : 0xFFFD;
        }
    }
    return *table;
}

}  // namespace

Encoding encodingOfCodePage(int codePage) {
    const std::string number = std::to_string(codePage);
    std::string name = (codePage >= 1250 && codePage <= 1361 ? "windows-" : "cp") + number;
    if (codePage > 28590 && codePage < 28607) name = "ISO-8859-" + std::to_string(codePage - 28590);
    for (const NumberedName& known : kNames) {
        if (known.codePage == codePage) name = known.name;
    }
    return encodingNamed(name).value_or(Encoding::kInvalid);
}

Encoding encodingOfFontCharset(int charset) {
    const auto codePage = find(kCharsets, charset);
    return codePage ? encodingOfCodePage(*codePage) : Encoding::kInvalid;
}

SymbolFont symbolFontNamed(std::u16string_view name, bool symbolCharset) {
    if (equalNoCase(name, u"Symbol") || equalNoCase(name, u"SymbolMT")) return SymbolFont::symbol;
    if (equalNoCase(name, u"Wingdings")) return SymbolFont::wingdings;
    return symbolCharset ? SymbolFont::other : SymbolFont::none;
}

char16_t characterOfSymbolFont(SymbolFont font, std::uint8_t byte) {
    char16_t character = 0;
    if (font == SymbolFont::symbol && byte >= 0x20 && byte < 0xFF)
        character = kSymbols[byte - 0x20];
    if (font == SymbolFont::wingdings) {
        character = static_cast<char16_t>(find(kWingdings, byte).value_or(0));
    }
    if (character == 0 && byte == ' ') character = u' ';
    return character != 0 ? character : static_cast<char16_t>(0xF000 + byte);
}

void RtfByteDecoder::add(std::uint8_t byte, Encoding encoding, std::u16string& out) {
    if (count_ > 0 && (encoding != encoding_ || (encoding_ == Encoding::kUTF8 && byte < 0x80))) {
        flush(out);
    }
    if (count_ == 0) {
        wanted_ = bytesOfCharacter(encoding, byte);
        if (wanted_ == 1) {
            out += singleBytes(encoding)[byte];
            return;
        }
        encoding_ = encoding;
    }
    bytes_[count_++] = static_cast<char>(byte);
    if (count_ == wanted_) flush(out);
}

void RtfByteDecoder::flush(std::u16string& out) {
    if (count_ > 0) out += decode({bytes_, count_}, encoding_);
    count_ = 0;
}

}  // namespace corvy::platform
