#include "platform/web_addresses.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "foundation/ascii_case.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/reachability.h"

namespace corvy::platform {

namespace {

bool isScheme(const std::optional<std::u16string_view>& scheme, std::u16string_view name) {
    return scheme && equalsAsciiNoCase(*scheme, name);
}

}  // namespace

std::optional<std::string> pathOfFileURL(const Url& url) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    if (!isScheme(parts.scheme, u"file")) return std::nullopt;
    std::string path = bytesOfEscapedPath(parts.path);
    if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
    return path;
}

std::optional<Url> baseURLForWebKit(const Url& url) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    if (isScheme(parts.scheme, u"file")) {
        const auto path = pathOfFileURL(url);
        std::error_code error;
        return path && std::filesystem::exists(*path, error) ? std::optional(url) : std::nullopt;
    }
    if (isScheme(parts.scheme, u"feed")) {
        const std::u16string_view rest =
            std::u16string_view(url.absoluteString).substr(parts.scheme->size() + 1);
        if (startsWithAsciiNoCase(rest, u"http:")) return URLWithNormalizedStringURL(rest);
        return URLWithNormalizedStringURL(u"http:" + std::u16string(rest));
    }
    if (isScheme(parts.scheme, u"http") || isScheme(parts.scheme, u"https")) return url;
    return std::nullopt;
}

std::optional<Url> baseURLForWebKitUsingAnchor(const Url& url, std::u16string_view anchor) {
    const auto base = baseURLForWebKit(url);
    if (!base) return std::nullopt;
    std::u16string address = base->absoluteString;
    address.erase(std::min(address.find(u'#'), address.size()));
    const auto fragment = normalizedStringURL(u"#" + std::u16string(anchor));
    return Url{address + fragment.value_or(u"#")};
}

bool isLocalURL(const Url& url) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    if (isScheme(parts.scheme, u"file")) return true;
    const std::u16string_view host = hostOfURL(url.absoluteString);
    if (host.empty()) return true;
    constexpr std::uint32_t kLocal = kIsLocalAddress | kIsDirect;
    return (connectionFlagsForHost(toUtf8(host)) & kLocal) != 0;
}

}  // namespace corvy::platform
