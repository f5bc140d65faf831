// Documents of formats that no reader of ours knows, by way of an office program.
#pragma once

#include <optional>
#include <string>

#include "foundation/bytes.h"

namespace corvy::platform {

// Whether the program is installed, and the file has the name of a document: it would take any
// bytes for text.
bool canUseOffice(const std::string& path);

// The RTF that the program makes of the file, with a profile of its own in `folder`, which must
// exist. None when it cannot be used, takes longer than 15 seconds or makes nothing. It opens
// sockets to itself, and gets none to the network where the kernel lets us say so.
std::optional<Bytes> rtfByOffice(const std::string& path, const std::string& folder);

}  // namespace corvy::platform
