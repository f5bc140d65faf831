// Documents in WordprocessingML.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/document_readers/zip_archive.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// Whether an archive has the main part of such a document.
bool isWordPackage(ZipArchive& archive);
// A document in an archive (.docx, .docm, .dotx); none without a main part that is XML.
std::optional<RichDocument> documentOfWordPackage(ZipArchive& archive);

// A document in one XML file, as of 2003. `head`: the first kilobytes of a file.
bool isWordXml(std::string_view head);
std::optional<RichDocument> documentOfWordXml(std::span<const std::byte> bytes);

}  // namespace corvy::platform
