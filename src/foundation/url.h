// Address strings: their parts, their normal form, and what a relative one means.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// The five parts of an address; a part that is missing differs from one that is empty. Views into
// the text that was taken apart.
struct UrlParts {
    std::optional<std::u16string_view> scheme;     // without ":"
    std::optional<std::u16string_view> authority;  // without "//"
    std::u16string_view path;
    std::optional<std::u16string_view> query;     // without "?"
    std::optional<std::u16string_view> fragment;  // without "#"
};

// Every text has parts: one without a scheme is a relative reference.
UrlParts partsOfURL(std::u16string_view address);

// The host of an address as it stands there, without user and port; empty when there is none.
std::u16string_view hostOfURL(std::u16string_view address);

// The file address of an absolute path, which is bytes; what may not stand in an address is
// escaped.
Url URLOfPath(std::string_view path);

// The bytes that the percent escapes of a part of an address stand for, as the path of a file.
std::string bytesOfEscapedPath(std::u16string_view part);

// The address in its normal form, in printable ASCII; relative references stay relative.
// White space around it and line breaks and tabs within it are dropped. The scheme and the host
// are lower case, a host outside ASCII is in its punycode form, the port of the scheme itself and
// an empty one are left out. Escapes of letters, digits and "-._~" are resolved, the others are in
// upper case; what may not stand in an address is escaped as UTF-8. Of an address without "//",
// such as mailto:, only the scheme and what has to be escaped change. The form of a form is itself.
// None for an empty text, and for a host or a port that cannot be one.
std::optional<std::u16string> normalizedStringURL(std::u16string_view address);

// The normal form of the target of a `link` element; also none for what names no other resource: a
// fragment alone, and javascript:.
std::optional<std::u16string> normalizedRelLink(std::u16string_view address);

// None when the text is empty or holds what may not stand in an address.
std::optional<Url> URLWithNormalizedStringURL(std::u16string_view normalized);

// The address that `reference`, in its normal form, means on a page at `base` (RFC 3986, section
// 5.2). None when the reference has no normal form, or is relative to a base that has no scheme or
// no hierarchy.
std::optional<Url> URLRelativeTo(const Url& base, std::u16string_view reference);

// The address of a file, "file://localhost/..."; a relative path is one from the working folder.
Url fileURLWithPath(std::u16string_view path);

// Of the web: the scheme is http, https or feed (in any case), the host has at least one letter or
// digit and no "...".
bool isRemoteWebKitURL(const Url& url);
bool isRemoteWebKitStringURL(std::u16string_view address);

}  // namespace corvy
