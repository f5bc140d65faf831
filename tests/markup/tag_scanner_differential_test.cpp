// The scanner against the plain loop, call for call.
#include <gtest/gtest.h>

#include <random>
#include <span>

#include "foundation/text.h"
#include "tests/markup/literal_scanner.h"
#include "tests/markup/recorded_calls.h"

namespace corvy {
namespace {

std::vector<RecordedCall> calls(std::u16string_view source) {
    const auto scanner = [](std::u16string_view string, TagHandler handler, void* context) {
        return GetTagsOfString(string, handler, context);
    };
    return callsOf(scanner, source);
}

bool agrees(std::u16string_view source) {
    const auto expected = callsOf(literal::GetTagsOfString, source);
    const auto found = calls(source);
    EXPECT_EQ(found, expected) << toUtf8(source);
    return found == expected;
}

// Every run of up to `most` tokens.
void expectAgreementOnAllRuns(std::span<const std::u16string_view> tokens, int most,
                              std::u16string_view prefix) {
    std::vector<std::size_t> run;
    std::u16string source;
    for (;;) {
        // Counts up in base tokens.size(), lengthening the run at each overflow.
        std::size_t digit = 0;
        while (digit < run.size() && ++run[digit] == tokens.size()) run[digit++] = 0;
        if (digit == run.size()) run.push_back(0);
        if (run.size() > static_cast<std::size_t>(most)) return;
        source = prefix;
        for (const std::size_t index : run) source += tokens[index];
        if (!agrees(source)) return;
    }
}

TEST(TagScannerDifferential, AllShortRunsOfMarks) {
    static constexpr std::u16string_view marks[] = {u"<", u">", u"\"", u"'", u"=",
                                                    u"!", u"-", u"[",  u"]", u"a"};
    expectAgreementOnAllRuns(marks, 5, u"");
    expectAgreementOnAllRuns(marks, 4, u"<a b=\"");
    expectAgreementOnAllRuns(marks, 4, u"<!-");
    // The same with the border of a window inside.
    const std::u16string text(62, u' ');
    expectAgreementOnAllRuns(marks, 4, text);
    expectAgreementOnAllRuns(marks, 4, u"<a b=" + text);
}

TEST(TagScannerDifferential, AllShortRunsOfBodies) {
    static constexpr std::u16string_view tokens[] = {
        u"<script>", u"</script", u"<style", u"</STYLE>", u"<!-", u"-->", u">", u"\"", u"=", u"/"};
    expectAgreementOnAllRuns(tokens, 4, u"<script a");
    expectAgreementOnAllRuns(tokens, 5, u"");
}

TEST(TagScannerDifferential, LongRandomRuns) {
    static constexpr std::u16string_view tokens[] = {
        u"<",
        u">",
        u"\"",
        u"'",
        u"=",
        u"!",
        u"-",
        u"[",
        u"]",
        u"/",
        u"a",
        u" ",
        u"<a b=\"",
        u"\" c=\"",
        u"<p>",
        u"</p>",
        u"<!--",
        u"-->",
        u"<![",
        u"]]>",
        u"<script>",
        u"<script",
        u"</script",
        u"<style>",
        u"</style",
        u"</Script",
        u"<!-",
        u"--!>",
        u"\x00A0",
        u"é",
        u"\xD83D",
        u"\x3C00",
        u"\x013E",
        u"script",
        u"ſ",
        u"some words of text that take a good part of a window",
        u"                    "};
    std::mt19937 random(7);
    std::u16string source;
    for (int round = 0; round < 40000; ++round) {
        source.clear();
        // Few different tokens in a row make deep states likelier.
        const std::size_t kinds = 2 + random() % 12;
        std::vector<std::u16string_view> chosen(kinds);
        for (auto& token : chosen) token = tokens[random() % std::size(tokens)];
        for (std::size_t left = random() % 60; left > 0; --left) source += chosen[random() % kinds];
        if (!agrees(source)) return;
    }
}

// Elements that end inside start tags that end far away: the same units are walked many times.
TEST(TagScannerDifferential, ElementsInsideTheirOwnTags) {
    static constexpr std::u16string_view tokens[] = {u"<script \"='=\"</script>",
                                                     u"<style a=\"</style>",
                                                     u"<script '=\"='</script>",
                                                     u"<a b='",
                                                     u"\"",
                                                     u"' ",
                                                     u" = ",
                                                     u"/",
                                                     u"</script>"};
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        const std::u16string filler(random() % 400, u' ');
        const std::size_t kinds = 1 + random() % std::size(tokens);
        std::u16string source;
        while (source.size() < 12000) {
            source += random() % 8 == 0 ? filler : tokens[random() % kinds];
        }
        source += random() % 2 == 0 ? u"\"'>\">" : u"'\"/>";
        if (!agrees(source)) return;
    }
}

TEST(TagScannerDifferential, HugeInputs) {
    struct Case {
        const char* name;
        std::u16string_view piece;
        int times;
    };
    static constexpr Case cases[] = {
        {"text only", u"0123456789abcdef", 6'500'000},
        {"a million tags", u"<b>x</b>", 500'000},
        {"a million unclosed quotes", u"<a b=\"'", 1'000'000},
        {"nothing but starts", u"<", 3'000'000},
    };
    for (const Case& c : cases) {
        std::u16string source;
        source.reserve(c.piece.size() * static_cast<std::size_t>(c.times));
        for (int i = 0; i < c.times; ++i) source += c.piece;
        EXPECT_TRUE(callsOf(literal::GetTagsOfString, source) == calls(source)) << c.name;
    }
}

// The plain loop would take minutes on these.
TEST(TagScannerDifferential, WorstCasesEndSoon) {
    struct Case {
        std::u16string_view piece, end;
        std::size_t calls;
    };
    static constexpr Case cases[] = {
        {u"<script>", u"", 100'001},
        {u"<script", u"", 1},
        {u"<style><script>", u"", 200'001},
        {u"<script><!-</script>", u"", 100'001},
        {u"<script><!-</script>", u"-->", 100'001},
        {u"<script><!-</script>", u"--></script>", 2},
        {u"<script \"='=\"</script>", u"'\">", 100'001},
        {u"<script \"='=\"</script>", u"'\"", 1},
    };
    for (const Case& c : cases) {
        std::u16string source;
        for (int i = 0; i < 100'000; ++i) source += c.piece;
        source += c.end;
        EXPECT_EQ(calls(source).size(), c.calls) << toUtf8(c.piece) << toUtf8(c.end);
    }
}

}  // namespace
}  // namespace corvy
