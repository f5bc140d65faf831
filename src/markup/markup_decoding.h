// Bytes of markup to text: the charset that the transport declared weighed against the one that
// the markup names, by what each makes of the bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/encoding.h"

namespace corvy {

// What is known of the bytes besides themselves.
struct MarkupDataOptions {
    // The charset that the transport declares, or its content type, which counts when there is no
    // name. Unknown names count as none.
    std::optional<std::u16string_view> encodingName = {};
    std::optional<std::u16string_view> contentType = {};
    // Assumed when nothing is declared.
    Encoding defaultEncoding = Encoding::kUTF8;
};

// The text of the bytes; empty for no bytes. None when no guess makes anything of them.
// kept: a declared UTF-8 page that calls itself ISO-8859-1 or windows-1251, and decodes without
// replacements either way, gives the shorter text.
std::optional<std::u16string> stringWithMarkupData(std::span<const std::byte> data,
                                                   const MarkupDataOptions& options = {});

// The same for the content of a file. None for what cannot be read, and for binary property lists,
// which are not markup.
std::optional<std::u16string> stringWithMarkupContentsOfFile(
    std::u16string_view path, Encoding defaultEncoding = Encoding::kUTF8);

// The text of bytes behind a byte-order mark of UTF-16; none without the mark. To be asked first
// where the bytes are a saved file: the others go by declared charsets only.
std::optional<std::u16string> stringWithMarkedUtf16(std::span<const std::byte> data);

}  // namespace corvy
