// The lines of contacts and calendars, and what is told of both.
#include "importers/support/content_lines.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "foundation/text.h"
#include "tests/importers/imported.h"

namespace corvy {
namespace {

using namespace std::literals;

TEST(ContentLines, Unfold) {
    struct Case {
        std::string_view bytes;
        const char* name;
        const char16_t* text;
    };
    static constexpr Case cases[] = {
        {"NOTE:a\r\n b\r\n\tc\r\nX:y", "NOTE", u"abc"},
        {"\xEF\xBB\xBFnote:x", "NOTE", u"x"},
        {"item1.Tel;a=b:1", "TEL", u"1"},
        {"N;X=\"a:b;c\":v:w", "N", u"v:w"},
        {"no value\n:no name\nA:b", "A", u"b"},
        {R"(A:x\, y\; z\\n\nn\q\)", "A", u"x, y; z\\n\nnq\\"},
        {"A;QUOTED-PRINTABLE;CHARSET=ISO-8859-1:=E4=\n=F6=zz", "A", u"äö=zz"},
        {"A;ENCODING=quoted-printable:x=", "A", u"x"},
        {"A:=C3=A4", "A", u"=C3=A4"},
        {"A:\xE4", "A", u"ä"},
        {"A:", "A", u""},
    };
    for (const Case& c : cases) {
        const auto line = ContentLineReader(c.bytes).next();
        ASSERT_TRUE(line) << c.bytes;
        EXPECT_EQ(line->name, c.name) << c.bytes;
        EXPECT_EQ(line->text(), c.text) << c.bytes;
    }
    EXPECT_FALSE(ContentLineReader("\r\n \r\n").next());
    const std::string folds = "A:" + std::string(kLongestContentLine, 'x') + "\n y\nB:z";
    ContentLineReader reader(folds);
    EXPECT_EQ(reader.next()->value.size(), kLongestContentLine - 2);
    EXPECT_EQ(reader.next()->name, "B");
    const auto parts = ContentLineReader("ADR:;;a\\;b;").next()->parts(u';');
    EXPECT_EQ(parts, (std::vector<std::u16string>{u"", u"", u"a;b", u""}));
}

TEST(ContentLines, TellDates) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    struct Case {
        const char* line;
        std::optional<double> seconds;
    };
    static constexpr Case cases[] = {
        {"D:20240406T090000Z", 1712394000},
        {"D:2024-04-06T09:00:00Z", 1712394000},
        {"D:20240406T090000.25+0100", 1712390400},
        {"D:20240406T0900", 1712394000},
        {"D:20240406", 1712361600},
        {"D;TZID=Europe/London:20240406T100000", 1712394000},
        {"D;TZID=\"/vendor.example/2024/Europe/London\":20240406T100000", 1712394000},
        {"D;TZID=GMT Standard Time:20240406T100000", 1712394000},
        {"D;TZID=Nowhere:20240406T090000", 1712394000},
        {"D;TZID=Europe/London:20240406T090000Z", 1712394000},
        {"D:20240230", std::nullopt},
        {"D:20240406T250000", std::nullopt},
        {"D:20240406Tx", std::nullopt},
        {"D:--0406", std::nullopt},
        {"D:2024", std::nullopt},
        {"D:tomorrow", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto date = ContentLineReader(c.line).next()->date();
        EXPECT_EQ(date ? std::optional(date->seconds) : std::nullopt, c.seconds) << c.line;
    }
}

TEST(ContactsImporter, TellsOnePersonOrMany) {
    constexpr auto kTitle = u"kMDItemTitle";
    constexpr auto kNames = u"kMDItemContactKeywords";
    const auto card = [](std::string lines) {
        return "BEGIN:VCARD\n" + std::move(lines) + "\nEND:VCARD\n";
    };
    const std::string old = card("VERSION:2.1\nN;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Jo;;Dr.");
    const test::Imported example(CORVY_EXAMPLES "/anneliese.vcf");
    EXPECT_EQ(example[u"kMDItemPhoneNumbers"], R"(["+44-1632-960123"])");
    EXPECT_EQ(example[u"kMDItemCity"], R"("Weirbridge")");
    EXPECT_EQ(example[u"kMDItemCountry"], R"("United Kingdom")");
    EXPECT_EQ(example[u"kMDItemOrganizations"], R"(["Valley Walks"])");
    EXPECT_EQ(example[u"kMDItemComment"],
              "\"Knows where the key of the tower hangs; ask her, not the sexton.\\nSpeaks "
              "German.\"");
    test::expectImported({
        {"a.vcf", old, kTitle, R"("Dr. Jo Müller")"},
        {"a.vcf", old + card("FN:Second\nADR:;;;Town"), kNames, R"(["Dr. Jo Müller", "Second"])"},
        {"a.vcf", old + card("FN:Second"), kTitle, ""},
        {"a.vcf", card("FN:A\nEMAIL:MAILTO:a@x.example\nX-AIM:aa"), u"kMDItemEmailAddresses",
         R"(["a@x.example"])"},
        {"a.vcf", card("FN:A\nREV:20240305T083000Z\nREV:bad"), u"kMDItemContentModificationDate",
         "1709627400"},
        {"a.vcf", "BEGIN:VCARD\nFN:never ends", kNames, ""},
        {"a.vcf", "BEGIN:VCARD\nFN:never ends", u"kMDItemTextContent", R"("never ends")"},
    });
}

TEST(CalendarImporter, TellsEventsAndTasks) {
    const test::Imported spring(CORVY_EXAMPLES "/spring.ics");
    EXPECT_EQ(spring[u"kMDItemTitle"], R"("Walks in spring")");
    EXPECT_EQ(spring[u"org_corvystack_startDate"], "1712394000");
    EXPECT_EQ(spring[u"org_corvystack_endDate"], "1712404800");
    EXPECT_EQ(spring[u"kMDItemParticipants"], R"(["Weir, Tom"])");
    EXPECT_EQ(spring[u"kMDItemAuthorEmailAddresses"], R"(["anneliese@walks.example"])");
    EXPECT_EQ(spring[u"org_corvystack_itemCount"], "2");
    EXPECT_EQ(spring.text().find("Leave now"), std::string::npos);
    EXPECT_NE(spring.text().find("bread for the ducks"), std::string::npos);

    const auto event = [](std::string lines) {
        return "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:S\n" + std::move(lines) +
               "\nEND:VEVENT\nEND:VCALENDAR\n";
    };
    test::expectImported({
        {"a.ics", event("GEO:51.5;-0.12"), u"kMDItemLongitude", "-0.12"},
        {"a.ics", event("GEO:51.5;-181"), u"kMDItemLatitude", ""},
        {"a.ics", event("GEO:nan;1"), u"kMDItemLatitude", ""},
        {"a.ics", event("LOCATION:Mill"), u"kMDItemNamedLocation", R"("Mill")"},
        {"a.ics", event(""), u"kMDItemTitle", R"("S")"},
        {"a.ics", event("BEGIN:VALARM\nSUMMARY:Alarm\nEND:VALARM"), u"kMDItemTitle", R"("S")"},
        {"a.ics", event("END:VTODO"), u"kMDItemTitle", R"("S")"},
    });
}

}  // namespace
}  // namespace corvy
