// The text of documents that importers miss: packages of an outliner and transcripts of chats.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/bytes.h"

namespace corvy {

// By the ending of the path; none for other files, and when the document has no text of this kind.
// An empty text is a text.
std::optional<std::u16string> fallbackTextOfFile(std::u16string_view path);

// The outliner's: `contents`, zlib or gzip unless it begins with an XML declaration, without what
// belongs to the program rather than to the author. None when it cannot be inflated.
std::optional<std::u16string> textOfOutline(const Bytes& contents);

// Bytes of a zlib or gzip stream, told apart by its header. None when it is damaged or cut off, or
// has more than `longest` bytes.
std::optional<Bytes> inflated(const Bytes& stream, std::size_t longest);

}  // namespace corvy
