// Files of plain text, whose encoding nobody tells.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "foundation/encoding.h"

namespace corvy::platform {

struct PlainTextFile {
    std::u16string text;                  // without the byte-order mark
    Encoding encoding = Encoding::kUTF8;  // kInvalid for UTF-32, which has no name here
};

// By the byte-order mark (UTF-8, UTF-16, UTF-32), else as UTF-8 where the bytes are that, else as
// UTF-16 where zeros stand as in Western text of that form, else as the statistics of languages
// have it, else as windows-1252. What cannot be decoded becomes U+FFFD.
PlainTextFile readPlainText(std::span<const std::byte> bytes);

// Whether the bytes are text of any kind: no control characters but those that text has.
bool looksLikePlainText(std::span<const std::byte> bytes);

}  // namespace corvy::platform
