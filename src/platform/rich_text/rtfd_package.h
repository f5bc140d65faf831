// Packages: folders on disk that are one document.
#pragma once

#include <optional>
#include <string>

#include "platform/rich_text/file_node.h"

namespace corvy::platform {

// The folder with its regular files and folders; links and everything else are passed over. None
// when it cannot be read, or is too large: deeper than 16 folders, more than 65,536 files, more
// than 1 GiB.
std::optional<FileNode> readPackage(const std::string& path);

// Makes the folder, or replaces the package there, file by file; what the earlier one had besides
// goes at the end. A folder that holds something, but no TXT.rtf, is not taken for a package and
// left alone. The error number, 0 when all is written; what was written before an error stays.
int writePackage(const std::string& path, const FileNode& folder);

}  // namespace corvy::platform
