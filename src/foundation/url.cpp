#include "foundation/url.h"

#include <unicode/uidna.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr std::u16string_view kHexDigits = u"0123456789ABCDEF";
constexpr std::size_t kLongestHost = 2048;  // units that are handed to the IDN conversion

struct DefaultPort {
    std::u16string_view scheme;
    std::u16string_view port;
};
constexpr DefaultPort kDefaultPorts[] = {
    {u"http", u"80"}, {u"https", u"443"}, {u"feed", u"80"},
    {u"ftp", u"21"},  {u"ws", u"80"},     {u"wss", u"443"},
};

constexpr bool isAsciiLetter(char16_t c) {
    return (c | 0x20) >= u'a' && (c | 0x20) <= u'z';
}
constexpr bool isAsciiDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}
constexpr bool isUnreserved(char16_t c) {
    return isAsciiLetter(c) || isAsciiDigit(c) || c == u'-' || c == u'.' || c == u'_' || c == u'~';
}
// What may stand in some part of an address as it is.
constexpr bool isAllowed(char16_t c) {
    return isUnreserved(c) ||
           std::u16string_view(u"!$&'()*+,;=:@/?").find(c) != std::u16string_view::npos;
}
constexpr int valueOfHexDigit(char16_t c) {
    if (isAsciiDigit(c)) return c - u'0';
    const char16_t letter = c | 0x20;
    return letter >= u'a' && letter <= u'f' ? letter - u'a' + 10 : -1;
}
// The byte of the escape that starts at `i`; -1 when none does.
int escapedByte(std::u16string_view text, std::size_t i) {
    if (i + 2 >= text.size() || text[i] != u'%') return -1;
    const int high = valueOfHexDigit(text[i + 1]);
    const int low = valueOfHexDigit(text[i + 2]);
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

void appendEscaped(std::u16string& out, std::uint8_t byte) {
    out += u'%';
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 15];
}

std::u16string lowered(std::u16string_view ascii) {
    std::u16string out(ascii);
    for (char16_t& c : out) {
        if (c >= u'A' && c <= u'Z') c |= 0x20;
    }
    return out;
}

// Appends a part with its escapes resolved (or, with `resolves` off, as they are) and with what is
// not allowed escaped.
void appendPart(std::u16string& out, std::u16string_view part, bool resolves = true) {
    std::size_t i = 0;
    while (i < part.size()) {
        if (isAllowed(part[i])) {
            out += part[i++];
            continue;
        }
        if (part[i] == u'%') {
            const int byte = escapedByte(part, i);
            if (byte < 0) {
                out += u"%25";
            } else if (!resolves) {
                out += part.substr(i, 3);
            } else if (isUnreserved(static_cast<char16_t>(byte))) {
                out += static_cast<char16_t>(byte);
            } else {
                appendEscaped(out, static_cast<std::uint8_t>(byte));
            }
            i += byte < 0 ? 1 : 3;
            continue;
        }
        std::size_t end = i + 1;
        while (end < part.size() && part[end] != u'%' && !isAllowed(part[end])) ++end;
        for (const char byte : toUtf8(part.substr(i, end - i))) {
            appendEscaped(out, static_cast<std::uint8_t>(byte));
        }
        i = end;
    }
}

struct IdnCloser {
    void operator()(UIDNA* idna) const noexcept { uidna_close(idna); }
};

// The ASCII form of a host name; none when it has none.
std::optional<std::u16string> asciiHost(std::u16string_view host) {
    if (host.size() > kLongestHost) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    // Opened once: it can be used from any thread.
    static const std::unique_ptr<UIDNA, IdnCloser> idna(uidna_openUTS46(
        UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII, &status));
    if (U_FAILURE(status)) return std::nullopt;
    std::u16string out(host.size() * 8 + 64, u'\0');
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    const std::int32_t length =
        uidna_nameToASCII(idna.get(), host.data(), static_cast<std::int32_t>(host.size()),
                          out.data(), static_cast<std::int32_t>(out.size()), &info, &status);
    // Lengths and hyphens of real names break the rules now and then; they still resolve.
    constexpr std::uint32_t kHarmless =
        UIDNA_ERROR_EMPTY_LABEL | UIDNA_ERROR_LABEL_TOO_LONG | UIDNA_ERROR_DOMAIN_NAME_TOO_LONG |
        UIDNA_ERROR_LEADING_HYPHEN | UIDNA_ERROR_TRAILING_HYPHEN | UIDNA_ERROR_HYPHEN_3_4;
    if (U_FAILURE(status) || (info.errors & ~kHarmless) != 0) return std::nullopt;
    out.resize(static_cast<std::size_t>(length));
    return out;
}

