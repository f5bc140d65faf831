#include "platform/html_import/image_facts.h"

#include <cstddef>
#include <cstdint>

namespace corvy::platform {

namespace {

class Reader {
public:
    explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}

    std::size_t size() const { return bytes_.size(); }
    // 0 behind the end.
    std::uint32_t byteAt(std::size_t at) const {
        return at < bytes_.size() ? std::to_integer<std::uint32_t>(bytes_[at]) : 0;
    }
    std::uint32_t big(std::size_t at, std::size_t width) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i) value = value << 8 | byteAt(at + i);
        return value;
    }
    std::uint32_t little(std::size_t at, std::size_t width) const {
        std::uint32_t value = 0;
        for (std::size_t i = width; i-- > 0;) value = value << 8 | byteAt(at + i);
        return value;
    }
    bool has(std::size_t at, std::string_view text) const {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (byteAt(at + i) != static_cast<unsigned char>(text[i])) return false;
        }
        return at + text.size() <= bytes_.size();
    }
    std::string_view chars() const {
        return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
    }

private:
    std::span<const std::byte> bytes_;
};

Size sizeOf(std::uint32_t width, std::uint32_t height) {
    return {static_cast<double>(width), static_cast<double>(height)};
}

// From segment to segment up to the one that begins a frame.
Size sizeOfJpeg(const Reader& in) {
    for (std::size_t at = 2; at + 9 < in.size();) {
        if (in.byteAt(at) != 0xFF) return {};
        const std::uint32_t marker = in.byteAt(at + 1);
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame) return sizeOf(in.big(at + 7, 2), in.big(at + 5, 2));
        if (marker == 0xD9 || marker == 0xDA) return {};
        at += 2 + in.big(at + 2, 2);
    }
    return {};
}

Size sizeOfWebp(const Reader& in) {
    if (in.has(12, "VP8X")) return sizeOf(in.little(24, 3) + 1, in.little(27, 3) + 1);
    if (in.has(12, "VP8L")) {
        const std::uint32_t bits = in.little(21, 4);
        return sizeOf((bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1);
    }
    if (in.has(12, "VP8 ")) return sizeOf(in.little(26, 2) & 0x3FFF, in.little(28, 2) & 0x3FFF);
    return {};
}

}  // namespace

std::optional<ImageFacts> imageFacts(std::span<const std::byte> bytes) {
    const Reader in(bytes);
    if (in.has(0, "\x89PNG\r\n\x1A\n")) {
        return ImageFacts{u"png", sizeOf(in.big(16, 4), in.big(20, 4))};
    }
    if (in.has(0, "\xFF\xD8\xFF")) return ImageFacts{u"jpg", sizeOfJpeg(in)};
    if (in.has(0, "GIF8")) return ImageFacts{u"gif", sizeOf(in.little(6, 2), in.little(8, 2))};
    if (in.has(0, "RIFF") && in.has(8, "WEBP")) return ImageFacts{u"webp", sizeOfWebp(in)};
    if (in.has(0, "BM")) return ImageFacts{u"bmp", sizeOf(in.little(18, 4), in.little(22, 4))};
    if (in.has(0, std::string_view("\0\0\1\0", 4))) return ImageFacts{u"ico", {}};
    if (in.has(4, "ftypavif")) return ImageFacts{u"avif", {}};
    if (in.has(0, "II*") || in.has(0, "MM")) return ImageFacts{u"tiff", {}};
    const std::string_view start = in.chars().substr(0, 1024);
    const std::size_t first = start.find_first_not_of(" \t\r\n");
    if (first != start.npos && start[first] == '<' && start.find("<svg") != start.npos) {
        return ImageFacts{u"svg", {}};
    }
    return std::nullopt;
}

}  // namespace corvy::platform
