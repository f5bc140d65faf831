// How runs of text enter the output of the HTML-to-text conversion.
#pragma once

#include <string_view>

#include "text/plain_text_context.h"

namespace corvy {

// Decodes the run of the page and appends it: white space collapsed to single spaces and trimmed
// at both ends, or as `pre` wants it. A space keeps it apart from the text before when white space
// stood between them. `run` is not empty.
void appendRangeToPlainText(PlainTextContext& context, std::u16string_view run);

// Whether a run that a junk font hides is prose, long enough to say that something was removed.
bool isProse(PlainTextContext& context, std::u16string_view run);

// The run with its references as they are decoded for the simple variant, appended behind a space.
void appendSimpleRange(PlainTextContext& context, std::u16string_view run);

// What counts as the end of a line inside `pre`, and as an end already written in front of a table.
constexpr bool isLineBreak(char16_t c) {
    return c == 0x0003 || c == 0x000A || c == 0x000C || c == 0x000D || c == 0x2028 || c == 0x2029 ||
           c == 0xFEFF || c == 0xFFFC;
}

}  // namespace corvy
