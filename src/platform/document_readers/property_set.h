// The summary that older office programs keep of a document.
#pragma once

#include "platform/document_readers/compound_file.h"
#include "platform/document_readers/document_facts.h"

namespace corvy::platform {

DocumentFacts summaryInformation(const CompoundFile& file);

}  // namespace corvy::platform
