// RTF documents as attributed text.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/rich_text/file_node.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// Whether the bytes begin as RTF does, behind white space and a byte-order mark.
bool isRtf(std::span<const std::byte> bytes);

// The document in the bytes; none when they do not begin as RTF. A document that breaks off, or is
// damaged, gives what could be read. Attachments are taken from the folder `package`, under the
// names that the text says; without one, and where a file is missing, they are left out. Pictures
// inside the text become attachments.
std::optional<RichDocument> documentOfRtf(std::span<const std::byte> bytes,
                                          const FileNode* package = nullptr);

}  // namespace corvy::platform
