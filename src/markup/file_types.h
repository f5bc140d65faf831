// File name extensions and MIME types of markup, and what looks like HTML.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace corvy {

// In lower case, the usual one first.
std::span<const std::u16string_view> HTMLFileTypes();
std::span<const std::u16string_view> XMLFileTypes();
std::span<const std::u16string_view> PropertyListFileTypes();
// HTML and XML.
std::span<const std::u16string_view> MarkupFileTypes();

// Whether the extension (none is of no type) is one of them, in any case.
bool isHTMLExtension(std::optional<std::u16string_view> extension);
bool isXMLExtension(std::optional<std::u16string_view> extension);
bool isPropertyListExtension(std::optional<std::u16string_view> extension);
bool isMarkupExtension(std::optional<std::u16string_view> extension);

// Whether data of the type are markup: text of any kind, and the applications whose names speak of
// HTML, SGML, XML or feeds.
// kept: "rdf" and "rss" count in lower case only, all else in any case.
bool isMarkupMIMEType(std::u16string_view type);

// Whether the text is an HTML page, whole or in part: its first tag, comments and an XML
// declaration aside, is one of HTML.
bool isHTML(std::u16string_view text);

}  // namespace corvy
