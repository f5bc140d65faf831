// HTML to attributed text: the tree of HTML5, the cascade of CSS, no layout and no scripts.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/html_import/resource_loader.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

struct HtmlImportOptions {
    std::optional<Url> baseURL = {};
    // Nothing is loaded without it. Must outlive the call.
    ResourceLoader* loader = nullptr;
    // The text, in UTF-8, of a frame or a style sheet; `charset` is that of its transport, or
    // empty. Without it they are taken for UTF-8.
    std::function<std::string(std::span<const std::byte> bytes, std::string_view charset,
                              ResourceKind kind)>
        decode = {};
};

// The text of a page in UTF-8. Any input gives a text. What the page refers to and cannot be
// loaded is missing in it. A page that shows nothing until its scripts run shows what it hides.
AttributedText attributedTextOfHtml(std::string_view html, const HtmlImportOptions& options = {});

// For the status.
std::string htmlParserVersion();

}  // namespace corvy::platform
