#include "foundation/date.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "foundation/system_log.h"

namespace corvy {
namespace {

constexpr double kMidnight = 1231977600;  // 2009-01-15T00:00:00Z
constexpr double kHour = 3600;
constexpr double kTenTwentyThirty = 37230;
constexpr double kNone = -1;

// The machine's zone is that of Berlin: an hour ahead in winter, two in summer.
class DateTest : public testing::Test {
protected:
    DateTest() { setZone("CET-1CEST,M3.5.0,M10.5.0/3"); }
    ~DateTest() override {
        ::unsetenv("TZ");
        ::tzset();
    }
    static void setZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }

    struct Case {
        const char16_t* text;
        double seconds;
    };
    static std::string name(std::u16string_view text) { return {text.begin(), text.end()}; }
    static double secondsOf(std::optional<Date> date) { return date ? date->seconds : kNone; }
    static void expectDates(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            const LogCapture log;
            EXPECT_NEAR(secondsOf(date(c.text)), c.seconds, 1e-6) << name(c.text);
            EXPECT_EQ(log.entries().size(), c.seconds == kNone ? 1U : 0U) << name(c.text);
        }
    }
};

TEST_F(DateTest, ReadsTheFormsOfHTTPAndNothingElse) {
    const Case cases[] = {
        {u"Thu, 15 Jan 2009 10:20:30 GMT", kMidnight + kTenTwentyThirty},
        {u"thu, 15 JAN 2009 10:20:30 gmt", kMidnight + kTenTwentyThirty},
        {u"Thursday, 15-Jan-09 10:20:30 GMT", kMidnight + kTenTwentyThirty},
        {u"Thursday, 15-Jan-69 10:20:30 GMT", -30289170},
        {u"Thursday, 15-Jan-68 10:20:30 UTC", 3093848430},
        {u"Thu Jan 15 10:20:30 2009", kMidnight + kTenTwentyThirty - kHour},
        {u"Thu Jan  1 10:20:30 2009", 1230768000 + kTenTwentyThirty - kHour},
        {u"Thu, 5 Jan 2009 1:2:3 -0130", 1231113600 + 3723 + 5400},
        {u"", kNone},
        {u"Thu, 15 Jan 2009 10:20:30", kNone},
        {u"Thu, 15 Jan 2009 10:20:30 GMT x", kNone},
        {u"Thu, 15 Jan 09 10:20:30 GMT", kNone},
        {u"Thursday, 15 Jan 2009 10:20:30 GMT", kNone},
        {u"Thu, 15-Jan-09 10:20:30 GMT", kNone},
        {u"Thu, 31 Feb 2009 10:20:30 GMT", kNone},
        {u"Thu, 15 Jan 2009 24:20:30 GMT", kNone},
        {u"2009-01-15", kNone},
    };
    const LogCapture log;
    for (const Case& c : cases) {
        EXPECT_EQ(secondsOf(dateFromHTTPHeaderValue(c.text)), c.seconds) << name(c.text);
    }
    EXPECT_TRUE(log.entries().empty());
}

TEST_F(DateTest, ChoosesThePatternByPunctuation) {
    const double local = kMidnight - kHour;
    expectDates({
        {u"20090115", local},
        {u"15012009", local},
        {u"21012009", kNone},  // year 2101, month 20
        {u"12345678", kNone},
        {u"19990115", 916354800},
        {u"15.01.09", local},
        {u"2009.01.15", local},
        {u"15.01.2009", local},
        {u"1.1.2009", kNone},
        {u"15.1.2009", local},
        {u"15.01.2009 10:20:30", local + kTenTwentyThirty},
        {u"15.01.2009 10:20", local + kTenTwentyThirty - 30},
        {u"15/01/2009 10:20:30 GMT", kMidnight + kTenTwentyThirty},
        {u"15/01/2009 10:20:30", local + kTenTwentyThirty},
        {u"15/01/2009", local},
        {u"2009/01/15", local},
        {u"2009-01-15", local},
        {u"15-01-2009", local},
        {u"2009-01-15 10:20:30", local + kTenTwentyThirty},
        {u"15-01-2009 10:20:30", local + kTenTwentyThirty},
        {u"15-01-2009 10:20", local + kTenTwentyThirty - 30},
        {u"Thursday, 15-Jan-09 10:20:30 GMT", kMidnight + kTenTwentyThirty},
        {u"Thu Jan 15 10:20:30 2009", local + kTenTwentyThirty},
        {u"2009-01-15T10:20:30+01:00", local + kTenTwentyThirty},
        {u"15-01-2009T10:20:30+02:00", local + kTenTwentyThirty - kHour},
        {u"  \u00A015.01.2009\n", local},
    });
}

