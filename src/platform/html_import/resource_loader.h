// Where an HTML engine gets what a page refers to. An engine opens no file and no connection by
// itself: whatever it is given comes from here.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/property_list.h"

namespace corvy::platform {

enum class ResourceKind { styleSheet, image, frame };

struct ResourceRequest {
    Url url;  // absolute
    ResourceKind kind = ResourceKind::image;
};

struct Resource {
    Bytes bytes;
    std::string mimeType = {};  // lower case, without parameters; empty when nobody said
    std::string charset = {};   // likewise
    Url url;                    // where it was found in the end
};

class ResourceLoader {
public:
    virtual ~ResourceLoader() = default;
    // One answer for each request, in their order; none for what is not there, not allowed, too
    // large or too late.
    virtual std::vector<std::optional<Resource>> load(
        std::span<const ResourceRequest> requests) = 0;
};

}  // namespace corvy::platform
