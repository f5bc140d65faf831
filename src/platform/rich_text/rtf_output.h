// Bytes of RTF as they are written: control words, numbers, text.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvy::platform {

class RtfOutput {
public:
    void raw(std::string_view bytes) { bytes_ += bytes; }
    void raw(char byte) { bytes_ += byte; }
    // A control word with its number: word("\\fs", 24).
    void word(std::string_view word, std::int64_t value) {
        bytes_ += word;
        char digits[24];
        bytes_.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
    }
    // A word whose number is a length, told in twips.
    void length(std::string_view name, double points) { word(name, twips(points)); }
    // The same, unless it is 0.
    void lengthIfAny(std::string_view name, double points) {
        if (twips(points) != 0) length(name, points);
    }
    // Text in one style. Line feeds end paragraphs; control characters but tab and page break have
    // no meaning to readers and are left out.
    void text(std::u16string_view text);

    std::string take() { return std::move(bytes_); }
    void reserve(std::size_t size) { bytes_.reserve(size); }

    static std::int64_t twips(double points) {
        constexpr double kLargest = 1'000'000;
        return std::llround(std::fmin(std::fmax(points * 20, -kLargest), kLargest));
    }

private:
    void ascii(char c);

    std::string bytes_;
};

}  // namespace corvy::platform