bool isAddressLiteral(std::u16string_view host) {
    return host.size() > 3 && host.front() == u'[' && host.back() == u']' &&
           std::all_of(host.begin() + 1, host.end() - 1, [](char16_t c) {
               return valueOfHexDigit(c) >= 0 || c == u':' || c == u'.';
           });
}

std::optional<std::u16string> normalizedHost(std::u16string_view host) {
    if (isAddressLiteral(host)) return lowered(host);
    std::u16string plain(host);
    if (host.find(u'%') != std::u16string_view::npos) {
        // Escapes stand for the bytes of a UTF-8 name.
        std::string bytes;
        for (std::size_t i = 0; i < host.size();) {
            const int byte = escapedByte(host, i);
            if (byte >= 0) {
                bytes += static_cast<char>(byte);
                i += 3;
            } else {
                const std::size_t next = std::min(host.find(u'%', i + 1), host.size());
                bytes += toUtf8(host.substr(i, next - i));
                i = next;
            }
        }
        plain = fromUtf8(bytes);
    }
    std::optional<std::u16string> ascii;
    if (std::all_of(plain.begin(), plain.end(), [](char16_t c) { return c < 0x80; })) {
        ascii = lowered(plain);
    } else {
        ascii = asciiHost(plain);
    }
    const auto fits = [](char16_t c) {
        return isUnreserved(c) ||
               std::u16string_view(u"!$&'()*+,;=").find(c) != std::u16string_view::npos;
    };
    if (!ascii || !std::all_of(ascii->begin(), ascii->end(), fits)) return std::nullopt;
    return ascii;
}

// The parts of an authority.
struct Authority {
    std::optional<std::u16string_view> user;  // without "@"
    std::u16string_view host;
    std::u16string_view port;  // without ":"
};

Authority partsOfAuthority(std::u16string_view authority) {
    Authority parts;
    if (const std::size_t at = authority.rfind(u'@'); at != std::u16string_view::npos) {
        parts.user = authority.substr(0, at);
        authority.remove_prefix(at + 1);
    }
    const std::size_t colon = authority.rfind(u':');
    const std::size_t bracket = authority.rfind(u']');
    // A colon inside the brackets belongs to the address there.
    if (colon == std::u16string_view::npos ||
        (bracket != std::u16string_view::npos && colon < bracket)) {
        parts.host = authority;
    } else {
        parts.host = authority.substr(0, colon);
        parts.port = authority.substr(colon + 1);
    }
    return parts;
}

bool isPort(std::u16string_view port) {
    unsigned value = 0;
    for (const char16_t c : port) {
        if (!isAsciiDigit(c)) return false;
        value = std::min(value * 10 + (c - u'0'), 65536U);
    }
    return value <= 65535;
}

// Appends "//" and the authority; false when it cannot be one. `scheme` is empty in a reference.
bool appendAuthority(std::u16string& out, std::u16string_view authority,
                     std::u16string_view scheme) {
    const Authority parts = partsOfAuthority(authority);
    const auto host = normalizedHost(parts.host);
    if (!host || !isPort(parts.port)) return false;
    const auto* known =
        std::find_if(std::begin(kDefaultPorts), std::end(kDefaultPorts),
                     [scheme](const DefaultPort& entry) { return entry.scheme == scheme; });
    const bool isOfTheWeb = known != std::end(kDefaultPorts);
    if (host->empty() && (isOfTheWeb || scheme.empty() || parts.user || !parts.port.empty())) {
        return false;
    }
    out += u"//";
    if (parts.user) {
        // A second "@" and "/" or "?" cannot stand before the host.
        for (std::size_t i = 0; i <= parts.user->size();) {
            const std::size_t next = std::min(parts.user->find(u'@', i), parts.user->size());
            appendPart(out, parts.user->substr(i, next - i));
            if (next < parts.user->size()) out += u"%40";
            i = next + 1;
        }
        out += u'@';
    }
    out += *host;
    std::u16string_view port = parts.port;
    while (port.size() > 1 && port.front() == u'0') port.remove_prefix(1);
    if (!port.empty() && !(isOfTheWeb && known->port == port)) {
        out += u':';
        out += port;
    }
    return true;
}

