#include "foundation/url.h"
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
};

}  // namespace

std::span<const Operation> addressOperations() {
    return kOperations;
}

}  // namespace corvy::tools
