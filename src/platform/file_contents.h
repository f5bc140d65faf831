// The content of files that strangers have made.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/bytes.h"

namespace corvy::platform {

// The bytes of a file; none when it is no regular file, has more than `longest` bytes, or cannot be
// read. Does not wait for the other end of a pipe.
std::optional<Bytes> contentsOfFile(std::u16string_view path, std::uint64_t longest);

// The same, but of a longer file its first `most` bytes.
std::optional<Bytes> beginningOfFile(std::u16string_view path, std::uint64_t most);

}  // namespace corvy::platform
