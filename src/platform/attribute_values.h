// Values in an importer's memory, as they are told across the C interface.
#pragma once

#include <corvystack/importer.h>

#include <cstddef>
#include <optional>

#include "foundation/property_list.h"

namespace corvy::platform {

inline constexpr std::size_t kMaxAttributeDepth = 64;
inline constexpr std::size_t kMaxAttributeParts = 1'000'000;

// A copy of the value, with all that it refers to. None for what cannot be one: see the function
// `set` of CorvyAttributeFunctions. Of equal keys the last counts.
std::optional<PropertyList> copyOfValue(const CorvyValue& value);

}  // namespace corvy::platform
