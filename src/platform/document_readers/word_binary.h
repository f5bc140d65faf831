// Binary Word documents (97 to 2003).
#pragma once

#include <optional>

#include "platform/document_readers/compound_file.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// Whether a compound file is such a document, as far as its streams tell.
bool isWordBinary(const CompoundFile& file);
// None for encrypted documents and those of older versions. Deleted and hidden text is left out;
// text boxes and notes stand at the end, headers and footers nowhere.
std::optional<RichDocument> documentOfWordBinary(const CompoundFile& file);

}  // namespace corvy::platform
