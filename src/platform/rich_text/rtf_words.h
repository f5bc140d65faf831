// The control words of RTF, looked up by name.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvy::platform {

// Named as they are written; operator is a word of C++ and has an underscore behind it.
enum class RtfWord : std::uint16_t {
    unknown,
#define WORD(kind, word) word,
#include "platform/rich_text/rtf_words.inc"
#undef WORD
};

enum class RtfWordKind : std::uint8_t {
    unknown,
    destination,  // says where the text of its group belongs
    ignored,      // destinations whose groups are passed over
    character,
    paragraph,
    tab,
    row,          // rows of tables and their cells
    border,       // of the cell edge that was named before
    otherBorder,  // names another edge, which is no part of the model
    text,         // stands for characters, and ends of paragraphs, cells, rows
    unicode,
    header,
    font,
    color,
    listing,
    picture,
    attachment,
    document,
    time,
};

struct RtfWordEntry {
    RtfWord word = RtfWord::unknown;
    RtfWordKind kind = RtfWordKind::unknown;
};

RtfWordEntry rtfWordNamed(std::string_view name);
// What a word of the kind `text` stands for; 0 for those that end something.
char16_t characterOfWord(RtfWord word);

}  // namespace corvy::platform
