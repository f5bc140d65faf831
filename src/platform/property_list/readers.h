// The readers of the three forms, and what they share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/bytes.h"
#include "foundation/property_list.h"

namespace corvy::platform {

std::optional<PropertyList> readBinaryPropertyList(const Bytes& bytes);
// The others take UTF-8 without a mark; what is ill-formed becomes U+FFFD.
std::optional<PropertyList> readXmlPropertyList(std::string_view text);
std::optional<PropertyList> readTextPropertyList(std::string_view text);

// Binary lists count their dates from 2001-01-01T00:00:00Z, in seconds after 1970.
inline constexpr double kDateOrigin = 978307200;
// Seconds. Up to here a date survives the way to another origin and back.
inline constexpr double kMaxDate = 1e15;

inline bool isPropertyListSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The value of a whole number that may not fit 64 bits with a sign.
inline PropertyList wideInteger(std::uint64_t magnitude, bool negative) {
    constexpr std::uint64_t kLimit = std::uint64_t{1} << 63;
    if (negative ? magnitude > kLimit : magnitude >= kLimit) {
        const auto real = static_cast<double>(magnitude);
        return negative ? -real : real;
    }
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

}  // namespace corvy::platform
