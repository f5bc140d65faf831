// Bytes in which numbers stand with the least significant byte first.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace corvy::platform {

// Beyond the end every byte is zero, so that a file that breaks off needs no care at each number.
class LittleEndian {
public:
    LittleEndian() = default;
    LittleEndian(std::span<const std::byte> bytes) : bytes_(bytes) {}

    std::size_t size() const { return bytes_.size(); }
    std::span<const std::byte> span() const { return bytes_; }
    std::uint8_t u8(std::size_t at) const {
        return at < bytes_.size() ? std::to_integer<std::uint8_t>(bytes_[at]) : std::uint8_t{0};
    }
    std::uint16_t u16(std::size_t at) const {
        return static_cast<std::uint16_t>(u8(at) | u8(at + 1) << 8);
    }
    std::int16_t s16(std::size_t at) const { return static_cast<std::int16_t>(u16(at)); }
    std::uint32_t u32(std::size_t at) const {
        return u16(at) | static_cast<std::uint32_t>(u16(at + 2)) << 16;
    }
    std::int32_t s32(std::size_t at) const { return static_cast<std::int32_t>(u32(at)); }
    std::uint64_t u64(std::size_t at) const {
        return u32(at) | static_cast<std::uint64_t>(u32(at + 4)) << 32;
    }
    // As much of it as is there.
    LittleEndian part(std::size_t at, std::size_t length) const {
        at = std::min(at, bytes_.size());
        return bytes_.subspan(at, std::min(length, bytes_.size() - at));
    }
    LittleEndian from(std::size_t at) const { return part(at, bytes_.size()); }

private:
    std::span<const std::byte> bytes_;
};

}  // namespace corvy::platform
