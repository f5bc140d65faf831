// Formats whose header tells everything that there is to tell.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <tuple>

#include "platform/icon_reader.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

void setRgb(MetadataBuilder& builder, std::uint32_t depth = 8) {
    builder.colorModel = ColorModel::rgb;
    builder.depth = depth;
}

// The next word of a text header and what follows it; comments from "#" to the end of the line do
// not count.
std::string_view nextWord(std::string_view& text) {
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    for (;;) {
        const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
        text.remove_prefix(start);
        if (!text.starts_with('#')) break;
        text.remove_prefix(std::min(text.find('\n'), text.size()));
    }
    const std::size_t end = std::min(text.find_first_of(kBlanks), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

std::uint32_t numberOf(std::string_view word) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() ? number : 0;
}

std::uint32_t nextNumber(std::string_view& text) {
    return numberOf(nextWord(text));
}

void setDepthOfMaximum(std::uint32_t maximum, MetadataBuilder& builder) {
    builder.depth = maximum > 255 ? 16 : 8;
}

void readPam(std::string_view text, MetadataBuilder& builder) {
    std::uint32_t width = 0, height = 0, channels = 0;
    while (!text.empty()) {
        const std::string_view name = nextWord(text);
        if (name == "ENDHDR") break;
        if (name == "WIDTH") width = nextNumber(text);
        if (name == "HEIGHT") height = nextNumber(text);
        if (name == "DEPTH") channels = nextNumber(text);
        if (name == "MAXVAL") setDepthOfMaximum(nextNumber(text), builder);
    }
    builder.setSize(width, height);
    builder.colorModel = channels <= 2 ? ColorModel::gray : ColorModel::rgb;
    builder.hasAlpha = channels == 2 || channels == 4;
}

// The number behind a name that ends so, such as "#define picture_width 16".
std::uint32_t defined(std::string_view text, std::string_view ending) {
    const std::size_t found = text.find(ending);
    if (found == text.npos) return 0;
    text.remove_prefix(found + ending.size());
    return nextNumber(text);
}

}  // namespace

void readBmp(ByteView bytes, MetadataBuilder& builder) {
    constexpr std::uint32_t kOldHeader = 12, kMasksHeader = 56;
    const ByteView file = bytes.inOrder(ByteOrder::little);
    const std::uint32_t header = file.u32(14);
    const bool isOld = header == kOldHeader;
    const std::uint16_t bits = isOld ? file.u16(24) : file.u16(28);
    if (isOld) {
        builder.setSize(file.u16(18), file.u16(20));
    } else {
        // A height below 0 means rows from the top.
        const auto height = static_cast<std::int32_t>(file.u32(22));
        builder.setSize(file.u32(18), static_cast<std::uint64_t>(std::abs(std::int64_t{height})));
        builder.setPixelsPerMeter(file.u32(38), file.u32(42));
    }
    setRgb(builder);
    builder.isIndexed = bits <= 8;
    builder.hasAlpha = header >= kMasksHeader && bits >= 16 && file.u32(66) != 0;
}

void readTga(ByteView bytes, MetadataBuilder& builder) {
    const ByteView file = bytes.inOrder(ByteOrder::little);
    const std::uint8_t kind = file.u8(2) & 7;
    builder.setSize(file.u16(12), file.u16(14));
    setRgb(builder);
    if (kind == 3) builder.colorModel = ColorModel::gray;
    builder.isIndexed = kind == 1;
    builder.hasAlpha = (file.u8(17) & 0x0F) != 0;
}

void readPnm(ByteView file, MetadataBuilder& builder) {
    constexpr std::size_t kMostHeader = 4096;
    const char kind = static_cast<char>(file.u8(1));
    std::string_view text = file.chars(2, kMostHeader);
    if (kind == '7') return readPam(text, builder);
    const std::uint32_t width = nextNumber(text), height = nextNumber(text);
    builder.setSize(width, height);
    const bool isColored = kind == '3' || kind == '6' || kind == 'F';
    builder.colorModel = isColored ? ColorModel::rgb : ColorModel::gray;
    builder.hasAlpha = false;
    if (kind == '1' || kind == '4') {
        builder.depth = 1;
    } else if (kind == 'F' || kind == 'f') {
        builder.depth = 32;
        builder.isFloat = true;
    } else {
        setDepthOfMaximum(nextNumber(text), builder);
    }
}

