// The character set that markup names itself: in its XML declaration or in a meta tag of its head.
#pragma once

#include <string>
#include <string_view>

#include "foundation/encoding.h"
#include "foundation/range.h"
#include "markup/tag_call.h"

namespace corvy {

// Handlers of the tag scanner that stop at the name of the charset, or at a `body` tag, behind
// which a name does not count. The context is a std::u16string, which receives the name with
// references decoded, or a Range, which receives the place where it stands.
bool RetrieveEncodingHandler(const TagCall& call);
bool RetrieveEncodingRangeHandler(const TagCall& call);

// The name that RetrieveEncodingHandler finds; empty when there is none.
std::u16string markupCharset(std::u16string_view markup);
// Where it stands; kNotFoundRange when there is none.
Range markupCharsetRange(std::u16string_view markup);
// The same as an encoding.
Encoding markupEncoding(std::u16string_view markup);
// The encoding of percent escapes in the addresses of the page: ISO-8859-1 for pages in it, UTF-8
// for all others.
Encoding defaultURLEncoding(std::u16string_view markup);

// Markup as bytes.
struct MarkupData {
    std::string bytes;
    Encoding encoding = Encoding::kASCII;
};
// The text in the charset that it names; characters that this charset lacks become references. A
// text that names no charset we can write gives ASCII, with references for all other characters.
MarkupData markupData(std::u16string_view markup);

}  // namespace corvy
