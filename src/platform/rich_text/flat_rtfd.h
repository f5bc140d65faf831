// RTFD in its flat form: the folder of a document as one run of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "foundation/bytes.h"
#include "platform/rich_text/file_node.h"

namespace corvy::platform {

// The file of the folder that holds the RTF.
inline constexpr const char16_t* kRtfdTextName = u"TXT.rtf";

// Whether the bytes begin as the flat form does.
bool isFlatRtfd(std::span<const std::byte> bytes);

// The folder in the bytes, with no name of its own; its files share the bytes' storage. Reserved
// entries, links and entries whose names could leave the folder are left out. None for bytes that
// are no flat RTFD, break off, go on behind the end, or have no TXT.rtf.
std::optional<FileNode> folderOfFlatRtfd(const Bytes& bytes);

// Now, in seconds since 1970-01-01T00:00:00Z.
std::uint32_t currentTime();

// The flat form of a folder, with its entries in their order. All files get `modificationTime`.
// None when it is larger than the 32-bit numbers of the format tell.
std::optional<Bytes> flatRtfdOf(const FileNode& folder,
                                std::uint32_t modificationTime = currentTime());

// A name that an entry of a folder may have: not empty, one component, not reserved by the format.
bool isEntryName(std::u16string_view name);

}  // namespace corvy::platform
