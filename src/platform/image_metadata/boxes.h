// Boxes of the ISO base media file format: a length, a kind of four characters, what is inside.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "platform/byte_view.h"

namespace corvy::platform {

struct Box {
    std::string_view kind;
    std::uint64_t place;  // of the inside, from the start of the view
    ByteView inside;
};

// Calls `use` with each of the boxes that lie side by side in the view, cut to it.
template <typename Use>
void forEachBox(ByteView view, Use use) {
    constexpr std::size_t kMostBoxes = 4096;
    std::uint64_t at = 0;
    for (std::size_t i = 0; i < kMostBoxes && view.has(at, 8); ++i) {
        std::uint64_t header = 8, length = view.u32(at);
        if (length == 1) {
            header = 16;
            length = view.u64(at + 8);
        }
        if (length == 0) length = view.size() - at;  // to the end
        if (length < header) return;
        length = std::min<std::uint64_t>(length, view.size() - at);
        if (length < header) return;
        use(Box{view.chars(at + 4, 4), at + header, view.part(at + header, length - header)});
        at += length;
    }
}

}  // namespace corvy::platform
