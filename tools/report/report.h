// One HTML page with everything in it that records say of their files: a contact sheet.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"

namespace corvy::tools {

struct ReportOptions {
    std::vector<std::string> folders = {};  // with records.jsonl
    std::string title = {};                 // UTF-8
    // Of the longer side of the pictures in the page; 0: no pictures, -1: by the number of records.
    std::int64_t pixels = -1;
    std::size_t jobs = 1;  // threads that make pictures
};

// A picture file made smaller and into JPEG: none when it cannot be read. Called by several
// threads, each with its index below `jobs`.
using ShrinkPicture = std::function<std::optional<Bytes>(std::size_t thread, const Bytes& picture,
                                                         std::int64_t longestSide)>;

struct ReportCounts {
    std::uint64_t records = 0;
    std::uint64_t pictures = 0;
    std::uint64_t picturesMissing = 0;  // that records name, but cannot be read
};

// Writes the page by parts, as they are made; `write` answers false to stop. Throws
// std::runtime_error when a folder has no records to read.
ReportCounts writeReport(const ReportOptions& options, const ShrinkPicture& shrink,
                         const std::function<bool(std::string_view)>& write);

}  // namespace corvy::tools
