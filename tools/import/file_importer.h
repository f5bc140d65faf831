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

// Writes a picture, a TIFF file in memory of any size, as a thumbnail, in the format that the
// path's extension names. False when that fails.
using PictureWriter = std::function<bool(const Bytes& tiff, const std::string& path)>;

class FileImporter {
public:
    // `helper` is for this importer alone.
    FileImporter(HelperSlot& helper, const ImportSettings& settings, PictureWriter writePicture)
        : helper_(helper), settings_(settings), writePicture_(std::move(writePicture)) {}

    // The record; texts go to text/NUMBER.txt of the folder, pictures to thumbnails/NUMBER.png.
    // None when the helper was stopped in the middle of it.
    std::optional<ImportRecord> import(const FoundFile& file, std::uint64_t number);

private:
    HelperSlot& helper_;
    ImportSettings settings_;
    PictureWriter writePicture_;
};

}  // namespace corvy::tools
