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

// Longer texts stand in no record, in UTF-16 code units.
inline constexpr std::size_t kLongestInlineText = std::size_t{16} << 20;

// Writes a picture, a TIFF file in memory, in the format that the path's extension names. False
// when that fails.
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
    bool examine(const FoundFile& file, ImportRecord& record);
    bool importPdf(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importImage(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    HelperSlot::Answer callForThumbnail(const FoundFile& file);
    void importPlainText(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importWebArchive(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importMovie(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void importXml(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void importFeed(std::u16string_view feed, std::uint64_t number, ImportRecord& record);
    bool addMetadata(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importRichText(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void importHtml(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void addRichText(const Bytes& rtfd, std::uint64_t number, ImportRecord& record);
    void addText(std::u16string text, std::uint64_t number, ImportRecord& record);
    void addThumbnail(const Bytes& tiff, std::uint64_t number, ImportRecord& record);

    HelperSlot& helper_;
    ImportSettings settings_;
    PictureWriter writePicture_;
};

}  // namespace corvy::tools
