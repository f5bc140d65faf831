// Numbers in files of the classic formats: most significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace corvy {

// The number in `count` bytes (at most 8) at `at`, which lie within the bytes.
inline std::uint64_t bigEndianAt(std::span<const std::byte> bytes, std::size_t at,
                                 std::size_t count) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes.subspan(at, count)) {
        value = value << 8 | std::to_integer<std::uint64_t>(byte);
    }
    return value;
}

inline void appendBigEndian(std::string& out, std::uint64_t value, std::size_t count) {
    while (count-- > 0) out.push_back(static_cast<char>(value >> 8 * count & 0xFF));
}

// Writes over the `count` bytes at `at`.
inline void putBigEndian(std::string& out, std::size_t at, std::uint64_t value, std::size_t count) {
    while (count-- > 0) out[at++] = static_cast<char>(value >> 8 * count & 0xFF);
}

}  // namespace corvy
