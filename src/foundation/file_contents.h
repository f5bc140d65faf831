// Files as bytes.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "foundation/bytes.h"

namespace corvy {

struct FileReading {
    // In bytes. Of a longer file there is nothing, or, when that suffices, its beginning.
    std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    bool beginningSuffices = false;
    // Leaves no trace of the file in the system's cache, so that many large files that are read
    // once do not drive out what applications work with.
    bool uncached = false;
    // Reads only what is looked at. A file that is made shorter meanwhile ends the process: for
    // workers.
    bool mapped = false;
};
// None when it is no regular file that can be read, or memory does not suffice. Never waits on a
// pipe or device.
std::optional<Bytes> contentsOfFile(std::u16string_view path, const FileReading& options = {});

// Gives the memory of a mapped file back; what is looked at again is read again.
void letGo(const Bytes& mapped);

}  // namespace corvy
