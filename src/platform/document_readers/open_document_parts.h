// Spreadsheets, presentations and drawings in OpenDocument (.ods, .odp, .odg): their text alone.
#pragma once

#include "platform/document_readers/document_facts.h"
#include "platform/document_readers/zip_archive.h"

namespace corvy::platform {

// Sheets with their names, rows, and cells apart by tabs; or slides with their notes, an empty line
// between each two. Of a content of more than 64 MiB nothing is read.
TextInParts textOfOpenDocumentParts(ZipArchive& archive);

}  // namespace corvy::platform
