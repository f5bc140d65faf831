// Questions asked of an HTML page: what its head says of it.
//
// Each takes one scan of the text, which ends with the answer or at the `body` tag. Values stay as
// they stand in the markup, entities undecoded, unless it is said otherwise. Addresses are in the
// normal form of foundation/url.h, the references of markup in them resolved first.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// The text in front of the tag that closes the title; empty when there is none.
// kept: of a title with markup in it that is only the last run.
std::u16string htmlTitle(std::u16string_view html);
// The same with entities decoded and without white space around it.
std::u16string normalizedHtmlTitle(std::u16string_view html);

// The CONTENT of the `meta` tags of that NAME, joined by a blank; case does not count in names.
// None when there is none, or no name is given.
std::optional<std::u16string> htmlMetaAttributeWithName(std::u16string_view html,
                                                        std::optional<std::u16string_view> name);
std::optional<std::u16string> htmlMetaTitle(std::u16string_view html);
std::optional<std::u16string> htmlMetaIndexTitle(std::u16string_view html);
std::optional<std::u16string> htmlMetaKeywords(std::u16string_view html);
std::optional<std::u16string> htmlMetaDescription(std::u16string_view html);
std::optional<std::u16string> htmlMetaDate(std::u16string_view html);
std::optional<std::u16string> htmlMetaAuthor(std::u16string_view html);
std::optional<std::u16string> htmlMetaCopyright(std::u16string_view html);
// The same by HTTP-EQUIV instead of NAME.
std::optional<std::u16string> htmlMetaHTTPEquiv(std::u16string_view html,
                                                std::optional<std::u16string_view> name);
std::optional<std::u16string> htmlMetaRefresh(std::u16string_view html);

// Every `meta` tag with a CONTENT by its name in lower case, in the order of the page; the name is
// the NAME, else the PROPERTY, else the HTTP-EQUIV. Equal names are joined by a blank.
Dictionary htmlMetaAttributes(std::u16string_view html);

// The usual four in one scan; each equals the query of its own.
struct HtmlMeta {
    std::optional<std::u16string> keywords;
    std::optional<std::u16string> description;
    std::optional<std::u16string> title;
    std::optional<std::u16string> indexTitle;
};
HtmlMeta htmlMetaKeywordsDescriptionTitleIndexTitle(std::u16string_view html);

// When the page was written, in the words of the page: the first of its metas "date" or
// "dc.date", "article:published_time", "last-modified".
std::optional<std::u16string> htmlDate(std::u16string_view html);
// After how many seconds the page asks to be visited again ("7 days", "1 week"; a bare number
// counts days). None when it does not, or in words that are not understood.
std::optional<double> revisitAfter(std::u16string_view html);

// The address of the first `base` tag that has one. None when that is not an address of the web,
// which is logged.
std::optional<Url> htmlBaseURL(std::u16string_view html);
// The first canonical link that is an address.
std::optional<std::u16string> htmlCanonicalURL(std::u16string_view html);
// The first link of the whole page with "shortcut icon" in its REL.
// kept: a REL of "icon" alone is not accepted.
std::optional<std::u16string> htmlFavIcon(std::u16string_view html);

}  // namespace corvy
