#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBlanks = " \t\r\n"sv;

// The opening tag of the root element, without its "<" and ">"; empty when there is none.
std::string_view rootTag(std::string_view text) {
    for (std::size_t at = text.find("<svg"); at != text.npos; at = text.find("<svg", at + 1)) {
        const std::string_view tag = text.substr(at + 1, text.find('>', at) - at - 1);
        if (tag.size() > 3 && kBlanks.find(tag[3]) != kBlanks.npos) return tag;
    }
    return {};
}

std::string_view attributeOf(std::string_view tag, std::string_view name) {
    for (std::size_t at = tag.find(name); at != tag.npos; at = tag.find(name, at + 1)) {
        const std::size_t equals = tag.find_first_not_of(kBlanks, at + name.size());
        const bool isWhole = at > 0 && kBlanks.find(tag[at - 1]) != kBlanks.npos;
        if (!isWhole || equals == tag.npos || tag[equals] != '=') continue;
        const std::size_t quote = tag.find_first_not_of(kBlanks, equals + 1);
        if (quote == tag.npos || (tag[quote] != '"' && tag[quote] != '\'')) continue;
        const std::size_t end = tag.find(tag[quote], quote + 1);
        if (end != tag.npos) return tag.substr(quote + 1, end - quote - 1);
    }
    return {};
}

// A number and what stands behind it.
std::optional<double> takeNumber(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n,"), text.size()));
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

// In pixels, 96 to the inch; none for shares of what is around it.
std::optional<double> lengthOf(std::string_view text) {
    constexpr double kInch = 96, kFont = 16;
    const auto number = takeNumber(text);
    if (!number) return std::nullopt;
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    if (text.empty() || text == "px") return number;
    if (text == "pt") return *number * kInch / 72;
    if (text == "pc") return *number * kInch / 6;
    if (text == "in") return *number * kInch;
    if (text == "cm") return *number * kInch / 2.54;
    if (text == "mm") return *number * kInch / 25.4;
    if (text == "em") return *number * kFont;
    if (text == "ex") return *number * kFont / 2;
    return std::nullopt;
}

}  // namespace

void readSvg(ByteView file, MetadataBuilder& builder) {
    constexpr std::size_t kSearched = 64 << 10;
    const std::string inflated =
        file.hasText(0, "\x1F\x8B") ? inflatedStart(file, kSearched) : std::string();
    const std::string_view tag =
        rootTag(inflated.empty() ? file.chars(0, kSearched) : std::string_view(inflated));
    std::string_view box = attributeOf(tag, "viewBox");
    takeNumber(box), takeNumber(box);
    const auto boxWidth = takeNumber(box), boxHeight = takeNumber(box);
    auto width = lengthOf(attributeOf(tag, "width")), height = lengthOf(attributeOf(tag, "height"));
    const bool hasBox = boxWidth && boxHeight && *boxWidth > 0 && *boxHeight > 0;
    // One side alone keeps the proportions of the box.
    if (hasBox && width && !height) height = *width * *boxHeight / *boxWidth;
    if (hasBox && height && !width) width = *height * *boxWidth / *boxHeight;
    if (hasBox && !width && !height) width = boxWidth, height = boxHeight;
    constexpr double kMost = 1e9;
    if (width && height && *width > 0 && *height > 0 && *width < kMost && *height < kMost)
        builder.setSize(static_cast<std::uint64_t>(std::ceil(*width)),
                        static_cast<std::uint64_t>(std::ceil(*height)));
    builder.depth = 8;
    builder.colorModel = ColorModel::rgb;
    builder.hasAlpha = true;
}

}  // namespace corvy::platform
