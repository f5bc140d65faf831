#include "markup/queries.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "foundation/system_log.h"
#include "foundation/text.h"
#include "markup/addresses.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

bool isBody(const TagCall& call) {
    return isNamed(call, u"BODY");
}

bool RetrieveTitleHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"TITLE") || !isTagClosedCharacters(call.characters, call.tagRange())) {
        return false;
    }
    *static_cast<std::u16string*>(call.context) = call.text();
    return true;
}

struct MetaContext {
    std::u16string_view identifier;               // "NAME" or "HTTP-EQUIV"
    std::array<std::u16string_view, 2> accepted;  // an empty one matches nothing
    std::optional<std::u16string> result;
};

// Adds the tag's content to the result when the tag is one of those asked for. `name` is the value
// of the identifying attribute.
void addContent(const TagCall& call, std::u16string_view name, MetaContext& meta) {
    if (name.empty()) return;
    if (!equalNoCase(name, meta.accepted[0]) && !equalNoCase(name, meta.accepted[1])) return;
    const std::u16string_view content = attributeViewOfTag(call, u"CONTENT", true);
    if (content.empty()) return;
    if (meta.result) {
        *meta.result += u' ';
        *meta.result += content;
    } else {
        meta.result = content;
    }
}

bool RetrieveMetaAttributeHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"META")) return false;
    auto& meta = *static_cast<MetaContext*>(call.context);
    addContent(call, attributeViewOfTag(call, meta.identifier), meta);
    return false;
}

std::optional<std::u16string> metaContent(std::u16string_view html, std::u16string_view identifier,
                                          std::u16string_view accepted,
                                          std::u16string_view alsoAccepted = {}) {
    MetaContext meta{identifier, {accepted, alsoAccepted}, {}};
    GetTagsOfString(html, RetrieveMetaAttributeHandler, &meta);
    return std::move(meta.result);
}

bool RetrieveMetasHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"META")) return false;
    const std::u16string_view name = attributeViewOfTag(call, u"NAME");
    for (MetaContext& meta : *static_cast<std::array<MetaContext, 4>*>(call.context)) {
        addContent(call, name, meta);
    }
    return false;
}

struct AllMetasContext {
    std::vector<std::pair<std::u16string, std::u16string>> metas;
    std::unordered_map<std::u16string, std::size_t> places;
};

bool RetrieveAllMetasHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"META")) return false;
    auto& context = *static_cast<AllMetasContext*>(call.context);
    std::u16string_view name;
    for (const std::u16string_view identifier : {u"NAME", u"PROPERTY", u"HTTP-EQUIV"}) {
        name = attributeViewOfTag(call, identifier);
        if (!name.empty()) break;
    }
    const std::u16string_view content = attributeViewOfTag(call, u"CONTENT", true);
    if (name.empty() || content.empty()) return false;
    std::u16string key(name);
    std::transform(key.begin(), key.end(), key.begin(), toLower);
    const auto [place, isNew] = context.places.emplace(key, context.metas.size());
    if (isNew) {
        context.metas.emplace_back(std::move(key), content);
    } else {
        std::u16string& known = context.metas[place->second].second;
        (known += u' ') += content;
    }
    return false;
}

// Stops at the first `base` with a target and leaves that in the context.
bool RetrieveBaseURLHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"BASE") || !isStartTag(call)) return false;
    auto& candidate = *static_cast<std::optional<std::u16string>*>(call.context);
    candidate = attributeOfTag(call, u"HREF");
    return candidate.has_value();
}

std::optional<Url> baseURL(std::u16string_view candidate) {
    const auto normalized = normalizedAddress(candidate);
    if (!normalized || normalized->starts_with(u'#')) return std::nullopt;
    auto url = URLWithNormalizedStringURL(*normalized);
    if (url && isRemoteWebKitURL(*url)) return url;
    systemLog(u"Invalid base: " + *normalized);
    return std::nullopt;
}

bool RetrieveCanonicalURLHandler(const TagCall& call) {
    if (isBody(call)) return true;
    if (!isNamed(call, u"LINK") || !isStartTag(call)) return false;
    if (!equalNoCase(attributeViewOfTag(call, u"REL"), u"canonical")) return false;
    auto address = normalizedAddress(attributeViewOfTag(call, u"HREF"));
    if (!address || address->starts_with(u'#')) return false;
    *static_cast<std::optional<std::u16string>*>(call.context) = std::move(address);
    return true;
}

std::optional<std::u16string> getFavIcon(const TagCall& call) {
    constexpr std::u16string_view kRel = u"shortcut icon";
    const std::u16string_view rel = attributeViewOfTag(call, u"REL");
    if (rel.size() < kRel.size() || !containsNoCase(rel, kRel)) return std::nullopt;
    return normalizedLinkAddress(attributeViewOfTag(call, u"HREF"));
}

bool RetrieveFavIconHandler(const TagCall& call) {
    if (!isNamed(call, u"LINK") || !isStartTag(call)) return false;
    auto& icon = *static_cast<std::optional<std::u16string>*>(call.context);
    icon = getFavIcon(call);
    return icon.has_value();
}

}  // namespace

std::u16string htmlTitle(std::u16string_view html) {
    std::u16string title;
    GetTagsOfString(html, RetrieveTitleHandler, &title);
    return title;
}

