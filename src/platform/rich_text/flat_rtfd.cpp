#include "platform/rich_text/flat_rtfd.h"

#include <chrono>

namespace corvy::platform {

namespace {

// All numbers are 32-bit and little endian. A document is
//     "rtfd" 0 directory
//     directory = 3 count (length name)*count (size of node)*count node*count
//     file      = 1 length bytes
// The entry "." describes the others: count (length name 16 time mode 0 0)*count.
constexpr std::uint32_t kRegularFile = 1;
constexpr std::uint32_t kDirectory = 3;
constexpr std::uint32_t kRecordSize = 16;
constexpr std::uint32_t kMode = 0666;
constexpr std::string_view kTextName = "TXT.rtf";
constexpr std::string_view kAttributesName = ".";

void putNumber(std::string& out, std::size_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out += static_cast<char>(value >> shift & 0xFF);
    }
}

void putCounted(std::string& out, std::string_view bytes) {
    putNumber(out, bytes.size());
    out += bytes;
}

struct Entry {
    std::string_view name;
    std::string_view contents;
};

std::string attributesOf(const std::vector<Entry>& entries, std::uint32_t modificationTime) {
    std::string out;
    putNumber(out, entries.size());
    for (const Entry& entry : entries) {
        putCounted(out, entry.name);
        for (const std::uint32_t number : {kRecordSize, modificationTime, kMode, 0U, 0U}) {
            putNumber(out, number);
        }
    }
    return out;
}

}  // namespace

std::uint32_t currentTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

std::string flatRtfdOf(std::string_view rtf, const std::vector<RtfdFile>& attachments,
                       std::uint32_t modificationTime) {
    std::vector<Entry> entries{{kTextName, rtf}};
    for (const RtfdFile& file : attachments) entries.push_back({file.name, file.contents});
    const std::string attributes = attributesOf(entries, modificationTime);
    entries.push_back({kAttributesName, attributes});

    std::string out = "rtfd";
    putNumber(out, 0);
    putNumber(out, kDirectory);
    putNumber(out, entries.size());
    for (const Entry& entry : entries) putCounted(out, entry.name);
    for (const Entry& entry : entries)
        putNumber(out, 2 * sizeof(std::uint32_t) + entry.contents.size());
    for (const Entry& entry : entries) {
        putNumber(out, kRegularFile);
        putCounted(out, entry.contents);
    }
    return out;
}

}  // namespace corvy::platform
