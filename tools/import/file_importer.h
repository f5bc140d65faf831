// Turns one file into its record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/import/helper_slot.h"
#include "tools/import/record.h"
#include "tools/import/walk.h"

namespace corvy::tools {

struct ImportSettings {
    std::string outFolder = {};  // empty: texts stand in the records
    bool texts = true;
    bool rich = false;  // rich text goes to the folder as well, as packages
    bool pretty = false;
};

// Longer texts stand in no record, in UTF-16 code units.
inline constexpr std::size_t kLongestInlineText = std::size_t{16} << 20;

class FileImporter {
public:
    // `helper` is for this importer alone.
    FileImporter(HelperSlot& helper, const ImportSettings& settings)
        : helper_(helper), settings_(settings) {}

    // The record; texts go to text/NUMBER.txt of the folder. None when the helper was stopped in
    // the middle of it.
    std::optional<ImportRecord> import(const FoundFile& file, std::uint64_t number);

private:
    bool examine(const FoundFile& file, ImportRecord& record);
    bool importPdf(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void importPlainText(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importWebArchive(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    bool importRichText(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void importHtml(const FoundFile& file, std::uint64_t number, ImportRecord& record);
    void addRichText(const Bytes& rtfd, std::uint64_t number, ImportRecord& record);
    void addText(std::u16string text, std::uint64_t number, ImportRecord& record);

    HelperSlot& helper_;
    ImportSettings settings_;
};

}  // namespace corvy::tools
