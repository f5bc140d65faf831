// The folder where the sockets lie, and the names in it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/descriptor.h"

namespace corvy::platform {

// Room for the temporary name of a socket, which is its name, "." and the process's number.
inline constexpr std::size_t kTemporarySuffixLength = 8;

// The folder, made if it is missing, opened for lookups in it. None unless it is a folder of this
// user, open to nobody else, and no link.
Descriptor openRuntimeDirectory(const std::string& path);

// The socket's path, or none when the name cannot be a file's or the path does not fit in a socket
// address, its temporary name included.
std::optional<std::string> socketPath(const std::string& directory, std::string_view name);

}  // namespace corvy::platform