std::u16string normalizedHtmlTitle(std::u16string_view html) {
    return std::u16string(trimWhite(stringByConvertingEntitiesToCharacters(htmlTitle(html))));
}

std::optional<std::u16string> htmlMetaAttributeWithName(std::u16string_view html,
                                                        std::optional<std::u16string_view> name) {
    return name ? metaContent(html, u"NAME", *name) : std::nullopt;
}

std::optional<std::u16string> htmlMetaTitle(std::u16string_view html) {
    return metaContent(html, u"NAME", u"title", u"dc.title");
}

std::optional<std::u16string> htmlMetaIndexTitle(std::u16string_view html) {
    return metaContent(html, u"NAME", u"IndexTitle");
}

std::optional<std::u16string> htmlMetaKeywords(std::u16string_view html) {
    return metaContent(html, u"NAME", u"keywords", u"dc.keywords");
}

std::optional<std::u16string> htmlMetaDescription(std::u16string_view html) {
    return metaContent(html, u"NAME", u"description", u"dc.description");
}

std::optional<std::u16string> htmlMetaDate(std::u16string_view html) {
    return metaContent(html, u"NAME", u"date", u"dc.date");
}

std::optional<std::u16string> htmlMetaAuthor(std::u16string_view html) {
    return metaContent(html, u"NAME", u"author", u"dc.author");
}

std::optional<std::u16string> htmlMetaCopyright(std::u16string_view html) {
    return metaContent(html, u"NAME", u"copyright", u"dc.rights");
}

std::optional<std::u16string> htmlMetaHTTPEquiv(std::u16string_view html,
                                                std::optional<std::u16string_view> name) {
    return name ? metaContent(html, u"HTTP-EQUIV", *name) : std::nullopt;
}

std::optional<std::u16string> htmlMetaRefresh(std::u16string_view html) {
    return metaContent(html, u"HTTP-EQUIV", u"refresh");
}

Dictionary htmlMetaAttributes(std::u16string_view html) {
    AllMetasContext context;
    GetTagsOfString(html, RetrieveAllMetasHandler, &context);
    Dictionary metas;
    for (auto& [name, content] : context.metas) metas.set(name, std::move(content));
    return metas;
}

HtmlMeta htmlMetaKeywordsDescriptionTitleIndexTitle(std::u16string_view html) {
    std::array<MetaContext, 4> metas = {{
        {u"NAME", {u"keywords", u"dc.keywords"}, {}},
        {u"NAME", {u"description", u"dc.description"}, {}},
        {u"NAME", {u"title", u"dc.title"}, {}},
        {u"NAME", {u"IndexTitle"}, {}},
    }};
    GetTagsOfString(html, RetrieveMetasHandler, &metas);
    return {std::move(metas[0].result), std::move(metas[1].result), std::move(metas[2].result),
            std::move(metas[3].result)};
}

std::optional<std::u16string> htmlDate(std::u16string_view html) {
    const Dictionary metas = htmlMetaAttributes(html);
    for (const std::u16string_view name :
         {u"date", u"dc.date", u"article:published_time", u"last-modified"}) {
        if (auto date = stringOf(metas, name)) return date;
    }
    return std::nullopt;
}

std::optional<double> revisitAfter(std::u16string_view html) {
    struct Unit {
        std::u16string_view name;
        double seconds;
    };
    constexpr double kDay = 24 * 60 * 60;
    static constexpr Unit kUnits[] = {
        {u"", kDay},         {u"day", kDay},        {u"hour", kDay / 24},
        {u"week", 7 * kDay}, {u"month", 30 * kDay}, {u"year", 365 * kDay},
    };
    constexpr std::size_t kMostDigits = 6;
    const auto content = htmlMetaAttributeWithName(html, u"revisit-after");
    if (!content) return std::nullopt;
    std::u16string_view rest = trimWhite(*content);
    double count = 0;
    std::size_t digits = 0;
    while (digits < rest.size() && rest[digits] >= u'0' && rest[digits] <= u'9') {
        count = count * 10 + (rest[digits++] - u'0');
    }
    if (digits == 0 || digits > kMostDigits) return std::nullopt;
    rest = trimWhite(rest.substr(digits));
    if (rest.size() > 1 && (rest.back() | 0x20) == u's') rest.remove_suffix(1);
    for (const Unit& unit : kUnits) {
        if (equalNoCase(rest, unit.name)) return count * unit.seconds;
    }
    return std::nullopt;
}

std::optional<Url> htmlBaseURL(std::u16string_view html) {
    std::optional<std::u16string> candidate;
    GetTagsOfString(html, RetrieveBaseURLHandler, &candidate);
    return candidate ? baseURL(*candidate) : std::nullopt;
}

std::optional<std::u16string> htmlCanonicalURL(std::u16string_view html) {
    std::optional<std::u16string> address;
    GetTagsOfString(html, RetrieveCanonicalURLHandler, &address);
    return address;
}

std::optional<std::u16string> htmlFavIcon(std::u16string_view html) {
    std::optional<std::u16string> icon;
    GetTagsOfString(html, RetrieveFavIconHandler, &icon);
    return icon;
}

}  // namespace corvy
