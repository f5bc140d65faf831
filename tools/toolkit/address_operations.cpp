#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/reachability.h"
#include "platform/web_addresses.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

constexpr Operation kOperations[] = {
    method<normalizedStringURL>("normalizedStringURL"),
    method<normalizedRelLink>("normalizedRelLink"),
    function<URLWithNormalizedStringURL>("URLWithNormalizedStringURL:"),
    method<URLRelativeTo>("URLRelativeTo:"),
    method<isRemoteWebKitURL>("isRemoteWebKitURL"),
    method<isRemoteWebKitStringURL>("isRemoteWebKitStringURL"),
    method<platform::baseURLForWebKit>("baseURLForWebKit"),
    method<platform::baseURLForWebKitUsingAnchor>("baseURLForWebKitUsingAnchor:"),
    method<platform::isLocalURL>("isLocalURL"),
    function<[](std::u16string_view host) {
        return std::int64_t{platform::connectionFlagsForHost(toUtf8(host))};
    }>("connectionFlagsForHost:"),
};

}  // namespace

std::span<const Operation> addressOperations() {
    return kOperations;
}

}  // namespace corvy::tools
