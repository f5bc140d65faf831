// Numbers and texts in foreign bytes, at places that those bytes name themselves: what lies
// outside of the view reads as zeros or as nothing, so that no reader can leave its bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace corvy::platform {

enum class ByteOrder : std::uint8_t { big, little };

class ByteView {
public:
    ByteView() = default;
    explicit ByteView(std::span<const std::byte> bytes, ByteOrder order = ByteOrder::big)
        : bytes_(bytes), order_(order) {}

    std::span<const std::byte> span() const { return bytes_; }
    std::size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    ByteOrder order() const { return order_; }
    ByteView inOrder(ByteOrder order) const { return ByteView(bytes_, order); }

    bool has(std::uint64_t at, std::uint64_t count) const {
        return at <= size() && count <= size() - at;
    }
    // Cut to what there is.
    ByteView part(std::uint64_t at, std::uint64_t count = ~std::uint64_t{0}) const {
        const std::uint64_t start = std::min<std::uint64_t>(at, size());
        return ByteView(bytes_.subspan(start, std::min<std::uint64_t>(count, size() - start)),
                        order_);
    }
    // The bytes as characters, cut to what there is.
    std::string_view chars(std::uint64_t at = 0, std::uint64_t count = ~std::uint64_t{0}) const {
        const auto bytes = part(at, count).span();
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    bool hasText(std::uint64_t at, std::string_view text) const {
        return chars(at, text.size()) == text;
    }

    std::uint8_t u8(std::uint64_t at) const {
        return at < size() ? std::to_integer<std::uint8_t>(bytes_[at]) : 0;
    }
    std::uint16_t u16(std::uint64_t at) const { return static_cast<std::uint16_t>(number(at, 2)); }
    std::uint32_t u24(std::uint64_t at) const { return static_cast<std::uint32_t>(number(at, 3)); }
    std::uint32_t u32(std::uint64_t at) const { return static_cast<std::uint32_t>(number(at, 4)); }
    std::uint64_t u64(std::uint64_t at) const { return number(at, 8); }
    // A number of up to 8 bytes.
    std::uint64_t number(std::uint64_t at, std::uint32_t count) const {
        if (!has(at, count)) return 0;
        std::uint64_t value = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint64_t place = order_ == ByteOrder::big ? at + i : at + count - 1 - i;
            value = value << 8 | std::to_integer<std::uint64_t>(bytes_[place]);
        }
        return value;
    }

private:
    std::span<const std::byte> bytes_;
    ByteOrder order_ = ByteOrder::big;
};

}  // namespace corvy::platform
