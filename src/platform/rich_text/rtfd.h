// Documents as RTFD: RTF and the files that stand in it, in one folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/bytes.h"
#include "platform/rich_text/file_node.h"
#include "platform/rich_text/flat_rtfd.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// The document in a folder that holds TXT.rtf, in the flat form of such a folder, or in plain RTF.
// None when it is none of them.
std::optional<RichDocument> documentOfRtfdFolder(const FileNode& folder);
std::optional<RichDocument> documentOfRtfd(const Bytes& bytes);

// The folder of a document: TXT.rtf, then its attachments in text order. Files get their own names
// as far as these are safe and differ; one that stands in the text twice is there once.
FileNode rtfdFolderOf(const RichDocument& document);
// The same in the flat form; none when it is too large for it.
std::optional<Bytes> rtfdOf(const RichDocument& document,
                            std::uint32_t modificationTime = currentTime());

// The name as that of a file in a package: one component without control characters, not hidden,
// not reserved, not too long for a disk, never empty.
std::u16string safeAttachmentName(std::u16string_view name);

}  // namespace corvy::platform
