// Metadata and text of files, read through importer plug-ins.
//
// No importers come with this version yet, so that every question is answered as for a type that
// no importer knows.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

class MetaDataImporter {
public:
    // The attributes of the file; none when no importer reads its type. Values may be null
    // placeholders.
    std::optional<Dictionary> metaDataOfFileAtPath(std::u16string_view path);
    // The file's text alone.
    std::optional<std::u16string> textContentOfFileAtPath(std::u16string_view path);
    bool supportsFileAtPath(std::u16string_view path);
    // Paths of the importers, in the order in which they are asked.
    std::vector<std::u16string> importers() const { return {}; }
};

}  // namespace corvy
