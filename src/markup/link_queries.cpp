#include "markup/link_queries.h"

#include <algorithm>
#include <set>
#include <unordered_set>

#include "foundation/text.h"
#include "markup/addresses.h"
#include "markup/queries.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

using Addresses = std::set<std::u16string>;

std::vector<std::u16string> listed(Addresses addresses) {
    std::vector<std::u16string> list;
    list.reserve(addresses.size());
    while (!addresses.empty()) {
        list.push_back(std::move(addresses.extract(addresses.begin()).value()));
    }
    return list;
}

void addAddress(Addresses& addresses, std::u16string_view value) {
    if (auto address = normalizedAddress(value)) addresses.insert(std::move(*address));
}

void addLinkAddress(Addresses& addresses, std::u16string_view value) {
    if (auto address = normalizedLinkAddress(value)) addresses.insert(std::move(*address));
}

bool RetrieveImagesHandler(const TagCall& call) {
    if (!isStartTag(call)) return false;
    auto& images = *static_cast<Addresses*>(call.context);
    if (isNamed(call, u"IMG")) {
        addAddress(images, attributeViewOfTag(call, u"SRC"));
    } else if (isNamed(call, u"BODY")) {
        addAddress(images, attributeViewOfTag(call, u"BACKGROUND"));
    } else if (isNamed(call, u"LINK")) {
        const std::u16string_view rel = attributeViewOfTag(call, u"REL");
        if (containsNoCase(rel, u"icon") || containsNoCase(rel, u"image")) {
            addLinkAddress(images, attributeViewOfTag(call, u"HREF"));
        }
    }
    return false;
}

// The start tag alone of a `script` element, which the scanner reports with its body.
std::u16string_view startTagOf(const TagCall& call) {
    const std::u16string_view tag = call.tag();
    char16_t quote = 0;
    bool equalSeen = false;
    for (std::size_t i = 0; i < tag.size(); ++i) {
        const char16_t c = tag[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == u'>') {
            return tag.substr(0, i + 1);
        } else if (c == u'=') {
            equalSeen = true;
        } else if (c == u'"' || c == u'\'') {
            if (equalSeen) quote = c;
            equalSeen = false;
        }
    }
    return tag;
}

bool RetrieveStylesheetsAndScriptsHandler(const TagCall& call) {
    if (!isStartTag(call)) return false;
    auto& addresses = *static_cast<Addresses*>(call.context);
    if (isNamed(call, u"SCRIPT")) {
        const std::u16string_view tag = startTagOf(call);
        if (const auto source = attributeOfTagCharacters(tag, {0, tag.size()}, u"SRC")) {
            addLinkAddress(addresses, *source);
        }
    } else if (isNamed(call, u"LINK") &&
               containsNoCase(attributeViewOfTag(call, u"REL"), u"stylesheet")) {
        addLinkAddress(addresses, attributeViewOfTag(call, u"HREF"));
    }
    return false;
}

bool RetrieveEmbeddedObjectsHandler(const TagCall& call) {
    if (!isStartTag(call)) return false;
    auto& addresses = *static_cast<Addresses*>(call.context);
    if (isNamed(call, u"OBJECT")) addAddress(addresses, attributeViewOfTag(call, u"DATA"));
    for (const std::u16string_view name : {u"EMBED", u"AUDIO", u"VIDEO", u"SOURCE"}) {
        if (isNamed(call, name)) addAddress(addresses, attributeViewOfTag(call, u"SRC"));
    }
    return false;
}

std::vector<std::u16string> addressesFoundBy(TagHandler handler, std::u16string_view html) {
    Addresses addresses;
    GetTagsOfString(html, handler, &addresses);
    return listed(std::move(addresses));
}

struct LinksContext {
    const LinkOptions& options;
    std::optional<Url> base;
    std::vector<std::u16string> links;
    std::unordered_set<std::u16string> known;
};

bool isWanted(std::u16string_view address, const LinkOptions& options) {
    if (options.onlyRemote && !isRemoteWebKitStringURL(address)) return false;
    if (options.fileTypes.empty()) return true;
    const std::u16string_view extension = pathExtension(partsOfURL(address).path);
    return std::any_of(
        options.fileTypes.begin(), options.fileTypes.end(),
        [extension](const std::u16string& type) { return equalNoCase(type, extension); });
}

bool RetrieveLinksHandler(const TagCall& call) {
    if (!isStartTag(call)) return false;
    auto& context = *static_cast<LinksContext*>(call.context);
    const bool frames = context.options.frames;
    if (!(frames ? isNamed(call, u"FRAME") || isNamed(call, u"IFRAME")
                 : isNamed(call, u"A") || isNamed(call, u"AREA"))) {
        return false;
    }
    auto address = normalizedLinkAddress(attributeViewOfTag(call, frames ? u"SRC" : u"HREF"));
    if (!address) return false;
    if (context.base) {
        auto resolved = URLRelativeTo(*context.base, *address);
        if (!resolved) return false;
        address = std::move(resolved->absoluteString);
    }
    if (isWanted(*address, context.options) && context.known.insert(*address).second) {
        context.links.push_back(std::move(*address));
    }
    return false;
}

}  // namespace

std::vector<std::u16string> htmlImages(std::u16string_view html) {
    return addressesFoundBy(RetrieveImagesHandler, html);
}

std::vector<std::u16string> htmlStylesheetsAndScripts(std::u16string_view html) {
    return addressesFoundBy(RetrieveStylesheetsAndScriptsHandler, html);
}

std::vector<std::u16string> htmlEmbeddedObjects(std::u16string_view html) {
    return addressesFoundBy(RetrieveEmbeddedObjectsHandler, html);
}

std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html,
                                             const std::optional<Url>& baseURL,
                                             const LinkOptions& options) {
    LinksContext context{options, htmlBaseURL(html), {}, {}};
    if (!context.base) context.base = baseURL;
    GetTagsOfString(html, RetrieveLinksHandler, &context);
    return std::move(context.links);
}

}  // namespace corvy