TEST_F(DateTest, ReadsGermanNames) {
    struct Month {
        const char16_t* name;
        double firstNoon;  // 12:00 GMT on the first
    };
    const Month months[] = {
        {u"Jan", 1230811200},       {u"Januar", 1230811200},   {u"Mrz", 1235908800},
        {u"M\u00E4rz", 1235908800}, {u"M\u00C4R", 1235908800}, {u"Mart", 1235908800},
        {u"Mai", 1241179200},       {u"Juni", 1243857600},     {u"Juli", 1246449600},
        {u"Okt", 1254398400},       {u"Oktober", 1254398400},  {u"Dez", 1259668800},
        {u"Dezember", 1259668800},
    };
    for (const Month& month : months) {
        const std::u16string german =
            u"Do, 1 " + std::u16string(month.name) + u" 2009 12:00:00 GMT";
        EXPECT_EQ(secondsOf(date(german)), month.firstNoon) << name(german);
        const std::u16string english =
            u"Thu, 01 " + std::u16string(month.name) + u" 2009 12:00 GMT";
        EXPECT_EQ(secondsOf(date(english)), month.firstNoon) << name(english);
    }
    expectDates({
        {u"Donnerstag, den 15. Januar 2009 um 10:20 Uhr", kMidnight - kHour + 37200},
        {u"15. Dez. 2009", 1260831600},
    });
}

TEST_F(DateTest, ReadsLenientlyWhatHasNoPattern) {
    const double local = kMidnight - kHour;
    expectDates({
        {u"2003-12-13T18:30:02Z", 1071340202},
        {u"2003/12/13T18:30:02Z 1 1", 1071340202},
        {u"2003-12-13T18:30:02.25Z", 1071340202.25},
        {u"2003-12-13T18:30:02.25+01:00", 1071336602.25},
        {u"2003-12-13T18:30:02-08:00", 1071369002},
        {u"2003-12-13T18:30Z", 1071340200},
        {u"2003-12-13t18:30:02+0100", 1071336602},
        {u"2003-12-13 18:30:02 +0100", 1071336602},
        {u"20031213T183002Z", 1071340202},
        {u"20031213183002", 1071340202 - kHour},
        {u"2009-01", 1230764400},
        {u"2009", 1230764400},
        {u"2009-015", local},
        {u"2009-366", kNone},
        {u"January 2009", 1230764400},
        {u"2009 January", 1230764400},
        {u"15th of January, 2009", local},
        {u"Jan 15 '09", local},
        {u"15-Jan-2009", local},
        {u"Thu, 15 Jan 09 10:20:30 +0000", kMidnight + kTenTwentyThirty},
        {u"2009-01-15T10:20:30+00:0", kMidnight + kTenTwentyThirty},
        {u"15 Jan 2009 10:20:30 -530", kMidnight + kTenTwentyThirty + 5.5 * kHour},
        {u"15 Jan 2009 10:20:30 +1", kMidnight + kTenTwentyThirty - kHour},
        {u"15 Jan 2009 10:20:30 Etc/GMT", kMidnight + kTenTwentyThirty},
        {u"Mon Jan 26 16:31:00 2004 UTC", 1075134660},
        {u"26.1.2004, 16:31 Uhr", 1075131060},
        {u"Thu, 05 Apr 2012 9:00:00 PM GMT", 1333659600},
        {u"15 Jan 2009 10:20:30 EST", kMidnight + kTenTwentyThirty + 5 * kHour},
        {u"Thu Jan 15 10:20:30 PST 2009", kMidnight + kTenTwentyThirty + 8 * kHour},
        {u"Thu Jan 15 10:20:30 +0100 2009", local + kTenTwentyThirty},
        {u"Jeudi, 15 Jan 2009", local},
        {u"15/01/09", local},
        {u"8/9/2018 9:00:00", 1536390000},     // day first
        {u"8/9/2018 9:00:00 AM", 1533798000},  // month first
        {u"8/21/2018 9:00:00 AM", 1534834800},
        {u"15 Jan 2009 12:05 a.m.", local + 300},
        {u"15 Jan 2009 12:05 p.m.", local + 12 * kHour + 300},
        {u"10pm, 15 Jan 2009", local + 22 * kHour},
        {u"15 Jan 2009 24:00", local + 24 * kHour},
        {u"Wed May 10 2017 00:00:00 GMT+0000 (Coordinated Universal Time)", 1494374400},
        {u"Wed May 10 2017 00:00:00 GMT+0200 Central European Summer Time", 1494367200},
        {u"15 Jan 2009 10:20:30 Pacific Standard Time", kMidnight + kTenTwentyThirty + 8 * kHour},
        {u"Wed, 24 May 2017, 11:05", 1495616700},
        {u"31.05.2017", 1496181600},
        {u"Thursday, October 6, 2022 - 10:43", 1665045780},
        {u"Thursday, 6-10, 2022 - 10:43 -0500", 1665070980},
        {u"Sun, 15 Dec 2024 12:15 PM", 1734261300},
        {u"Aug 15, 2019", 1565820000},
        {u"Tue, 15 Nov 2022 20:15:04 Z", 1668543304},
        {u"2023-08-29T19:59:32.672Z", 1693339172.672},
        {u"Thu, 02 Sep 2021 20:0:0 Z", 1630612800},
        {u"Fri, 28 May 2021 14:00:00 GMT", 1622210400},
    });
}

