// What `import` says of one file; docs/records.md tells about the form.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::tools {

struct RecordText {
    std::optional<std::u16string> string = {};  // the text itself, or
    std::string file = {};                      // the file that holds it, or neither
    std::uint64_t length = 0;                   // UTF-16 code units
};

struct RecordThumbnail {
    std::string file = {};
    std::int64_t width = 0;  // pixels
    std::int64_t height = 0;
};

struct ImportRecord {
    std::string path = {};  // bytes
    std::string type = {};  // uniform type identifier
    std::string_view kind = {};
    std::optional<std::uint64_t> size = {};  // bytes
    std::optional<timespec> modified = {};
    std::optional<RecordText> text = {};
    std::optional<RecordThumbnail> thumbnail = {};
    std::string rich = {};  // the package of the rich text
    Dictionary properties = {};
    Dictionary metadata = {};  // what an importer tells, but for the text
    std::optional<std::int64_t> pages = {};
    std::optional<float> duration = {};  // seconds
    double seconds = 0;                  // that the file took; rounded to milliseconds
    std::string_view error = {};
};

// One JSON object without a line feed; keys without a value are left out.
std::string jsonOfRecord(ImportRecord record, bool pretty = false);

// Time in UTC by milliseconds, such as "2026-11-21T07:40:28.123Z".
std::string timeText(const timespec& time);

// Errors that tell of a file that was met as expected, but has nothing to import.
bool isRemark(std::string_view error);
// Errors that say nothing about the file: another run may do better.
bool isPassing(std::string_view error);
// The error in words for a person.
std::string_view explanationOfError(std::string_view error);

}  // namespace corvy::tools
