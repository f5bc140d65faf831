// Whole files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/bytes.h"

namespace corvy::platform {

// The bytes of the file; none for what is no regular file, is longer than that, or cannot be read.
// Never waits for a pipe or a device.
std::optional<Bytes> readRegularFile(const std::string& path, std::uint64_t longest);

}  // namespace corvy::platform
