// The worker half of PDF conversion: see pdf_conversion.h.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// Sends the facts of a document, then its text as it comes, unless the importer is to be asked
// first; for an attributed one the result holds the text. None when the bytes are not a PDF.
std::optional<PropertyList> convertPdf(const Dictionary& arguments,
                                       platform::WorkerChannel& channel);
// The facts alone, as the result.
std::optional<PropertyList> infoOfPdf(const Dictionary& arguments,
                                      platform::WorkerChannel& channel);

}  // namespace corvy
