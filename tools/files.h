// Whole files in and out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/bytes.h"

namespace corvy::tools {

struct FileContents {
    Bytes bytes;
    int error = 0;  // error number; EFBIG: longer than allowed, ENOTSUP: not a regular file
};

struct ReadOptions {
    std::uint64_t longest = std::uint64_t{2} << 30;  // bytes
    bool regularOnly = false;                        // never waits on a pipe or device
};

// "-" is standard input. Large files are read into sealed memory, so that they travel to a helper
// without being copied again.
FileContents readFile(const std::string& path, const ReadOptions& options = {});

// Why it is no regular file that can be read: an error number; 0 when it is one.
int errorOfOpening(const std::string& path);

// Makes or replaces the file. The error number, 0 when it is written.
int writeFile(const std::string& path, std::string_view contents);

// Makes the folder and those above it. The error number, 0 when it is there.
int makeFolder(const std::string& path);

}  // namespace corvy::tools