void readSgi(ByteView file, MetadataBuilder& builder) {
    const std::uint16_t channels = file.u16(10);
    builder.setSize(file.u16(6), file.u16(4) == 1 ? 1 : file.u16(8));
    builder.depth = file.u8(3) * 8U;
    builder.colorModel = channels <= 2 ? ColorModel::gray : ColorModel::rgb;
    builder.hasAlpha = channels == 2 || channels == 4;
}

void readPcx(ByteView bytes, MetadataBuilder& builder) {
    const ByteView file = bytes.inOrder(ByteOrder::little);
    const std::uint16_t left = file.u16(4), top = file.u16(6);
    const std::uint16_t right = file.u16(8), bottom = file.u16(10);
    if (right >= left && bottom >= top) builder.setSize(right - left + 1U, bottom - top + 1U);
    builder.setDpi(file.u16(12), file.u16(14));
    setRgb(builder);
    builder.isIndexed = file.u8(3) * file.u8(65) <= 8;
    builder.hasAlpha = false;
}

void readXbm(ByteView file, MetadataBuilder& builder) {
    constexpr std::size_t kMostHeader = 4096;
    const std::string_view text = file.chars(0, kMostHeader);
    builder.setSize(defined(text, "_width "), defined(text, "_height "));
    builder.depth = 1;
    builder.colorModel = ColorModel::gray;
    builder.hasAlpha = false;
}

void readXpm(ByteView file, MetadataBuilder& builder) {
    constexpr std::size_t kMostHeader = 4096;
    std::string_view text = file.chars(0, kMostHeader);
    const std::size_t quote = text.find('"');
    text.remove_prefix(quote == text.npos ? text.size() : quote + 1);
    const std::uint32_t width = nextNumber(text), height = nextNumber(text);
    builder.setSize(width, height);
    setRgb(builder);
}

void readXwd(ByteView file, MetadataBuilder& builder) {
    constexpr std::uint32_t kVersion = 7, kTrueColor = 4;
    const ByteView dump = file.u32(4) == kVersion ? file : file.inOrder(ByteOrder::little);
    builder.setSize(dump.u32(16), dump.u32(20));
    setRgb(builder);
    builder.isIndexed = dump.u32(52) < kTrueColor;
    builder.hasAlpha = false;
}

void readPict(ByteView file, MetadataBuilder& builder) {
    constexpr std::uint64_t kFrame = 514, kVersion = 522, kExtended = 526;
    constexpr double kFraction = 65536;
    const auto side = [file](std::uint64_t from, std::uint64_t to) {
        const int length =
            static_cast<std::int16_t>(file.u16(to)) - static_cast<std::int16_t>(file.u16(from));
        return static_cast<std::uint64_t>(std::max(length, 0));
    };
    builder.setSize(side(kFrame + 2, kFrame + 6), side(kFrame, kFrame + 4));
    setRgb(builder);
    // The extended header of version 2 has the resolution, and the frame in its pixels.
    const bool isExtended = file.hasText(kVersion, "\0\x11\2\xFF\x0C\0\xFF\xFE"sv);
    if (isExtended)
        builder.setDpi(file.u32(kExtended + 6) / kFraction, file.u32(kExtended + 10) / kFraction);
}

void readMacPaint(ByteView, MetadataBuilder& builder) {
    constexpr std::uint32_t kWidth = 576, kHeight = 720;
    constexpr double kDpi = 72;
    builder.setSize(kWidth, kHeight);
    builder.setDpi(kDpi, kDpi);
    builder.depth = 1;
    builder.colorModel = ColorModel::gray;
    builder.hasAlpha = false;
}

}  // namespace corvy::platform
