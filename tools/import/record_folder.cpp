#include "tools/import/record_folder.h"

#include <cstdint>
#include <unordered_map>
#include <utility>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tools/import/record_lines.h"

namespace corvy::tools {

namespace {

void forEachLine(const std::string& file, auto&& visit) {
    RecordLines lines(file);
    std::uint64_t number = 0;
    while (const auto line = lines.next()) {
        ++number;
        const auto json = propertyListOfJson(*line);
        const Dictionary* record = json ? json->dictionary() : nullptr;
        auto path = record ? bytesOfPath(stringOf(*record, u"path").value_or(u"")) : std::nullopt;
        if (path && !path->empty()) visit(number, *std::move(path), *record);
    }
}

}  // namespace

void forEachRecord(
    const std::string& folder,
    const std::function<void(const std::string& path, const Dictionary& record)>& visit) {
    const std::string file = folder + "/records.jsonl";
    // Twice through the file, rather than all records at once in memory.
    std::unordered_map<std::string, std::uint64_t> last;  // line of a path's last record
    forEachLine(file, [&](std::uint64_t line, std::string path, const Dictionary&) {
        last[std::move(path)] = line;
    });
    forEachLine(file, [&](std::uint64_t line, const std::string& path, const Dictionary& record) {
        if (const auto found = last.find(path); found != last.end() && found->second == line) {
            visit(path, record);
        }
    });
}

const Dictionary* partOf(const Dictionary& record, std::u16string_view key) {
    const PropertyList* part = record.find(key);
    return part ? part->dictionary() : nullptr;
}

bool isInside(std::u16string_view file) {
    return !file.empty() && !file.starts_with(u'/') && file.find(u"..") == file.npos;
}

std::u16string titleOf(const Dictionary& record) {
    const Dictionary* metadata = partOf(record, u"metadata");
    const Dictionary* properties = partOf(record, u"properties");
    auto title = metadata ? stringOf(*metadata, u"kMDItemTitle") : std::nullopt;
    if (!title || title->empty()) title = properties ? stringOf(*properties, u"Title") : title;
    return title.value_or(u"");
}

}  // namespace corvy::tools
