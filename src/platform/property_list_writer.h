// Property lists into the binary form.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/property_list.h"

namespace corvy::platform {

// What readPropertyList reads back as the same value: but integers come back 64 bits wide, and
// addresses as strings. Equal strings are written once, and so are bytes that share their storage.
// None for what is nested deeper than the reader takes.
std::optional<std::vector<std::byte>> binaryPropertyList(const PropertyList& value);

}  // namespace corvy::platform
