// Bytes of text whose encoding may not be told.
#pragma once

#include <string>
#include <string_view>

#include "foundation/encoding.h"

namespace corvy {

struct Decoded {
    std::u16string text;  // without the byte-order mark
    Encoding encoding = Encoding::kUTF8;
};

// By the byte-order mark of UTF-8 or UTF-16; without one as UTF-8 where the bytes are that, else as
// windows-1252. `isPart`: more bytes would follow, so that the last character may be cut.
Decoded decodedText(std::string_view bytes, bool isPart = false);

// In the charset of that name; as above when it names none.
std::u16string decodedText(std::string_view bytes, std::u16string_view charset);

}  // namespace corvy
