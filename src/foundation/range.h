// A run inside a text or a buffer, by location and length.
#pragma once

#include <cstdint>

namespace corvy {

// The location of what is not there.
inline constexpr std::uint64_t kNotFound = 0x7FFFFFFFFFFFFFFF;

struct Range {
    std::uint64_t location = 0;
    std::uint64_t length = 0;

    bool found() const { return location != kNotFound; }
    friend bool operator==(const Range&, const Range&) = default;
};

inline constexpr Range kNotFoundRange = {kNotFound, 0};

}  // namespace corvy
