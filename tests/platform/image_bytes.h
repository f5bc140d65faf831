// Picture files by hand, piece by piece.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::platform {

inline std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

// Longer numbers than 64 bits have zeros before them.
inline std::string big(std::uint64_t value, int bytes) {
    std::string text;
    while (bytes-- > 0) text += bytes < 8 ? static_cast<char>(value >> 8 * bytes & 0xFF) : '\0';
    return text;
}
inline std::string little(std::uint64_t value, int bytes) {
    const std::string text = big(value, bytes);
    return {text.rbegin(), text.rend()};
}

struct TiffField {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::vector<std::uint32_t> numbers;  // of the type's width; two for a rational
    std::string text = {};               // in their place, for bytes and texts
};

// The directory at `place`, its long values right behind it.
inline std::string tiffDirectory(const std::vector<TiffField>& fields, std::uint32_t place,
                                 std::uint32_t next, bool isBig) {
    const auto number = [isBig](std::uint32_t value, int bytes) {
        return isBig ? big(value, bytes) : little(value, bytes);
    };
    std::string entries = number(static_cast<std::uint32_t>(fields.size()), 2), values;
    const std::size_t behind = place + 2 + 12 * fields.size() + 4;
    for (const TiffField& field : fields) {
        std::string value = field.text;
        const int width = field.type == 1 || field.type == 7 ? 1 : field.type == 3 ? 2 : 4;
        for (const std::uint32_t held : field.numbers) value += number(held, width);
        entries += number(field.tag, 2) + number(field.type, 2) + number(field.count, 4);
        if (value.size() <= 4) {
            value.resize(4);
            entries += value;
        } else {
            entries += number(static_cast<std::uint32_t>(behind + values.size()), 4);
            values += value;
        }
    }
    return entries + number(next, 4) + values;
}

inline std::string tiffHeader(bool isBig) {
    return isBig ? std::string("MM\0*\0\0\0\x08", 8) : std::string("II*\0\x08\0\0\0", 8);
}

inline std::string jpegSegment(std::uint8_t marker, std::string_view data) {
    return "\xFF" + std::string(1, static_cast<char>(marker)) + big(data.size() + 2, 2) +
           std::string(data);
}
// Three components of eight bits.
inline std::string jpegFrame(std::uint16_t width, std::uint16_t height,
                             std::uint8_t marker = 0xC0) {
    return jpegSegment(marker,
                       "\x08" + big(height, 2) + big(width, 2) + "\x03" + std::string(9, 'c'));
}
inline std::string jpeg(const std::string& segments) {
    return "\xFF\xD8" + segments + "\xFF\xDA";
}

inline std::string pngChunk(std::string_view kind, std::string_view data) {
    return big(data.size(), 4) + std::string(kind) + std::string(data) + "CRC ";
}

inline std::string box(std::string_view kind, std::string_view inside) {
    return big(inside.size() + 8, 4) + std::string(kind) + std::string(inside);
}

}  // namespace corvy::platform
