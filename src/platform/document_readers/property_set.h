// The summary that older office programs keep of a document.
#pragma once

#include "foundation/property_list.h"
#include "platform/document_readers/compound_file.h"

namespace corvy::platform {

// Sets the document attributes that the file's summary tells.
void readSummaryInformation(const CompoundFile& file, Dictionary& attributes);

}  // namespace corvy::platform
