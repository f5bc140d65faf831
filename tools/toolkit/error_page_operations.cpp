#include "text/error_page.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::optional<std::u16string_view>;

constexpr Operation kOperations[] = {
    function<[](Text title, Text text, Text URL) {
        return isErrorPageTitle(title.value_or(u""), text.value_or(u""), URL.value_or(u""));
    }>("isErrorPageTitle:text:URL:"),
    function<[](Text title, Text text) {
        return exceededPageLoadFrequencyTitle(title.value_or(u""), text.value_or(u""));
    }>("exceededPageLoadFrequencyTitle:text:"),
};

}  // namespace

std::span<const Operation> errorPageOperations() {
    return kOperations;
}

}  // namespace corvy::tools
