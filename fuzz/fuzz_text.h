// Text for the markup targets out of bytes, so that saved pages can serve as seeds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvy {

// Each byte is a unit of its own; 0xFF takes the two bytes behind it as any unit.
inline std::u16string fuzzText(const std::uint8_t* data, std::size_t size) {
    std::u16string text;
    text.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && i + 2 < size) {
            text.push_back(static_cast<char16_t>(data[i + 1] << 8 | data[i + 2]));
            i += 2;
        } else {
            text.push_back(data[i]);
        }
    }
    return text;
}

// Ends the run with a crash when the condition does not hold.
inline void require(bool holds) {
    if (!holds) __builtin_trap();
}

}  // namespace corvy
