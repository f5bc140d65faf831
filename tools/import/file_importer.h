// Turns one file into its record.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "foundation/bytes.h"
#include "tools/import/helper_slot.h"
#include "tools/import/record.h"
#include "tools/import/walk.h"

namespace corvy::tools {

struct ImportSettings {
    std::string outFolder = {};  // empty: texts stand in the records, and there are no thumbnails
    bool texts = true;
    bool metadata = true;
    bool thumbnails = true;
    bool rich = false;  // rich text goes to the folder as well, as packages
    bool pretty = false;
};

// Of the longer side of a thumbnail, in pixels.
inline constexpr std::int64_t kThumbnailSide = 256;

// Longer texts stand in no record, in UTF-16 code units.
inline constexpr std::size_t kLongestInlineText = std::size_t{16} << 20;

// A picture, a TIFF file in memory of any size, as a thumbnail, a PNG. None when that fails.
using ThumbnailMaker = std::function<std::optional<Bytes>(const Bytes& tiff)>;

class FileImporter {
public:
    // `helper` is for this importer alone.
    FileImporter(HelperSlot& helper, const ImportSettings& settings, ThumbnailMaker makeThumbnail)
        : helper_(helper), settings_(settings), makeThumbnail_(std::move(makeThumbnail)) {}

    // The record; texts go to text/NUMBER.txt of the folder, pictures to thumbnails/NUMBER.png.
    // None when the helper was stopped in the middle of it.
    std::optional<ImportRecord> import(const FoundFile& file, std::uint64_t number);

private:
    HelperSlot& helper_;
    ImportSettings settings_;
    ThumbnailMaker makeThumbnail_;
};

}  // namespace corvy::tools