void appendQueryAndFragment(std::u16string& out, const UrlParts& parts, bool resolves = true) {
    if (parts.query) {
        out += u'?';
        appendPart(out, *parts.query, resolves);
    }
    if (parts.fragment) {
        out += u'#';
        appendPart(out, *parts.fragment, resolves);
    }
}

std::u16string withoutBlanksAndBreaks(std::u16string_view text) {
    while (!text.empty() && isWhite(text.front())) text.remove_prefix(1);
    while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
    std::u16string out(text);
    std::erase_if(out, [](char16_t c) { return c == u'\t' || c == u'\n' || c == u'\r'; });
    return out;
}

// The path without "." and ".." segments (RFC 3986, section 5.2.4).
std::u16string withoutDotSegments(std::u16string_view path) {
    std::u16string out;
    while (!path.empty()) {
        if (path.starts_with(u"../")) {
            path.remove_prefix(3);
        } else if (path.starts_with(u"./") || path.starts_with(u"/./")) {
            path.remove_prefix(2);
        } else if (path == u"/.") {
            path = u"/";
        } else if (path.starts_with(u"/../") || path == u"/..") {
            path = path.size() == 3 ? std::u16string_view(u"/") : path.substr(3);
            const std::size_t slash = out.rfind(u'/');
            out.resize(slash == std::u16string::npos ? 0 : slash);
        } else if (path == u"." || path == u"..") {
            path = {};
        } else {
            const std::size_t end = std::min(path.find(u'/', 1), path.size());
            out += path.substr(0, end);
            path.remove_prefix(end);
        }
    }
    return out;
}

std::u16string composed(const UrlParts& parts) {
    std::u16string out;
    if (parts.scheme) (out += *parts.scheme) += u':';
    if (parts.authority) (out += u"//") += *parts.authority;
    out += parts.path;
    if (parts.query) (out += u'?') += *parts.query;
    if (parts.fragment) (out += u'#') += *parts.fragment;
    return out;
}

}  // namespace

UrlParts partsOfURL(std::u16string_view address) {
    UrlParts parts;
    const auto isSchemeUnit = [](char16_t c) {
        return isAsciiLetter(c) || isAsciiDigit(c) || c == u'+' || c == u'-' || c == u'.';
    };
    std::size_t end = 0;
    while (end < address.size() && isSchemeUnit(address[end])) ++end;
    if (end > 0 && end < address.size() && address[end] == u':' && isAsciiLetter(address[0])) {
        parts.scheme = address.substr(0, end);
        address.remove_prefix(end + 1);
    }
    if (const std::size_t sharp = address.find(u'#'); sharp != std::u16string_view::npos) {
        parts.fragment = address.substr(sharp + 1);
        address = address.substr(0, sharp);
    }
    if (const std::size_t mark = address.find(u'?'); mark != std::u16string_view::npos) {
        parts.query = address.substr(mark + 1);
        address = address.substr(0, mark);
    }
    if (address.starts_with(u"//")) {
        const std::size_t slash = std::min(address.find(u'/', 2), address.size());
        parts.authority = address.substr(2, slash - 2);
        address.remove_prefix(slash);
    }
    parts.path = address;
    return parts;
}

std::u16string_view hostOfURL(std::u16string_view address) {
    const UrlParts parts = partsOfURL(address);
    return parts.authority ? partsOfAuthority(*parts.authority).host : std::u16string_view();
}

Url URLOfPath(std::string_view path) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    Url url{u"file://"};
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool fits = byte < 0x80 && isAllowed(byte) && byte != '?' && byte != '#';
        if (fits) {
            url.absoluteString += static_cast<char16_t>(byte);
        } else {
            ((url.absoluteString += u'%') += kDigits[byte >> 4]) += kDigits[byte & 15];
        }
    }
    return url;
}

std::string bytesOfEscapedPath(std::u16string_view part) {
    const std::string text = bytesOfPath(part).value_or(std::string());
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(&text[i + 1], &text[i + 3], value, 16).ptr == &text[i + 3]) {
            bytes.push_back(static_cast<char>(value));
            i += 2;
        } else {
            bytes.push_back(text[i]);
        }
    }
    return bytes;
}

