#include "platform/rich_text/rtf_output.h"

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

void RtfOutput::text(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit < 0x80) {
            ascii(static_cast<char>(unit));
            continue;
        }
        if (unit == kLineBreak) {
            bytes_ += "\\line ";
            continue;
        }
        // Said for each character, although it holds until it is changed: some readers forget.
        const bool secondOfPair = i > 0 && (unit & 0xFC00) == 0xDC00;
        if (!secondOfPair) bytes_ += "\\uc0";
        word("\\u", static_cast<std::int16_t>(unit));
        bytes_ += ' ';
    }
}

void RtfOutput::ascii(char c) {
    switch (c) {
        case '\n': bytes_ += "\\\n"; break;
        case '\f': bytes_ += "\\page "; break;
        case '\t': bytes_ += "\\tab "; break;
        case '\\':
        case '{':
        case '}':
            bytes_ += '\\';
            bytes_ += c;
            break;
        default:
            if (c >= 0x20 && c != 0x7F) bytes_ += c;
    }
}

}  // namespace corvy::platform
