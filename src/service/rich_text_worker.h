// The worker half of rich text: see rich_text_conversion.h.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// The package of a document that is flat RTFD or RTF; none when it is neither.
std::optional<PropertyList> packageOfRtfd(const Dictionary& arguments,
                                          platform::WorkerChannel& channel);

}  // namespace corvy
