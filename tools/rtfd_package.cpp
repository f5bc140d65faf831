#include "tools/rtfd_package.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "tools/files.h"

namespace corvy::tools {

namespace {

constexpr std::uint32_t kFile = 1, kFolder = 3;  // types of nodes
constexpr std::uint32_t kMostEntries = 65536;
constexpr std::uint32_t kPadded = 0x80000000;

class FlatReader {
public:
    explicit FlatReader(std::string_view bytes) : rest_(bytes) {}

    std::optional<std::uint32_t> number() {
        const auto bytes = take(4);
        if (!bytes) return std::nullopt;
        std::uint32_t value = 0;
        for (int i = 3; i >= 0; --i) {
            value = value << 8 | static_cast<unsigned char>((*bytes)[static_cast<std::size_t>(i)]);
        }
        return value;
    }
    std::optional<std::string_view> take(std::uint32_t length) {
        if (length > rest_.size()) return std::nullopt;
        const std::string_view bytes = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return bytes;
    }
    std::optional<std::string_view> counted() {
        const auto length = number();
        return length ? take(*length) : std::nullopt;
    }
    bool atEnd() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

// The contents of a node that is a regular file; none for other types.
std::optional<std::string_view> fileContents(std::string_view node) {
    FlatReader reader(node);
    if (reader.number() != kFile) return std::nullopt;
    const auto length = reader.number();
    if (length != kPadded) return length ? reader.take(*length) : std::nullopt;
    const auto padded = reader.number(), padding = reader.number();
    if (!padded || !padding || !reader.take(*padding)) return std::nullopt;
    return reader.take(*padded);
}

bool isFileName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && !name.starts_with("__@") &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

}  // namespace

std::optional<std::vector<RtfdEntry>> entriesOfFlatRtfd(std::string_view flat) {
    FlatReader reader(flat);
    if (reader.take(4) != "rtfd" || reader.number() != 0 || reader.number() != kFolder) {
        return std::nullopt;
    }
    const auto count = reader.number();
    if (!count || *count > kMostEntries) return std::nullopt;
    std::vector<std::string_view> names;
    std::vector<std::uint32_t> sizes;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto name = reader.counted();
        if (!name) return std::nullopt;
        names.push_back(*name);
    }
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto size = reader.number();
        if (!size) return std::nullopt;
        sizes.push_back(*size);
    }
    std::vector<RtfdEntry> entries;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto node = reader.take(sizes[i]);
        if (!node) return std::nullopt;
        const auto contents = fileContents(*node);
        if (contents && isFileName(names[i])) entries.push_back({std::string(names[i]), *contents});
    }
    if (!reader.atEnd() ||
        std::ranges::find(entries, "TXT.rtf", &RtfdEntry::name) == entries.end()) {
        return std::nullopt;
    }
    return entries;
}

int writeRtfdPackage(const std::string& path, const std::vector<RtfdEntry>& entries) {
    if (const int error = makeFolder(path)) return error;
    for (const RtfdEntry& entry : entries) {
        if (const int error = writeFile(path + "/" + entry.name, entry.contents)) return error;
    }
    return 0;
}

}  // namespace corvy::tools
