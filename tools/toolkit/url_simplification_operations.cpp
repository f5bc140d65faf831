#include "foundation/url_simplification.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

std::u16string simplified(Text address, bool sessionIDs, bool analytics, bool indexPages,
                          bool emptyParams, bool anchors) {
    return simplifiedStringURLByRemovingSessionIDs(
        address, {sessionIDs, analytics, indexPages, emptyParams, anchors});
}

bool isEqual(Text address, std::optional<Text> other) {
    return isEqualToStringURL(address, other);
}

constexpr Operation kOperations[] = {
    method<simplifiedStringURL>("simplifiedStringURL"),
    method<simplified>(
        "simplifiedStringURLByRemovingSessionIDs:analytics:indexPages:emptyParams:anchors:"),
    method<isEqual>("isEqualToStringURL:"),
    method<stringByReplacingStandardPercentEscapesOfURL>(
        "stringByReplacingStandardPercentEscapesOfURL"),
    method<stringURLWithoutAnchor>("stringURLWithoutAnchor"),
    method<standardizedStringURL>("standardizedStringURL"),
    method<stringURLByRemovingSessionIDs>("stringURLByRemovingSessionIDs"),
    method<stringURLByRemovingAnalytics>("stringURLByRemovingAnalytics"),
    method<stringURLByRemovingEmptyParams>("stringURLByRemovingEmptyParams"),
    method<stringURLByRemovingIndexPages>("stringURLByRemovingIndexPages"),
    method<stringURLByRemovingTrackingParameters>("stringURLByRemovingTrackingParameters"),
    method<stringByTrimmingSuffixCharacter>("stringByTrimmingSuffixCharacter:"),
    method<stringURLIsTopicOrThread>("stringURLIsTopicOrThread"),
};

}  // namespace

std::span<const Operation> urlSimplificationOperations() {
    return kOperations;
}

}  // namespace corvy::tools
