// Documents in OpenDocument.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/document_readers/zip_archive.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// Whether an archive is a text of that format (.odt, .ott).
bool isOpenDocument(ZipArchive& archive);
// None when the text is not there, or encrypted.
std::optional<RichDocument> documentOfOpenDocument(ZipArchive& archive);

// A text in one XML file (.fodt). `head`: the first kilobytes of a file.
bool isFlatOpenDocument(std::string_view head);
std::optional<RichDocument> documentOfFlatOpenDocument(std::span<const std::byte> bytes);

}  // namespace corvy::platform
