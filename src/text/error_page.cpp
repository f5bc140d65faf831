#include "text/error_page.h"

#include <algorithm>
#include <iterator>

#include "foundation/character_tables.h"
#include "foundation/string_compare.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr std::u16string_view kErrorTitles[] = {
    u"403 Forbidden",
    u"403 Access Denied",
    u"404 Not Found",
    u"404 Page Not Found",
    u"404 File Not Found",
    u"404 Error File Not Found",
    u"Error 404 Page Not found",
    u"Page Not Found",
    u"Sorry Page Not Found",
    u"Error 404",
};

constexpr std::u16string_view kNotFoundPageNames[] = {
    u"/404.php", u"/404.htm", u"/404.html", u"/404.shtml", u"/404-index.html",
};

constexpr std::u16string_view kNotFoundPhrases[] = {
    u"not found", u"does not exist", u"doesn't exist", u"nicht gefunden", u"nicht vorhanden",
};

constexpr std::u16string_view kServerBusy = u"Sorry server is too busy please try again later";

// Compared over the letters only, so that the seconds may be any number.
constexpr std::u16string_view kRateLimitTexts[] = {
    u"You have exceeded the allowed page load frequency.",
    u"Sorry. You have exceeded the allowed page load frequency. Come back later...",
    u"You have exceeded the allowed page load frequency. Please try again in a minute.",
    u"You have exceeded the allowed page load frequency. Please reload the page in 15 seconds.",
    (u"You have exceeded the allowed page load frequency. Wait a few seconds, then you can refresh "
     u"and continue."),
    (u"You have exceeded the allowed page load frequency. Please wait a few seconds before "
     u"reloading the page."),
    (u"Due to spam, we limit the number of times a page can be loaded. You have exceeded the "
     u"allowed page load frequency."),
    (u"You have exceeded the allowed page load frequency. Please wait a moment then try again. "
     u"Thank you."),
    u"Woah, slow down! You have exceeded the allowed page load frequency.",
};

bool beginsLoosely(std::u16string_view text, std::u16string_view phrase) {
    return hasPrefixNoCaseUsingCharacterSetRep(text, phrase, alphaNumCharacterSetRep());
}

bool isErrorTitle(std::u16string_view title) {
    return std::any_of(std::begin(kErrorTitles), std::end(kErrorTitles), [title](auto entry) {
        return beginsLoosely(title, entry) || hasSuffixNoCase(title, entry);
    });
}

bool beginsWithErrorTitle(std::u16string_view text) {
    return std::any_of(std::begin(kErrorTitles), std::end(kErrorTitles),
                       [text](auto entry) { return beginsLoosely(text, entry); });
}

bool titleTellsError(std::u16string_view title, std::u16string_view text, std::u16string_view url) {
    if (isErrorTitle(title)) {
        if (text.empty() || beginsWithErrorTitle(text)) return true;
        if (containsNoCase(text, u"404 Not Found")) return true;
        if (containsNoCase(text, u"404 (Page not found)")) return true;
    }
    if (containsNoCase(title, u"- 404 page -") &&
        containsNoCase(text, u"page doesn't exist on this server")) {
        return true;
    }
    if (hasSuffixNoCase(url, u"/403.php") && containsNoCase(title, u"403 Access Denied")) {
        return true;
    }
    // kept: this name counts in lower case only.
    return url.ends_with(u"/error.php") && containsNoCase(title, u"solicitada no existe");
}

bool isNamedNotFound(std::u16string_view url) {
    return url.find(u"/404") != url.npos &&
           std::any_of(std::begin(kNotFoundPageNames), std::end(kNotFoundPageNames),
                       [url](auto name) { return hasSuffixNoCase(url, name); });
}

bool tellsNotFound(std::u16string_view text) {
    return std::any_of(std::begin(kNotFoundPhrases), std::end(kNotFoundPhrases),
                       [text](auto phrase) { return containsNoCase(text, phrase); });
}

}  // namespace

bool isErrorPageTitle(std::u16string_view title, std::u16string_view text,
                      std::u16string_view url) {
    if (!title.empty() && titleTellsError(title, text, url)) return true;
    if (text.empty()) return false;
    if (isNamedNotFound(url) && tellsNotFound(text)) return true;
    return equalStringsNoCaseUsingCharacterSetRep(text, kServerBusy, alphaNumCharacterSetRep());
}

bool exceededPageLoadFrequencyTitle(std::u16string_view, std::u16string_view text) {
    return !text.empty() &&
           std::any_of(std::begin(kRateLimitTexts), std::end(kRateLimitTexts), [text](auto entry) {
               return equalStringsNoCaseUsingCharacterSetRep(text, entry, alphaCharacterSetRep());
           });
}

}  // namespace corvy
