// Search for code units at the speed of memory: the standard library searches UTF-16 text unit by
// unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvy {

// The first place from `from` on whose unit is `wanted`; the length of the text when there is none.
// `wanted` is a comparison without branches.
template <typename Wanted>
std::size_t findUnitIf(std::u16string_view text, Wanted wanted, std::size_t from = 0) {
    constexpr std::size_t kBlock = 32;  // units; the loop over them becomes a few vector compares
    std::size_t i = from;
    for (; i + kBlock <= text.size(); i += kBlock) {
        std::uint16_t found = 0;
        for (std::size_t k = 0; k < kBlock; ++k) {
            found |= static_cast<std::uint16_t>(-(wanted(text[i + k]) ? 1 : 0));
        }
        if (found) break;
    }
    while (i < text.size() && !wanted(text[i])) ++i;
    return i;
}

// The same for one unit.
inline std::size_t findUnit(std::u16string_view text, char16_t unit, std::size_t from = 0) {
    return findUnitIf(
        text, [unit](char16_t c) { return c == unit; }, from);
}

}  // namespace corvy
