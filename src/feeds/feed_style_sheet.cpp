#include "feeds/feed_style_sheet.h"

#include <algorithm>
#include <optional>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "foundation/user_defaults.h"

namespace corvy {

namespace {

std::optional<std::u16string> pathOfStyleSheet() {
    auto path = UserDefaults::standard().stringForKey(u"linkableFeedStyleSheet");
    if (path && path->empty()) path.reset();
    return path;
}

std::u16string linkedSheet(std::u16string_view path) {
    return u"<link rel=\"stylesheet\" type=\"text/css\" href=\"" +
           fileURLWithPath(path).absoluteString + u"\"/>\n";
}

std::u16string inlinedSheet(std::u16string_view path) {
    const std::optional<Bytes> bytes = contentsOfFile(path);
    const auto text = bytes ? fromStrictUtf8(bytes->chars()) : std::nullopt;
    if (!text) return {};
    return u"<style type=\"text/css\"><!--" + *text + u"--></style>\n";
}

}  // namespace

void appendFeedStyleSheet(std::u16string& page, FeedStyleSheet form) {
    if (form == FeedStyleSheet::none) return;
    if (const auto path = pathOfStyleSheet()) {
        page += form == FeedStyleSheet::linked ? linkedSheet(*path) : inlinedSheet(*path);
    }
}

std::u16string stringByReplacingLinkedStyleSheet(std::u16string_view page) {
    constexpr std::u16string_view kLink =
        u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/";
    constexpr std::u16string_view kSuffix = u".feeds.stylesheet.css\"/>";
    std::u16string result(page);
    const std::size_t start = page.find(kLink);
    if (start == std::u16string_view::npos) return result;
    const std::size_t suffix = page.find(kSuffix, start);
    if (suffix == std::u16string_view::npos) return result;
    const std::size_t end = std::min(suffix + kSuffix.size() + 1, page.size());
    const auto path = pathOfStyleSheet();
    result.replace(start, end - start, path ? inlinedSheet(*path) : std::u16string());
    return result;
}

}  // namespace corvy
