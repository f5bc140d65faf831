// What a file is, by its name and, where the name does not tell, by its first bytes.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace corvy::tools {

struct FileType {
    std::string_view identifier;  // uniform type identifier
    std::string_view kind;        // as in records: "pdf", "text", "image", ...
    bool isPackage = false;       // a folder that is one document

    friend bool operator==(const FileType&, const FileType&) = default;
};

inline constexpr FileType kFolderType = {"public.folder", "other"};
inline constexpr FileType kDataType = {"public.data", "other"};

// Bytes that the functions below look at.
inline constexpr std::size_t kHeadLength = 4096;

// By the extension of the file's name; null for one that is not known.
const FileType* typeForName(std::string_view name);
// By the first bytes: PDF, a picture, MPEG transport stream, web archive, HTML, plain text, or data
// of no known type.
FileType typeForHead(std::span<const std::byte> head);
// Whether a PDF begins somewhere in the first 1,024 bytes, where readers look for it.
bool hasPdfSignature(std::span<const std::byte> head);
// Whether a folder of this name is one document.
bool isPackageName(std::string_view name);

}  // namespace corvy::tools
