// A file, or a folder with all that is in it, apart from any disk.
#pragma once

#include <string>
#include <vector>

#include "foundation/bytes.h"

namespace corvy::platform {

struct FileNode {
    std::u16string name = {};  // one component of a path, without its folder
    Bytes contents = {};       // of a file
    bool isFolder = false;
    std::vector<FileNode> entries = {};  // of a folder
    friend bool operator==(const FileNode&, const FileNode&) = default;
};

}  // namespace corvy::platform
