// Documents of formats that no reader of ours knows, by way of an office program.
#pragma once

#include <optional>
#include <string>

#include "foundation/bytes.h"

namespace corvy::platform {

// The RTF that the program makes of the file, with a profile of its own in `folder`, which must
// exist. None when the program is not installed, takes longer than 15 seconds or makes nothing, and
// for files whose names are none of a document's: it would take any bytes for text.
std::optional<Bytes> rtfByOffice(const std::string& path, const std::string& folder);

}  // namespace corvy::platform
