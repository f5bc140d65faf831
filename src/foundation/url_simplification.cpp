#include "foundation/url_simplification.h"

#include <algorithm>
#include <utility>

#include "foundation/ascii_case.h"
#include "foundation/character_tables.h"
#include "foundation/find_unit.h"
#include "foundation/text.h"
#include "foundation/url_parameters.h"

namespace corvy {

namespace {

constexpr std::u16string_view kIndexPages[] = {
    u"/index.shtml", u"/index.phtml", u"/index.jhtml", u"/index.html", u"/index.htm",
    u"/index.php",   u"/index.chm",   u"/index.asp",   u"/index.cgi",
};

constexpr bool isUnreserved(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

// -1 when it is no hexadecimal digit.
int hexValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const char16_t lower = asciiLower(unit);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

// The steps, each on a text in place.

void decodeStandardEscapes(std::u16string& text) {
    std::size_t in = findUnit(text, u'%');
    std::size_t out = in;
    while (in < text.size()) {
        if (text[in] == u'%' && in + 2 < text.size()) {
            const int high = hexValue(text[in + 1]);
            const int low = hexValue(text[in + 2]);
            if (high >= 0 && low >= 0 && isUnreserved(high * 16 + low)) {
                text[out++] = static_cast<char16_t>(high * 16 + low);
                in += 3;
                continue;
            }
        }
        text[out++] = text[in++];
    }
    text.resize(out);
}

// The length of the address without its fragment.
std::size_t lengthWithoutAnchor(std::u16string_view address) {
    const std::size_t anchor = findUnit(address, u'#');
    const bool isRoute = anchor + 2 < address.size() && address[anchor + 2] == u'/' &&
                         (address[anchor + 1] == u'!' || address[anchor + 1] == u'/');
    return isRoute ? address.size() : anchor;
}

std::u16string_view withoutDotSegmentsAtEnd(std::u16string_view text) {
    for (;;) {
        if (text.ends_with(u"/.")) {
            text.remove_suffix(2);
        } else if (text.ends_with(u"/..")) {
            // kept: the segment before it stays.
            text.remove_suffix(3);
        } else if (text == u".") {
            return {};
        } else {
            return text;
        }
    }
}

void standardize(std::u16string& text) {
    std::size_t out = 0;
    std::size_t in = 0;
    for (; in < text.size() && text[in] != u'?' && text[in] != u';'; ++in) {
        const bool isDoubled = text[in] == u'/' && out > 0 && text[out - 1] == u'/' &&
                               (out < 2 || text[out - 2] != u':');
        if (!isDoubled) text[out++] = text[in];
    }
    if (in < text.size()) {
        text.erase(out, in - out);
    } else {
        text.resize(withoutDotSegmentsAtEnd({text.data(), out}).size());
    }
}

void trimSuffix(std::u16string& text, char16_t character) {
    while (!text.empty() && text.back() == character) text.pop_back();
}

void removeIndexPage(std::u16string& text) {
    for (const std::u16string_view page : kIndexPages) {
        if (!endsWithAsciiNoCase(text, page)) continue;
        text.resize(text.size() - page.size());
        return;
    }
}

void removeParameters(std::u16string& text, const SimplificationOptions& options) {
    if (!UrlParameters::areIn(text)) return;
    UrlParameters parameters(text);
    if (options.sessionIDs) parameters.removeSessionIDs();
    if (options.analytics) parameters.removeAnalytics();
    if (options.emptyParams) parameters.removeEmptyParams();
    if (parameters.hasChanged()) text = parameters.address();
}

void foldScheme(std::u16string& text) {
    constexpr std::u16string_view kHttp = u"http:";
    constexpr std::u16string_view kHttpWww = u"http://www.";
    constexpr std::u16string_view kHttps = u"https:";
    constexpr std::u16string_view kHttpsWww = u"https://www.";
    if (startsWithAsciiNoCase(text, kHttpWww)) {
        text.replace(0, kHttpWww.size(), u"http://");
    } else if (startsWithAsciiNoCase(text, kHttpsWww)) {
        text.replace(0, kHttpsWww.size(), u"http://");
    } else if (startsWithAsciiNoCase(text, kHttps)) {
        text.replace(0, kHttps.size(), kHttp);
    }
}

void makeLower(std::u16string& text) {
    const std::size_t foreign = findUnitIf(text, [](auto c) { return c >= 0x80; });
    constexpr std::size_t kBlock = 16;  // units; the loop over them becomes a few vector operations
    std::size_t i = 0;
    for (; i + kBlock <= foreign; i += kBlock) {
        for (std::size_t k = 0; k < kBlock; ++k) text[i + k] = asciiLower(text[i + k]);
    }
    for (; i < text.size(); ++i) text[i] = toLower(text[i]);
}

template <typename Step>
std::u16string changed(std::u16string_view text, Step step) {
    std::u16string copy(text);
    step(copy);
    return copy;
}

template <typename Removal>
std::u16string withoutParameters(std::u16string_view address, Removal removal) {
    UrlParameters parameters(address);
    (parameters.*removal)();
    return parameters.hasChanged() ? parameters.address() : std::u16string(address);
}

std::u16string comparisonForm(std::u16string_view address) {
    std::u16string text = stringURLWithoutAnchor(address);
    standardize(text);
    trimSuffix(text, u'/');
    return text;
}

}  // namespace

std::u16string simplifiedStringURLByRemovingSessionIDs(std::u16string_view address,
                                                       const SimplificationOptions& options) {
    std::u16string text(address);
    decodeStandardEscapes(text);
    if (options.anchors) text.resize(lengthWithoutAnchor(text));
    standardize(text);
    removeParameters(text, options);
    if (options.indexPages) {
        constexpr std::u16string_view kMainPage = u"/?page=main.php";
        if (options.sessionIDs && text.ends_with(kMainPage)) {
            text.resize(text.size() - kMainPage.size() + 1);
        } else {
            removeIndexPage(text);
        }
    }
    foldScheme(text);
    trimSuffix(text, u'/');
    makeLower(text);
    return text;
}

std::u16string simplifiedStringURL(std::u16string_view address) {
    return simplifiedStringURLByRemovingSessionIDs(address, {});
}

bool isEqualToStringURL(std::optional<std::u16string_view> address,
                        std::optional<std::u16string_view> other) {
    return address && other && equalNoCase(comparisonForm(*address), comparisonForm(*other));
}

std::u16string stringByReplacingStandardPercentEscapesOfURL(std::u16string_view address) {
    return changed(address, decodeStandardEscapes);
}

std::u16string stringURLWithoutAnchor(std::u16string_view address) {
    return std::u16string(address.substr(0, lengthWithoutAnchor(address)));
}

std::u16string standardizedStringURL(std::u16string_view address) {
    return changed(address, standardize);
}

std::u16string stringURLByRemovingSessionIDs(std::u16string_view address) {
    return withoutParameters(address, &UrlParameters::removeSessionIDs);
}

std::u16string stringURLByRemovingAnalytics(std::u16string_view address) {
    return withoutParameters(address, &UrlParameters::removeAnalytics);
}

std::u16string stringURLByRemovingEmptyParams(std::u16string_view address) {
    return withoutParameters(address, &UrlParameters::removeEmptyParams);
}

std::u16string stringURLByRemovingIndexPages(std::u16string_view address) {
    return changed(address, removeIndexPage);
}

std::u16string stringByTrimmingSuffixCharacter(std::u16string_view text, char16_t character) {
    return changed(text, [character](std::u16string& copy) { trimSuffix(copy, character); });
}

std::u16string stringURLByRemovingTrackingParameters(std::u16string_view address) {
    return withoutParameters(address, &UrlParameters::removeTracking);
}

}  // namespace corvy
