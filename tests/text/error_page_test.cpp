#include "text/error_page.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

TEST(ErrorPage, IsToldByTitleTextAndAddress) {
    struct Case {
        const char* name;
        std::u16string_view title, text, url;
        bool expected;
    };
    static constexpr Case cases[] = {
        {"nothing at all", u"", u"", u"", false},
        {"title with marks, no text", u"404 - Not Found!", u"", u"", true},
        {"title in front of more", u"page not found | Example", u"", u"", true},
        {"error title over content", u"404 - Not Found", u"Welcome", u"", false},
        {"text begins with another title", u"Error 404", u"403: Forbidden. Go away", u"", true},
        {"title ends in an entry", u"My Site: Page Not Found", u"", u"", true},
        {"the end compares mark by mark", u"My Site: Page Not Found!", u"", u"", false},
        {"text names the error inside", u"My Site: Error 404", u"So: 404 not found.", u"", true},
        {"the same in brackets", u"Error 404", u"It is a 404 (page Not Found)", u"", true},
        {"text without a title", u"", u"404 Not Found", u"", false},
        {"error text under a title of its own", u"Home", u"404 Not Found", u"", false},
        {"404 page of a host", u"Example - 404 Page - Example",
         u"The Page doesn't exist on this server.", u"", true},
        {"the same title over content", u"Example - 404 page - Example", u"Hello", u"", false},
        {"403.php", u"Example: 403 access denied, sorry", u"Hello", u"http://a/403.PHP", true},
        {"403.php with another title", u"Example: denied", u"Hello", u"http://a/403.php", false},
        {"error.php", u"La p\u00E1gina Solicitada No Existe", u"", u"http://a/error.php", true},
        {"Error.php", u"La p\u00E1gina solicitada no existe", u"", u"http://a/Error.php", false},
        {"404 in the address", u"Oh", u"Die Seite wurde nicht gefunden", u"http://a/404.HTML",
         true},
        {"without a title", u"", u"It doesn't exist.", u"http://a/404-index.html", true},
        {"without the phrase", u"", u"It is gone.", u"http://a/404.php", false},
        {"404 not behind a slash", u"", u"nicht gefunden", u"http://a/page404.html", false},
        {"404 not at the end", u"", u"not found", u"http://a/404.html?x", false},
        {"busy", u"Wait", u"Sorry, server is too busy -- please try again later!", u"", true},
        {"busy and more", u"", u"Sorry server is too busy please try again later on", u"", false},
        {"busy at a 404 address", u"", u"Sorry server is too busy please try again later",
         u"http://a/404.htm", true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isErrorPageTitle(c.title, c.text, c.url), c.expected) << c.name;
    }
}

TEST(ErrorPage, PageLoadFrequency) {
    struct Case {
        std::u16string_view text;
        bool expected;
    };
    static constexpr Case cases[] = {
        {u"", false},
        {u"15", false},
        {u"You have exceeded the allowed page load frequency", true},
        {u"YOU have exceeded the allowed page-load frequency.\n\nPlease reload the page in 30 "
         u"seconds.",
         true},
        {u"You have exceeded the allowed page load frequency. Please reload the page in a few "
         u"seconds.",
         false},
        {u"Woah, slow down! You have exceeded the allowed page load frequency.", true},
        {u"Due to spam, we limit the number of times a page can be loaded. You have exceeded the "
         u"allowed page load frequency.",
         true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(exceededPageLoadFrequencyTitle(u"any", c.text), c.expected);
    }
}

}  // namespace
}  // namespace corvy
