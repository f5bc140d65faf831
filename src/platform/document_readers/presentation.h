// Presentations in PresentationML (.pptx): what is written on their slides.
#pragma once

#include "platform/document_readers/document_facts.h"
#include "platform/document_readers/zip_archive.h"

namespace corvy::platform {

// The slides in their order, an empty line between each two, and behind each the speaker's notes.
// Numbers, dates and footers that stand on every slide are left out.
TextInParts textOfPresentation(ZipArchive& archive);

}  // namespace corvy::platform
