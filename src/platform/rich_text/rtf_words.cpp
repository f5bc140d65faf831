#include "platform/rich_text/rtf_words.h"

#include <array>
#include <cstddef>

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

namespace {

struct NamedWord {
    std::string_view name;
    RtfWordEntry entry;
};

constexpr std::string_view plainName(std::string_view name) {
    if (name.ends_with('_')) name.remove_suffix(1);
    return name;
}

constexpr NamedWord kWords[] = {
#define WORD(kind, word) {plainName(#word), {RtfWord::word, RtfWordKind::kind}},
#include "platform/rich_text/rtf_words.inc"
#undef WORD
};
// Open addressing; an index into kWords plus one, or 0.
constexpr std::size_t kSlots = 1024;
static_assert(std::size(kWords) < kSlots / 2);

constexpr std::size_t slotOf(std::string_view name) {
    std::uint32_t hash = 0;
    for (const char c : name) hash = hash * 31 + static_cast<unsigned char>(c);
    return (hash ^ hash >> 10) % kSlots;
}

constexpr auto kTable = [] {
    std::array<std::uint16_t, kSlots> table{};
    for (std::size_t i = 0; i < std::size(kWords); ++i) {
        std::size_t slot = slotOf(kWords[i].name);
        while (table[slot] != 0) slot = (slot + 1) % kSlots;
        table[slot] = static_cast<std::uint16_t>(i + 1);
    }
    return table;
}();

}  // namespace

RtfWordEntry rtfWordNamed(std::string_view name) {
    for (std::size_t slot = slotOf(name); kTable[slot] != 0; slot = (slot + 1) % kSlots) {
        const NamedWord& known = kWords[kTable[slot] - 1];
        if (known.name == name) return known.entry;
    }
    return {};
}

char16_t characterOfWord(RtfWord word) {
    switch (word) {
        case RtfWord::line:
        case RtfWord::softline: return kLineBreak;
        case RtfWord::page:
        case RtfWord::column: return kPageBreak;
        case RtfWord::tab: return u'\t';
        case RtfWord::emdash: return u'\x2014';
        case RtfWord::endash: return u'\x2013';
        case RtfWord::emspace: return u'\x2003';
        case RtfWord::enspace: return u'\x2002';
        case RtfWord::qmspace: return u'\x2005';
        case RtfWord::bullet: return u'\x2022';
        case RtfWord::lquote: return u'\x2018';
        case RtfWord::rquote: return u'\x2019';
        case RtfWord::ldblquote: return u'\x201C';
        case RtfWord::rdblquote: return u'\x201D';
        case RtfWord::zwbo: return u'\x200B';
        case RtfWord::zwnbo: return u'\x2060';
        case RtfWord::zwj: return u'\x200D';
        case RtfWord::zwnj: return u'\x200C';
        case RtfWord::ltrmark: return u'\x200E';
        case RtfWord::rtlmark: return u'\x200F';
        default: return 0;
    }
}

}  // namespace corvy::platform
