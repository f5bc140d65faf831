#include "platform/rich_text/flat_rtfd.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

// All numbers are 32-bit and little endian. A document is
//     "rtfd" 0 folder
//     folder = 3 count (length name)*count (size of node)*count node*count
//     file   = 1 length bytes
//            = 1 0x80000000 length padding (0)*padding bytes
// The entry "." describes the others: count (length name 16 time mode 0 0)*count.
constexpr std::uint32_t kRegularFile = 1;
constexpr std::uint32_t kFolder = 3;
constexpr std::uint32_t kPadded = 0x80000000;
constexpr std::uint32_t kRecordSize = 16;
constexpr std::uint32_t kFileMode = 0666;
constexpr std::uint32_t kFolderMode = 0777;
constexpr std::string_view kMagic = "rtfd";
constexpr std::string_view kAttributesName = ".";
constexpr std::u16string_view kReservedStart = u"__@";

constexpr std::uint32_t kMostEntries = 65536;
constexpr int kDeepest = 16;

class FlatReader {
public:
    explicit FlatReader(std::string_view bytes) : rest_(bytes) {}

    std::optional<std::uint32_t> number() {
        const auto bytes = take(4);
        if (!bytes) return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;) {
            value = value << 8 | static_cast<unsigned char>((*bytes)[i]);
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

class FolderReader {
public:
    explicit FolderReader(const Bytes& bytes) : bytes_(bytes) {}

    // The entries of a node that is a folder. False when the node is damaged.
    bool readFolder(std::string_view node, int depth, FileNode& folder) {
        FlatReader reader(node);
        if (depth > kDeepest || reader.number() != kFolder) return false;
        const auto count = reader.number();
        if (!count || *count > kMostEntries - entries_) return false;
        entries_ += *count;

        std::vector<std::string_view> names;
        for (std::uint32_t i = 0; i < *count; ++i) {
            const auto name = reader.counted();
            if (!name) return false;
            names.push_back(*name);
        }
        std::vector<std::uint32_t> sizes;
        for (std::uint32_t i = 0; i < *count; ++i) {
            const auto size = reader.number();
            if (!size) return false;
            sizes.push_back(*size);
        }
        for (std::uint32_t i = 0; i < *count; ++i) {
            const auto entry = reader.take(sizes[i]);
            if (!entry || !readEntry(*entry, pathFromBytes(names[i]), depth, folder)) return false;
        }
        return reader.atEnd();
    }

private:
    bool readEntry(std::string_view node, std::u16string name, int depth, FileNode& folder) {
        if (!isEntryName(name)) return true;
        FlatReader reader(node);
        const auto type = reader.number();
        FileNode entry;
        entry.name = std::move(name);
        if (type == kRegularFile) {
            const auto contents = fileContents(reader);
            if (!contents || !reader.atEnd()) return false;
            entry.contents = Bytes::sharing(std::as_bytes(std::span(*contents)), owner_);
        } else if (type == kFolder) {
            entry.isFolder = true;
            if (!readFolder(node, depth + 1, entry)) return false;
        } else {
            return type.has_value();
        }
        folder.entries.push_back(std::move(entry));
        return true;
    }

    static std::optional<std::string_view> fileContents(FlatReader& reader) {
        const auto length = reader.number();
        if (length != kPadded) return length ? reader.take(*length) : std::nullopt;
        const auto padded = reader.number(), padding = reader.number();
        if (!padded || !padding || !reader.take(*padding)) return std::nullopt;
        return reader.take(*padded);
    }

    const Bytes& bytes_;
    std::shared_ptr<const Bytes> owner_ = std::make_shared<const Bytes>(bytes_);
    std::uint32_t entries_ = 0;
};

class FlatWriter {
public:
    explicit FlatWriter(std::uint32_t time) : time_(time) {}

    void putNumber(std::uint64_t value) {
        // No part of what fits is larger than the whole.
        for (int shift = 0; shift < 32; shift += 8) {
            out_ += static_cast<char>(value >> shift & 0xFF);
        }
    }
    void putCounted(std::string_view bytes) {
        putNumber(bytes.size());
        out_ += bytes;
    }
    void put(std::string_view bytes) { out_ += bytes; }

    void putFolder(const FileNode& folder) {
        const std::vector<std::string> names = namesOf(folder);
        const std::string attributes = attributesOf(folder, names);
        putNumber(kFolder);
        putNumber(names.size() + 1);
        for (const std::string& name : names) putCounted(name);
        putCounted(kAttributesName);
        for (const FileNode& entry : folder.entries) putNumber(sizeOf(entry));
        putNumber(2 * sizeof(std::uint32_t) + attributes.size());
        for (const FileNode& entry : folder.entries) {
            if (entry.isFolder) {
                putFolder(entry);
            } else {
                putNumber(kRegularFile);
                putCounted(entry.contents.chars());
            }
        }
        putNumber(kRegularFile);
        putCounted(attributes);
    }

    std::string take() { return std::move(out_); }

    // Of the node, in bytes.
    static std::uint64_t sizeOf(const FileNode& node) {
        constexpr std::uint64_t kNumber = sizeof(std::uint32_t);
        if (!node.isFolder) return 2 * kNumber + node.contents.size();
        std::uint64_t size = 2 * kNumber;
        std::uint64_t attributes = kNumber;
        for (const FileNode& entry : node.entries) {
            const std::uint64_t name = nameOf(entry).size();
            size += 2 * kNumber + name + sizeOf(entry);
            attributes += 2 * kNumber + name + kRecordSize;
        }
        return size + 2 * kNumber + kAttributesName.size() + 2 * kNumber + attributes;
    }

private:
    static std::string nameOf(const FileNode& node) { return bytesOfPath(node.name).value_or("-"); }
    static std::vector<std::string> namesOf(const FileNode& folder) {
        std::vector<std::string> names;
        for (const FileNode& entry : folder.entries) names.push_back(nameOf(entry));
        return names;
    }
    std::string attributesOf(const FileNode& folder, const std::vector<std::string>& names) const {
        FlatWriter writer(time_);
        writer.putNumber(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            writer.putCounted(names[i]);
            const std::uint32_t mode = folder.entries[i].isFolder ? kFolderMode : kFileMode;
            for (const std::uint32_t number : {kRecordSize, time_, mode, 0U, 0U}) {
                writer.putNumber(number);
            }
        }
        return writer.take();
    }

    std::uint32_t time_;
    std::string out_;
};

}  // namespace

bool isFlatRtfd(std::span<const std::byte> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.starts_with(std::string_view("rtfd\0\0\0\0", 8));
}

std::optional<FileNode> folderOfFlatRtfd(const Bytes& bytes) {
    if (!isFlatRtfd(bytes)) return std::nullopt;
    FileNode folder;
    folder.isFolder = true;
    const std::string_view node = bytes.chars().substr(kMagic.size() + sizeof(std::uint32_t));
    if (!FolderReader(bytes).readFolder(node, 1, folder)) return std::nullopt;
    const auto text = std::ranges::find(folder.entries, kRtfdTextName, &FileNode::name);
    if (text == folder.entries.end() || text->isFolder) return std::nullopt;
    return folder;
}

std::uint32_t currentTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

std::optional<Bytes> flatRtfdOf(const FileNode& folder, std::uint32_t modificationTime) {
    if (FlatWriter::sizeOf(folder) > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    FlatWriter writer(modificationTime);
    writer.put(kMagic);
    writer.putNumber(0);
    writer.putFolder(folder);
    const auto flat = std::make_shared<const std::string>(writer.take());
    return Bytes::sharing(std::as_bytes(std::span(*flat)), flat);
}

bool isEntryName(std::u16string_view name) {
    return !name.empty() && name != u"." && name != u".." && !name.starts_with(kReservedStart) &&
           name.find(u'/') == std::u16string_view::npos &&
           name.find(u'\0') == std::u16string_view::npos;
}

}  // namespace corvy::platform
