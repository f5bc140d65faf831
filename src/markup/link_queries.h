// Questions asked of a whole HTML page: what it refers to.
//
// Addresses are in the normal form of foundation/url.h, the references of markup in them resolved
// first; values that are absent or no addresses are passed over, and each address is given once.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

// The images of `img` and `body`, and of links with "icon" or "image" in their REL; sorted.
std::vector<std::u16string> htmlImages(std::u16string_view html);

// The targets of `link` tags with "stylesheet" in their REL and of `script` tags; sorted.
std::vector<std::u16string> htmlStylesheetsAndScripts(std::u16string_view html);

// What `object`, `embed`, `audio`, `video` and `source` show; sorted.
std::vector<std::u16string> htmlEmbeddedObjects(std::u16string_view html);

struct LinkOptions {
    bool frames = false;      // the pages in `frame` and `iframe` tags instead of the links
    bool onlyRemote = false;  // only addresses of the web
    std::vector<std::u16string> fileTypes =
        {};  // only paths with one of these extensions; empty: all
};

// The targets of `a` and `area` tags in the order of the page, without those inside the page
// itself and javascript:. They are resolved by the page's own base address, else by `baseURL`;
// without either they stay relative.
std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html,
                                             const std::optional<Url>& baseURL,
                                             const LinkOptions& options = {});

}  // namespace corvy
