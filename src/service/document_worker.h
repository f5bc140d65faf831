// The worker half of reading documents: see rich_text_conversion.h.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// The document in a file as flat RTFD, with its attributes; none when there is none.
std::optional<PropertyList> readDocumentFile(const Dictionary& arguments,
                                             platform::WorkerChannel& channel);

}  // namespace corvy
