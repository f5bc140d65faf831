// Text with attributes: a string and the runs of equal style in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::platform {

struct RgbColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    friend bool operator==(RgbColor, RgbColor) = default;
};

struct TextStyle {
    std::u16string font = u"Helvetica";  // its PostScript name, such as Times-Bold
    double size = 12;                    // points
    bool bold = false;
    bool italic = false;
    RgbColor color;
    friend bool operator==(const TextStyle&, const TextStyle&) = default;
};

class AttributedText {
public:
    // The units from where the run before ends up to `end`.
    struct Run {
        std::size_t end = 0;
        TextStyle style;
        friend bool operator==(const Run&, const Run&) = default;
    };

    // Adds text at the end; it joins the last run when the style is the same.
    void append(std::u16string_view text, const TextStyle& style);
    void append(const AttributedText& text);
    // Cuts the end off: `length` units stay.
    void truncate(std::size_t length);

    const std::u16string& string() const { return string_; }
    // They cover the string without a gap, and neighbours differ.
    const std::vector<Run>& runs() const { return runs_; }
    bool empty() const { return string_.empty(); }

private:
    std::u16string string_;
    std::vector<Run> runs_;
};

}  // namespace corvy::platform
