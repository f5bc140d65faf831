#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/text.h"
#include "platform/type_identifier.h"
#include "tests/importers/imported.h"

namespace corvy {
namespace {

using namespace std::literals;

constexpr auto kText = u"kMDItemTextContent";
constexpr auto kLines = u"org_corvystack_lineCount";
constexpr auto kEncoding = u"org_corvystack_textEncoding";

TEST(TextImporter, DecodesAndCounts) {
    test::expectImported({
        {"a.txt", "\xEF\xBB\xBFÄ\n", kText, R"("Ä\n")"},
        {"a.txt", "\xFF\xFE\xC4\0\n\0"s, kText, R"("Ä\n")"},
        {"a.txt", "\xFE\xFF\0\xC4"s, kEncoding, R"("UTF-16")"},
        {"a.txt", "\xC4pfel \x96 Birnen", kText, R"("Äpfel – Birnen")"},
        {"a.txt", "\xC4pfel", kEncoding, R"("windows-1252")"},
        {"a.txt", "caf\xE9", kText, R"("café")"},
        {"a.txt", "", kLines, "0"},
        {"a.txt", "", kText, ""},
        {"a.txt", "one", kLines, "1"},
        {"a.txt", "one\n", kLines, "1"},
        {"a.txt", "one\r\n\r\nthree", kLines, "3"},
        {"a.txt", "one\rtwo\r", kLines, "2"},
        {"a.txt", "it's 9-12 o'clock", u"org_corvystack_wordCount", "6"},
        {"a.cpp", "int main() {}\n", kText, R"("int main() {}\n")"},
        {"a.json", "{}", kLines, "1"},
    });
}

// Every declared type that is text, but for documents that others read.
TEST(TextImporter, KnowsEveryTextType) {
    struct Row {
        std::string_view type, parents, extensions, mimeTypes, codes;
    };
    static constexpr Row kRows[] = {
#include "platform/type_identifier_table.inc"
    };
    const auto isAny = [](std::u16string_view type, std::initializer_list<const char16_t*> others) {
        return std::ranges::any_of(
            others, [&type](const char16_t* other) { return platform::conformsTo(type, other); });
    };
    int texts = 0;
    for (const Row& row : kRows) {
        const std::u16string type = fromUtf8(row.type);
        const bool isText = isAny(type, {u"public.text", u"public.source-code"}) &&
                            !isAny(type, {u"public.xml", u"public.rtf", u"public.image",
                                          u"com.apple.package", u"com.apple.applescript.script"});
        texts += isText ? 1 : 0;
        EXPECT_TRUE(!isText || test::bundledImporters().importerForType(type)) << row.type;
    }
    EXPECT_GT(texts, 100);
}

}  // namespace
}  // namespace corvy
