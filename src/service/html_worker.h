// The worker half of HTML conversion: see html_conversion.h.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// Flat RTFD of a page; none without one.
std::optional<PropertyList> convertHtml(const Dictionary& arguments,
                                        platform::WorkerChannel& channel);

}  // namespace corvy
