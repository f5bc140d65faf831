#include "platform/image_metadata/tiff_directory.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

namespace corvy::platform {

namespace {

constexpr std::uint64_t kMostEntries = 1024;

// Bytes of a value of each type; 0 where there is no such type.
constexpr std::array<std::uint8_t, 19> kValueSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4,
                                                      8, 4, 8, 4, 0, 0, 8, 8, 8};
enum Type : std::uint16_t {
    kRational = 5,
    kSigned8 = 6,
    kSigned16 = 8,
    kSigned32 = 9,
    kSignedRational = 10,
    kFloat = 11,
    kDouble = 12,
    kSigned64 = 17,
};

std::uint32_t sizeOf(std::uint16_t type) {
    return type < kValueSizes.size() ? kValueSizes[type] : 0;
}

std::int64_t signExtended(std::uint64_t value, std::uint32_t bytes) {
    const std::uint32_t shift = 64 - 8 * bytes;
    return static_cast<std::int64_t>(value << shift) >> shift;
}

}  // namespace

bool TiffEntry::isReal() const {
    return type == kRational || type == kSignedRational || type == kFloat || type == kDouble;
}

std::optional<std::int64_t> TiffEntry::integer(std::uint64_t index) const {
    if (index >= count || isReal()) return std::nullopt;
    const std::uint32_t size = sizeOf(type);
    const std::uint64_t bits = values.number(index * size, size);
    const bool isSigned =
        type == kSigned8 || type == kSigned16 || type == kSigned32 || type == kSigned64;
    if (isSigned) return signExtended(bits, size);
    if (!std::in_range<std::int64_t>(bits)) return std::nullopt;
    return static_cast<std::int64_t>(bits);
}

std::optional<double> TiffEntry::real(std::uint64_t index) const {
    if (index >= count) return std::nullopt;
    const std::uint64_t at = index * sizeOf(type);
    double value = 0;
    switch (type) {
        case kRational: value = static_cast<double>(values.u32(at)) / values.u32(at + 4); break;
        case kSignedRational:
            value = static_cast<double>(signExtended(values.u32(at), 4)) /
                    static_cast<double>(signExtended(values.u32(at + 4), 4));
            break;
        case kFloat: value = std::bit_cast<float>(values.u32(at)); break;
        case kDouble: value = std::bit_cast<double>(values.u64(at)); break;
        default: {
            const auto whole = integer(index);
            if (!whole) return std::nullopt;
            value = static_cast<double>(*whole);
        }
    }
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::uint64_t TiffEntry::whole(std::uint64_t index) const {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(integer(index).value_or(0), 0));
}

const TiffEntry* TiffDirectory::find(std::uint16_t tag) const {
    const auto found = std::ranges::find(entries, tag, &TiffEntry::tag);
    return found == entries.end() ? nullptr : &*found;
}

std::uint64_t TiffDirectory::whole(std::uint16_t tag) const {
    const TiffEntry* entry = find(tag);
    return entry ? entry->whole() : 0;
}

std::optional<TiffBlock> TiffBlock::open(ByteView bytes) {
    constexpr std::uint16_t kBigMagic = 43;
    const bool isLittle = bytes.hasText(0, "II");
    if (!isLittle && !bytes.hasText(0, "MM")) return std::nullopt;
    TiffBlock block;
    block.view_ = bytes.inOrder(isLittle ? ByteOrder::little : ByteOrder::big);
    block.isBig_ = block.view_.u16(2) == kBigMagic;
    block.first_ = block.isBig_ ? block.view_.u64(8) : block.view_.u32(4);
    return block;
}

TiffDirectory TiffBlock::directoryAt(std::uint64_t place) const {
    return directoryAt(place, 0);
}

TiffDirectory TiffBlock::directoryAt(std::uint64_t place, std::uint64_t base) const {
    const std::uint32_t countSize = isBig_ ? 8 : 2, entrySize = isBig_ ? 20 : 12;
    const std::uint32_t placeSize = isBig_ ? 8 : 4;
    TiffDirectory directory;
    if (place == 0 || !view_.has(place, countSize)) return directory;
    const std::uint64_t count = std::min({view_.number(place, countSize), kMostEntries,
                                          (view_.size() - place - countSize) / entrySize});
    directory.entries.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t at = place + countSize + i * entrySize;
        TiffEntry entry;
        entry.tag = view_.u16(at);
        entry.type = view_.u16(at + 2);
        entry.count = view_.number(at + 4, placeSize);
        const std::uint32_t valueSize = sizeOf(entry.type);
        if (valueSize == 0 || entry.count == 0 || entry.count > view_.size() / valueSize) continue;
        const std::uint64_t length = entry.count * valueSize;
        const std::uint64_t inlinePlace = at + 4 + placeSize;
        entry.place =
            length <= placeSize ? inlinePlace : base + view_.number(inlinePlace, placeSize);
        if (!view_.has(entry.place, length)) continue;
        entry.values = view_.part(entry.place, length);
        directory.entries.push_back(entry);
    }
    directory.next = view_.number(place + countSize + count * entrySize, placeSize);
    return directory;
}

}  // namespace corvy::platform
