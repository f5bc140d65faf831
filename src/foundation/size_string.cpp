#include "foundation/size_string.h"

#include <charconv>
#include <cmath>

#include "foundation/text.h"

namespace corvy {

namespace {

void appendNumber(std::string& out, double value) {
    char buffer[400];  // the longest fixed form of a double has 309 digits before the point
    if (!std::isfinite(value)) value = 0;
    if (value == 0) value = 0;  // no "-0"
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    out.append(buffer, end.ptr);
}

constexpr auto kIsBlank = [](char c) { return c == ' '; };

std::optional<double> number(std::string_view text) {
    text = trimBytes(text, kIsBlank);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::u16string sizeString(Size size) {
    std::string out = "{";
    appendNumber(out, size.width);
    out += ", ";
    appendNumber(out, size.height);
    out += '}';
    return fromUtf8(out);
}

std::optional<Size> sizeFromString(std::u16string_view text) {
    const std::string bytes = toUtf8(text);
    std::string_view rest = trimBytes(bytes, kIsBlank);
    if (rest.size() < 2 || rest.front() != '{' || rest.back() != '}') return std::nullopt;
    rest = rest.substr(1, rest.size() - 2);
    const std::size_t comma = rest.find(',');
    if (comma == std::string_view::npos) return std::nullopt;
    const auto width = number(rest.substr(0, comma));
    const auto height = number(rest.substr(comma + 1));
    if (!width || !height) return std::nullopt;
    return Size{*width, *height};
}

}  // namespace corvy
