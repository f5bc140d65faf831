// Search for one code unit at the speed of memory: the standard library searches UTF-16 text unit
// by unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvy {

// The first place from `from` on where `unit` stands; the length of the text when there is none.
inline std::size_t findUnit(std::u16string_view text, char16_t unit, std::size_t from = 0) {
    constexpr std::size_t kBlock = 32;  // units; the loop over them becomes a few vector compares
    std::size_t i = from;
    for (; i + kBlock <= text.size(); i += kBlock) {
        std::uint16_t equal = 0;
        for (std::size_t k = 0; k < kBlock; ++k) {
            equal |= static_cast<std::uint16_t>(-(text[i + k] == unit));
        }
        if (equal) break;
    }
    while (i < text.size() && text[i] != unit) ++i;
    return i;
}

}  // namespace corvy
