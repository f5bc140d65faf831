#include "tools/markup/tag_listing.h"

#include <gtest/gtest.h>

namespace corvy::tools {
namespace {

TEST(TagListing, IndentsByTheElementsAround) {
    EXPECT_EQ(tagListing(u"<!DOCTYPE html>\n<html><p>One\n <b>two</b><br>three\n</html>x"),
              "     1  <!DOCTYPE html>\n"
              "     2  <html>\n"
              "     2    <p>\n"
              "            One\n"
              "     3      <b>\n"
              "              two\n"
              "     3      </b>\n"
              "     3      <br>\n"
              "            three\n"
              "     4  </html>\n"
              "        x\n");
}

TEST(TagListing, KeepsLinesReadable) {
    struct Case {
        const char* name;
        std::u16string_view page;
        const char* listing;
    };
    static constexpr Case cases[] = {
        {"a script is one tag, cut in its middle",
         u"<script>\nvar a = 'something long enough to be cut';\n</script>\n<i>",
         "     1  <script> var … ut'; </script>\n     4  <i>\n"},
        {"text cut at its end", u"0123456789012345678901234567890123456789",
         "        01234567890123456789012345678…\n"},
        {"control characters do not get through", u"a\x1B[2J\u009Bb<b\x07>",
         "        a\xEF\xBF\xBD[2J\xEF\xBF\xBD"
         "b\n     1  <b\xEF\xBF\xBD>\n"},
        {"an end tag without a start", u"</b><i></b></i>",
         "     1  </b>\n     1  <i>\n     1    </b>\n     1  </i>\n"},
        {"comments open nothing", u"<!-- c --><i>", "     1  <!-- c -->\n     1  <i>\n"},
        {"nothing", u"", ""},
    };
    for (const Case& c : cases) EXPECT_EQ(tagListing(c.page, {.width = 38}), c.listing) << c.name;
}

TEST(TagListing, IsBounded) {
    // Indentation stops, so a line never grows with the depth.
    std::u16string deep;
    for (int i = 0; i < 2000; ++i) deep += u"<div>";
    EXPECT_LT(tagListing(deep).size(), 2000u * 60);
}

TEST(TagListing, GivesAllFieldsAsJson) {
    EXPECT_EQ(tagListing(u"a<b>c", {.json = true}),
              "{\"kind\": \"element\", \"tagLocation\": 1, \"tagLength\": 3, \"textLocation\": 0, "
              "\"nameLocation\": 2, \"nameLength\": 1, \"name\": \"b\", \"text\": \"a\", "
              "\"tag\": \"<b>\"}\n"
              "{\"kind\": \"end\", \"tagLocation\": 5, \"tagLength\": 0, \"textLocation\": 4, "
              "\"text\": \"c\", \"tag\": \"\"}\n");
}

}  // namespace
}  // namespace corvy::tools
