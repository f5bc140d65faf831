// The worker half of HTML conversion: see html_conversion.h.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/html_import/resource_loader.h"
#include "platform/rich_text/attributed_text.h"
#include "platform/worker.h"

namespace corvy {

// Flat RTFD of a page; none without one.
std::optional<PropertyList> convertHtml(const Dictionary& arguments,
                                        platform::WorkerChannel& channel);

// The text of a page in UTF-8, by what its bytes and its transport tell.
std::string markupText(std::span<const std::byte> data,
                       std::optional<std::u16string_view> charset = std::nullopt);
// A page in UTF-8 as rich text; what it refers to comes from the loader.
platform::AttributedText attributedTextOfPage(std::string_view page, std::optional<Url> baseURL,
                                              platform::ResourceLoader& loader);

}  // namespace corvy
