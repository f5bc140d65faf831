// Which addresses a web engine gets to see, and which of them stay on this machine or its networks.
#pragma once

#include <optional>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::platform {

// The base address to give a web engine: a file that exists, http and https as they are, feed as
// http. None for all others.
// kept: "feed:" in front of an address of another scheme is replaced by "http:" too.
std::optional<Url> baseURLForWebKit(const Url& url);
// The same with this fragment, which may be anything: what cannot stand there is escaped.
std::optional<Url> baseURLForWebKitUsingAnchor(const Url& url, std::u16string_view anchor);

// Loading it needs no gateway: a file, an address without a host, and one whose host is this
// machine or on a network that it is attached to (reachability.h). Resolves names.
bool isLocalURL(const Url& url);

// The path of the file that a file address names; none for other addresses.
std::optional<std::string> pathOfFileURL(const Url& url);

}  // namespace corvy::platform
