#include "metadata/meta_data_importer.h"

namespace corvy {

std::optional<Dictionary> MetaDataImporter::metaDataOfFileAtPath(std::u16string_view) {
    return std::nullopt;
}

std::optional<std::u16string> MetaDataImporter::textContentOfFileAtPath(std::u16string_view) {
    return std::nullopt;
}

bool MetaDataImporter::supportsFileAtPath(std::u16string_view) {
    return false;
}

}  // namespace corvy
