// Values in an importer's memory, as they are told across the C interface.
#pragma once

#include <corvystack/importer.h>

#include <cstddef>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::platform {

// Bounds of the attributes of one file, so that they fit into one message: how deep values lie in
// each other, and of all together the values in them, the texts and bytes from 1 MiB on, and what
// keys and other texts and bytes take up (in bytes, three for a UTF-16 unit).
inline constexpr std::size_t kMaxAttributeDepth = 16;
inline constexpr std::size_t kMaxAttributeParts = 500'000;
inline constexpr std::size_t kLargeAttribute = std::size_t{1} << 20;
inline constexpr std::size_t kMaxLargeAttributes = 16;
inline constexpr std::size_t kMaxAttributeBytes = std::size_t{16} << 20;

struct AttributeWeight {
    std::size_t parts = 0;
    std::size_t large = 0;
    std::size_t bytes = 0;

    AttributeWeight& operator+=(const AttributeWeight& other);
    AttributeWeight& operator-=(const AttributeWeight& other);
    bool isWithinBounds() const;
};
AttributeWeight weightOfAttribute(std::u16string_view key, const PropertyList& value);

// A copy of the value, with all that it refers to. None for what cannot be one: see the function
// `set` of CorvyAttributeFunctions. Of equal keys the last counts.
std::optional<PropertyList> copyOfValue(const CorvyValue& value);

}  // namespace corvy::platform
