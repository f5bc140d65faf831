// Documents in OpenDocument.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/document_readers/document_facts.h"
#include "platform/document_readers/xml_part.h"
#include "platform/document_readers/zip_archive.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// Whether an archive is a document of that format: a "text" (.odt, .ott), a "spreadsheet", a
// "presentation"; of any kind without one.
bool isOpenDocument(ZipArchive& archive, std::string_view kind);
DocumentFacts factsOfOpenDocument(ZipArchive& archive);
// With the usual prefixes; empty when there is no such part, or one of more bytes.
pugi::xml_document parseOpenDocumentPart(ZipArchive& archive, const std::string& name,
                                         std::size_t most = kMaxZipFile);
// None when the text is not there, or encrypted.
std::optional<RichDocument> documentOfOpenDocument(ZipArchive& archive);

// A text in one XML file (.fodt). `head`: the first kilobytes of a file.
bool isFlatOpenDocument(std::string_view head);
std::optional<RichDocument> documentOfFlatOpenDocument(std::span<const std::byte> bytes);

}  // namespace corvy::platform
