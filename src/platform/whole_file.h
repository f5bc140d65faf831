// Whole files as bytes.
#pragma once

#include <optional>
#include <string_view>

#include "foundation/bytes.h"

namespace corvy::platform {

struct FileReading {
    // Leaves no trace of the file in the system's cache, so that many large files that are read
    // once do not drive out what applications work with.
    bool uncached = false;
};
// None when it is no regular file that can be read, or memory does not suffice. Never waits on a
// pipe or device.
std::optional<Bytes> bytesOfFile(std::u16string_view path, const FileReading& options = {});

}  // namespace corvy::platform
