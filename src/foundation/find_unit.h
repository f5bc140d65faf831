// Search for code units at the speed of memory: the standard library searches UTF-16 text unit by
// unit.
#pragma once

#include <cstddef>
#include <string_view>

#include "foundation/unit_vector.h"

namespace corvy {

// The first place from `from` on whose unit is `wanted`; the length of the text when there is none.
// `wanted` compares, without branches, a unit as well as a vector of units.
template <typename Wanted>
std::size_t findUnitIf(std::u16string_view text, Wanted wanted, std::size_t from = 0) {
    const auto at = [text, wanted](std::size_t i) { return wanted(UnitVector(text.data() + i)); };
    std::size_t i = from;
    for (constexpr std::size_t k = UnitVector::kSize; i + 4 * k <= text.size(); i += 4 * k) {
        if (any(at(i) | at(i + k) | at(i + 2 * k) | at(i + 3 * k))) break;
    }
    for (; i + UnitVector::kSize <= text.size(); i += UnitVector::kSize) {
        if (const auto found = at(i); any(found)) return i + indexOfFirst(found);
    }
    while (i < text.size() && !wanted(text[i])) ++i;
    return i;
}

// The same for one unit.
inline std::size_t findUnit(std::u16string_view text, char16_t unit, std::size_t from = 0) {
    return findUnitIf(
        text, [unit](auto c) { return c == unit; }, from);
}

}  // namespace corvy
