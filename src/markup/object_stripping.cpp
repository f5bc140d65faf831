#include <algorithm>
#include <array>
#include <vector>

#include "foundation/text.h"
#include "foundation/url.h"
#include "markup/stripping.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

constexpr std::u16string_view kElements[] = {u"APPLET",  u"AUDIO",  u"CANVAS", u"IFRAME",
                                             u"NOEMBED", u"OBJECT", u"VIDEO"};
// The scanner reports a script element as one tag.
constexpr std::u16string_view kSingleTags[] = {u"BGSOUND", u"EMBED",  u"PARAM",
                                               u"SCRIPT",  u"SOURCE", u"TRACK"};
// Our own: what servers of advertising are called, without the number that may follow.
constexpr std::u16string_view kAdvertisingLabels[] = {
    u"ad",     u"adimg",   u"ads",    u"adserv",  u"adserver", u"adserving",
    u"advert", u"adverts", u"banner", u"banners", u"adservice"};

struct StripObjectsContext {
    // A stretch of the text that gives way to something else; sorted, none overlap.
    struct Edit {
        std::size_t start, end;
        std::u16string replacement;
    };
    bool replaceImages = false;
    std::vector<Edit> edits;
    // The elements of each name that are open, by the index of the edit of their start tag.
    std::array<std::vector<std::size_t>, std::size(kElements)> open;
};

bool isAdvertisingHost(std::u16string_view host) {
    while (!host.empty()) {
        const std::size_t dot = std::min(host.find(u'.'), host.size());
        std::u16string_view label = host.substr(0, dot);
        while (!label.empty() && label.back() >= u'0' && label.back() <= u'9') {
            label.remove_suffix(1);
        }
        for (const std::u16string_view known : kAdvertisingLabels) {
            if (equalNoCase(label, known)) return true;
        }
        host.remove_prefix(std::min(dot + 1, host.size()));
    }
    return false;
}

bool isAdvertisingImage(const TagCall& call) {
    const auto authority = partsOfURL(attributeViewOfTag(call, u"SRC")).authority;
    if (authority && isAdvertisingHost(*authority)) return true;
    return getTagWidth(call.characters, call.tagRange()) == TagSize{1, 1};
}

std::u16string replacementOfImage(const TagCall& call) {
    const std::u16string_view alt = attributeViewOfTag(call, u"ALT");
    return alt.empty() ? std::u16string() : u"[" + std::u16string(alt) + u"]";
}

// The element of that name is closed: one edit takes the place of all since its start tag.
void closeElement(StripObjectsContext& context, std::size_t element, std::size_t end) {
    const std::size_t first = context.open[element].back();
    for (std::vector<std::size_t>& open : context.open) {
        while (!open.empty() && open.back() >= first) open.pop_back();
    }
    context.edits.resize(first + 1);
    context.edits.back().end = end;
}

bool StripObjectsHandler(const TagCall& call) {
    auto& context = *static_cast<StripObjectsContext*>(call.context);
    const std::size_t end =
        std::min<std::size_t>(call.tagLocation + call.tagLength, call.characters.size());
    if (isNamed(call, u"IMG")) {
        const bool drop = isAdvertisingImage(call);
        if (drop || context.replaceImages) {
            context.edits.push_back(
                {call.tagLocation, end, drop ? std::u16string() : replacementOfImage(call)});
        }
        return false;
    }
    for (std::size_t i = 0; i < std::size(kElements); ++i) {
        if (!isNamed(call, kElements[i])) continue;
        if (isStartTag(call)) {
            if (!isEmptyElementTag(call)) context.open[i].push_back(context.edits.size());
        } else if (!context.open[i].empty()) {
            closeElement(context, i, end);
            return false;
        }
        context.edits.push_back({call.tagLocation, end, {}});
        return false;
    }
    for (const std::u16string_view name : kSingleTags) {
        if (isNamed(call, name)) context.edits.push_back({call.tagLocation, end, {}});
    }
    return false;
}

}  // namespace

std::u16string stripObjectsAndReplaceImages(std::u16string_view html, bool replaceImages) {
    StripObjectsContext context;
    context.replaceImages = replaceImages;
    GetTagsOfString(html, StripObjectsHandler, &context);
    std::u16string result;
    std::size_t copied = 0;
    for (const auto& edit : context.edits) {
        result += html.substr(copied, edit.start - copied);
        result += edit.replacement;
        copied = edit.end;
    }
    result += html.substr(copied);
    return result;
}

}  // namespace corvy
