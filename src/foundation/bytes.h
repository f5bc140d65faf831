// Immutable bytes that are cheap to copy: the byte value of results and arguments.
//
// A value shares its storage with its copies, wherever the storage came from: a buffer that it
// took over, or a mapping that somebody else made. Bytes that lie in a sealed memory file can name
// its descriptor, so that they travel to another process without being copied.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace corvy {

class Bytes {
public:
    Bytes() = default;
    // Takes the buffer over.
    explicit Bytes(std::vector<std::byte> buffer);
    // Copies.
    static Bytes copyOf(std::span<const std::byte> bytes);
    static Bytes copyOf(std::string_view bytes);
    // Shares storage of somebody else's: `owner` keeps `bytes` alive. `descriptor` is the sealed
    // memory file that holds exactly these bytes from its start, or -1; `owner` closes it.
    static Bytes sharing(std::span<const std::byte> bytes, std::shared_ptr<const void> owner,
                         int descriptor = -1);

    const std::byte* data() const { return view_.data(); }
    std::size_t size() const { return view_.size(); }
    bool empty() const { return view_.empty(); }
    std::span<const std::byte> span() const { return view_; }
    operator std::span<const std::byte>() const { return view_; }
    // The same bytes as characters.
    std::string_view chars() const;
    // The sealed memory file behind the bytes, or -1. Valid as long as a copy of this value lives.
    int descriptor() const { return descriptor_; }

    friend bool operator==(const Bytes& a, const Bytes& b) { return a.chars() == b.chars(); }

private:
    std::span<const std::byte> view_;
    std::shared_ptr<const void> owner_;
    int descriptor_ = -1;
};

}  // namespace corvy