std::optional<std::u16string> normalizedStringURL(std::u16string_view address) {
    const std::u16string text = withoutBlanksAndBreaks(address);
    if (text.empty()) return std::nullopt;
    const UrlParts parts = partsOfURL(text);
    std::u16string out;
    out.reserve(text.size() + text.size() / 4);
    std::u16string scheme;
    if (parts.scheme) {
        scheme = lowered(*parts.scheme);
        out += scheme;
        out += u':';
    }
    if (parts.authority && !appendAuthority(out, *parts.authority, scheme)) return std::nullopt;
    // Behind the scheme of an opaque address an escape can mean anything.
    const bool resolves = !parts.scheme || parts.authority || parts.path.starts_with(u'/');
    const std::size_t start = out.size();
    appendPart(out, parts.path, resolves);
    // A resolved escape must not make a scheme of the first segment.
    if (!parts.scheme && partsOfURL(out).scheme) out.insert(start, u"./");
    appendQueryAndFragment(out, parts, resolves);
    return out;
}

std::optional<std::u16string> normalizedRelLink(std::u16string_view address) {
    auto normalized = normalizedStringURL(address);
    if (!normalized || normalized->starts_with(u'#') || normalized->starts_with(u"javascript:")) {
        return std::nullopt;
    }
    return normalized;
}

std::optional<Url> URLWithNormalizedStringURL(std::u16string_view normalized) {
    const auto fits = [](char16_t c) {
        return isAllowed(c) || c == u'%' || c == u'#' || c == u'[' || c == u']';
    };
    if (normalized.empty() || !std::all_of(normalized.begin(), normalized.end(), fits)) {
        return std::nullopt;
    }
    return Url{std::u16string(normalized)};
}

std::optional<Url> URLRelativeTo(const Url& base, std::u16string_view reference) {
    // Nothing but white space names the page itself.
    const auto normalized = normalizedStringURL(reference);
    if (!normalized) return std::nullopt;
    const UrlParts relative = partsOfURL(*normalized);
    UrlParts target = relative;
    std::u16string path;
    if (relative.scheme) {
        path = relative.authority ? withoutDotSegments(relative.path) : relative.path;
    } else {
        const UrlParts page = partsOfURL(base.absoluteString);
        const bool hasHierarchy = page.authority || page.path.starts_with(u'/');
        const bool isOfPageItself = relative.path.empty() && !relative.authority;
        if (!page.scheme || !(hasHierarchy || isOfPageItself)) return std::nullopt;
        target.scheme = page.scheme;
        if (relative.authority) {
            path = withoutDotSegments(relative.path);
        } else {
            target.authority = page.authority;
            if (relative.path.empty()) {
                path = page.path;
                if (!relative.query) target.query = page.query;
            } else if (relative.path.starts_with(u'/')) {
                path = withoutDotSegments(relative.path);
            } else if (page.authority && page.path.empty()) {
                path = withoutDotSegments(u"/" + std::u16string(relative.path));
            } else {
                path = page.path.substr(0, page.path.rfind(u'/') + 1);
                path = withoutDotSegments(path += relative.path);
            }
        }
    }
    // Without an authority a path of two slashes would turn into one.
    if (!target.authority && path.starts_with(u"//")) path.insert(0, u"/.");
    target.path = path;
    return Url{composed(target)};
}

Url fileURLWithPath(std::u16string_view path) {
    const std::string bytes = bytesOfPath(path).value_or(std::string());
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(bytes, error);
    if (error) absolute = "/" + bytes;
    std::u16string address = u"file://localhost";
    for (const char byte : absolute.native()) {
        const auto unit = static_cast<std::uint8_t>(byte);
        if (isUnreserved(unit) || unit == u'/') {
            address += static_cast<char16_t>(unit);
        } else {
            appendEscaped(address, unit);
        }
    }
    return {address};
}

bool isRemoteWebKitURL(const Url& url) {
    return isRemoteWebKitStringURL(url.absoluteString);
}

bool isRemoteWebKitStringURL(std::u16string_view address) {
    const UrlParts parts = partsOfURL(address);
    if (!parts.scheme || !parts.authority) return false;
    const std::u16string scheme = lowered(*parts.scheme);
    if (scheme != u"http" && scheme != u"https" && scheme != u"feed") return false;
    const std::u16string_view host = partsOfAuthority(*parts.authority).host;
    return std::any_of(host.begin(), host.end(), isAlphaNum) &&
           host.find(u"...") == std::u16string_view::npos;
}

}  // namespace corvy
