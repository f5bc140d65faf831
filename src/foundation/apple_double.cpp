#include "foundation/apple_double.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "foundation/big_endian.h"

namespace corvy {

namespace {

constexpr std::uint32_t kMagic = 0x00051607;
constexpr std::uint32_t kVersion1 = 0x00010000;
constexpr std::uint32_t kVersion2 = 0x00020000;
// Sizes and places, in bytes.
constexpr std::size_t kVersion = 4;
constexpr std::size_t kFiller = 16;
constexpr std::size_t kCount = 24;
constexpr std::size_t kHeader = 26;
constexpr std::size_t kDescriptor = 12;
constexpr std::size_t kPlainFinderInfo = 32;

}  // namespace

std::optional<AppleDouble> AppleDouble::read(const Bytes& file) {
    const auto bytes = file.span();
    if (bytes.size() < kHeader || bigEndianAt(bytes, 0, 4) != kMagic) return std::nullopt;
    const std::uint64_t version = bigEndianAt(bytes, kVersion, 4);
    if (version != kVersion1 && version != kVersion2) return std::nullopt;
    const std::size_t count = bigEndianAt(bytes, kCount, 2);
    if (count > (bytes.size() - kHeader) / kDescriptor) return std::nullopt;

    AppleDouble result;
    result.file_ = file;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = [bytes, at = kHeader + i * kDescriptor](std::size_t index) {
            return static_cast<std::uint32_t>(bigEndianAt(bytes, at + index * 4, 4));
        };
        const Entry entry{number(0), number(1), number(2)};
        const bool lies =
            entry.offset <= bytes.size() && entry.length <= bytes.size() - entry.offset;
        if (!lies && entry.length != 0) return std::nullopt;
        result.entries_.push_back(entry);
    }
    return result;
}

AppleDouble AppleDouble::make(std::string_view finderInfo) {
    constexpr std::size_t kEntries = 2;
    constexpr std::size_t kStart = kHeader + kEntries * kDescriptor;
    std::string file;
    appendBigEndian(file, kMagic, 4);
    appendBigEndian(file, kVersion2, 4);
    file.append(kFiller, '\0');
    appendBigEndian(file, kEntries, 2);
    for (const std::uint64_t number :
         {std::uint64_t{kFinderInfo}, std::uint64_t{kStart}, std::uint64_t{kPlainFinderInfo},
          std::uint64_t{kResourceFork}, std::uint64_t{kStart + kPlainFinderInfo},
          std::uint64_t{0}}) {
        appendBigEndian(file, number, 4);
    }
    file += finderInfo.substr(0, kPlainFinderInfo);
    file.resize(kStart + kPlainFinderInfo);
    return *read(Bytes::copyOf(file));
}

std::optional<Bytes> AppleDouble::entry(std::uint32_t id) const {
    const auto found = std::ranges::find(entries_, id, &Entry::id);
    if (found == entries_.end()) return std::nullopt;
    if (found->length == 0) return Bytes();
    return Bytes::sharing(file_.span().subspan(found->offset, found->length),
                          std::make_shared<const Bytes>(file_));
}

std::optional<std::string> AppleDouble::withResourceFork(std::string_view fork) const {
    if (std::ranges::count(entries_, kResourceFork, &Entry::id) > 1) return std::nullopt;
    std::vector<Entry> entries = entries_;
    auto own = std::ranges::find(entries, kResourceFork, &Entry::id);
    if (own == entries.end()) {
        own = entries.insert(own, {kResourceFork, 0, 0});
        if (entries.size() > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
    }
    const std::size_t tableEnd = kHeader + entries.size() * kDescriptor;
    const auto isOther = [](const Entry& entry) {
        return entry.id != kResourceFork && entry.length != 0;
    };
    // A table that has grown may need the place of the first bytes behind it.
    std::size_t shift = 0;
    for (const Entry& entry : entries) {
        if (isOther(entry) && entry.offset < tableEnd) shift = kDescriptor;
    }
    std::size_t end = tableEnd;
    for (const Entry& entry : entries) {
        if (!isOther(entry)) continue;
        const bool holdsOffsets = entry.id == kFinderInfo && entry.length > kPlainFinderInfo;
        const bool stood = entry.offset >= kHeader + entries_.size() * kDescriptor;
        if (shift != 0 && (holdsOffsets || !stood)) return std::nullopt;
        end = std::max(end, entry.offset + shift + entry.length);
    }
    const std::size_t place = std::max<std::size_t>(end, own->offset);
    constexpr std::size_t kMostGap = 4096;  // bytes; alignment, if it is more than nothing
    own->offset = static_cast<std::uint32_t>(place - end > kMostGap ? end : place);
    own->length = static_cast<std::uint32_t>(fork.size());
    if (end + kMostGap + fork.size() > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }

    std::string file(file_.chars().substr(0, kCount));
    appendBigEndian(file, entries.size(), 2);
    file.resize(own->offset);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Entry entry = entries[i];
        if (isOther(entry)) {
            const std::string_view bytes = file_.chars().substr(entry.offset, entry.length);
            entry.offset += static_cast<std::uint32_t>(shift);
            file.replace(entry.offset, bytes.size(), bytes);
        }
        const std::size_t at = kHeader + i * kDescriptor;
        putBigEndian(file, at, entry.id, 4);
        putBigEndian(file, at + 4, entry.offset, 4);
        putBigEndian(file, at + 8, entry.length, 4);
    }
    return file += fork;
}

}  // namespace corvy
