#include "platform/document_readers/compound_file.h"

#include <algorithm>
#include <utility>

#include "platform/document_readers/little_endian.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kLastSector = 0xFFFFFFFA;  // larger numbers have other meanings
constexpr std::size_t kSmallSector = 64;
constexpr std::uint64_t kSmallStream = 4096;  // from this size on a stream has sectors of its own
constexpr std::size_t kHeader = 512;
constexpr std::size_t kEntry = 128;
constexpr std::uint32_t kNoEntry = 0xFFFFFFFF;

std::vector<std::uint32_t> numbersIn(std::span<const std::byte> bytes) {
    const LittleEndian view(bytes);
    std::vector<std::uint32_t> numbers(bytes.size() / 4);
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = view.u32(4 * i);
    return numbers;
}

}  // namespace

bool isCompoundFile(std::span<const std::byte> bytes) {
    constexpr auto kMagic = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv;
    return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())
        .starts_with(kMagic);
}

std::optional<CompoundFile> CompoundFile::open(const Bytes& bytes) {
    if (!isCompoundFile(bytes) || bytes.size() < kHeader) return std::nullopt;
    CompoundFile file(bytes);
    if (!file.readTable() || !file.readDirectory()) return std::nullopt;
    return file;
}

std::span<const std::byte> CompoundFile::sector(std::uint32_t number) const {
    // The header takes the room of the first one.
    const std::uint64_t start = (static_cast<std::uint64_t>(number) + 1) * sectorSize_;
    if (number > kLastSector || start >= bytes_.size()) return {};
    return bytes_.span().subspan(static_cast<std::size_t>(start),
                                 std::min(sectorSize_, bytes_.size() - start));
}

bool CompoundFile::readTable() {
    const LittleEndian header(bytes_.span());
    const unsigned shift = header.u16(0x1E);
    if (shift != 9 && shift != 12) return false;
    sectorSize_ = std::size_t{1} << shift;
    const std::size_t mostSectors = bytes_.size() / sectorSize_ + 1;

    constexpr std::size_t kInHeader = 109;
    std::vector<std::uint32_t> parts = numbersIn(bytes_.span().subspan(0x4C, kInHeader * 4));
    std::uint32_t next = header.u32(0x44);
    // A chain that is longer than the file goes round.
    for (std::size_t count = 0; next <= kLastSector && count < mostSectors; ++count) {
        std::vector<std::uint32_t> more = numbersIn(sector(next));
        if (more.size() < sectorSize_ / 4) break;
        next = more.back();
        parts.insert(parts.end(), more.begin(), more.end() - 1);
    }
    for (const std::uint32_t part : parts) {
        if (part > kLastSector || table_.size() >= mostSectors) continue;
        const std::vector<std::uint32_t> numbers = numbersIn(sector(part));
        table_.insert(table_.end(), numbers.begin(), numbers.end());
    }
    return !table_.empty();
}

std::vector<std::byte> CompoundFile::chain(std::uint32_t start, std::uint64_t size) const {
    std::vector<std::byte> out;
    size = std::min<std::uint64_t>(size, bytes_.size());
    for (std::uint32_t at = start; out.size() < size; at = table_[at]) {
        const std::span<const std::byte> bytes = sector(at);
        const std::size_t wanted = std::min<std::size_t>(size - out.size(), bytes.size());
        out.insert(out.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(wanted));
        if (wanted == 0 || at >= table_.size()) break;
    }
    return out;
}

std::vector<std::byte> CompoundFile::smallChain(std::uint32_t start, std::uint64_t size) const {
    std::vector<std::byte> out;
    const LittleEndian sectors{std::span(smallSectors_)};
    for (std::uint32_t at = start; out.size() < size; at = smallTable_[at]) {
        const std::size_t wanted = std::min<std::size_t>(size - out.size(), kSmallSector);
        const auto bytes = sectors.part(at * kSmallSector, wanted).span();
        out.insert(out.end(), bytes.begin(), bytes.end());
        if (bytes.empty() || at >= smallTable_.size()) break;
    }
    return out;
}

bool CompoundFile::readDirectory() {
    const LittleEndian header(bytes_.span());
    const std::vector<std::byte> directory = chain(header.u32(0x30), bytes_.size());
    const LittleEndian entries{std::span(directory)};
    const std::size_t count = directory.size() / kEntry;
    if (count == 0) return false;
    smallTable_ = numbersIn(chain(header.u32(0x3C), bytes_.size()));
    const LittleEndian root = entries.part(0, kEntry);
    smallSectors_ = chain(root.u32(0x74), root.u32(0x78));

    // The entries of a storage are a tree.
    std::vector<bool> seen(count);
    std::vector<std::uint32_t> waiting{root.u32(0x4C)};
    while (!waiting.empty()) {
        const std::uint32_t index = waiting.back();
        waiting.pop_back();
        if (index == kNoEntry || index >= count || seen[index]) continue;
        seen[index] = true;
        const LittleEndian entry = entries.part(index * kEntry, kEntry);
        waiting.push_back(entry.u32(0x44));
        waiting.push_back(entry.u32(0x48));
        constexpr std::uint8_t kStream = 2;
        if (entry.u8(0x42) != kStream) continue;
        const std::size_t nameBytes = std::min<std::size_t>(entry.u16(0x40), 0x40);
        std::u16string name;
        for (std::size_t i = 0; i + 4 <= nameBytes; i += 2) {
            name += static_cast<char16_t>(entry.u16(i));
        }
        streams_.try_emplace(std::move(name), Stream{entry.u32(0x74), entry.u32(0x78)});
    }
    return true;
}

Bytes CompoundFile::stream(std::u16string_view name) const {
    const auto found = streams_.find(name);
    if (found == streams_.end()) return {};
    const Stream& stream = found->second;
    return Bytes(stream.size < kSmallStream ? smallChain(stream.start, stream.size)
                                            : chain(stream.start, stream.size));
}

}  // namespace corvy::platform