TEST_F(DateTest, KnowsDaysByTheClock) {
    // Midnight may pass between the two.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::time_t now = std::time(nullptr);
        std::tm day = *std::localtime(&now);
        day.tm_hour = day.tm_min = day.tm_sec = 0;
        day.tm_isdst = -1;
        day.tm_mday -= 1;
        const auto yesterday = static_cast<double>(std::mktime(&day));
        if (secondsOf(date(u"Yesterday, 10:20")) != yesterday + 37200 && attempt == 0) continue;
        EXPECT_EQ(secondsOf(date(u"gestern")), yesterday);
        EXPECT_EQ(secondsOf(date(u"yesterday at 10:20")), yesterday + 37200);
        break;
    }
}

TEST_F(DateTest, LogsWhatItCannotRead) {
    for (const char16_t* text : {
             u"Tue [x]",
             u"foo",
             u"15 Foo 2009",
             u"32 Jan 2009",
             u"31.02.2009",
             u"2009-13-01",
             u"15 Jan 2009 25:00",
             u"15 Jan 2009 10:61",
             u"1 2 3 4",
             u"10:20",
             u"Jan",
             u"99",
             u"15 Jan Feb 2009",
             u"123456789012345678901234567890",
             u"-",
             u"\u65E5\u672C",
             u"a:b:c",
             u"15 Jan 2009 10:20:30:40",
             u"15 Jan 2009 10:20 FOO",
             u"15 Jan 2009 10:20 +0160",
             u"15 Jan 2009 10:20 +1500x",
             u"2009-01-15T10:20:30+01:00x",
         }) {
        const LogCapture log;
        EXPECT_FALSE(date(text)) << name(text);
        EXPECT_EQ(log.entries(), std::vector{u"Unknown date: " + std::u16string(text)})
            << name(text);
    }
    const LogCapture log;
    for (const char16_t* text : {u"", u" \t\n\u00A0", u"  (15 Jan 2009)", u";"}) {
        EXPECT_FALSE(date(text)) << name(text);
    }
    EXPECT_TRUE(log.entries().empty());
    EXPECT_FALSE(date(std::u16string(1'000'000, u'1')));
    EXPECT_EQ(secondsOf(date(u"15.01.2009" + std::u16string(1'000'000, u' '))), kMidnight - kHour);
    EXPECT_EQ(log.entries().size(), 1U);
}

TEST_F(DateTest, FollowsTheClockOfTheMachine) {
    expectDates({
        {u"29.03.2009 01:59:59", 1238288399},
        {u"29.03.2009 02:30:00", 1238290200},  // leapt over: 03:30 in summer
        {u"29.03.2009 03:00:00", 1238288400},
        {u"25.10.2009 02:30:00", 1256430600},  // twice: the first
        {u"25.10.2009 03:00:00", 1256436000},
        {u"01.07.1909", -1909357200},
    });
    setZone("EST5EDT,M3.2.0,M11.1.0");
    expectDates({{u"15.07.2009", 1247630400}, {u"15.01.2009", kMidnight + 5 * kHour}});
}

TEST_F(DateTest, IsUsableFromManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> wrong(4);
    for (std::size_t i = 0; i < wrong.size(); ++i) {
        threads.emplace_back([&count = wrong[i]] {
            for (int k = 0; k < 2000; ++k) {
                count += secondsOf(date(u"15.07.2009 10:20:30")) != 1247646030;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4));
}

}  // namespace
}  // namespace corvy
