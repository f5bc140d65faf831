#include "tools/report/report.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/temporary_folder.h"
#include "tools/report/page_record.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

Dictionary dictionaryOf(std::string_view json) {
    return *propertyListOfJson(json)->dictionary();
}

// Large enough to be made smaller, which `shrink` below does.
const std::string kPicture = "\x89PNG" + std::string(5000, 'p');
// What ends scripts, comments, texts and attributes in HTML.
constexpr std::string_view kHostile =
    R"({"path":"in/</script><script>document.title='harm'</script>.txt","kind":"<!--<script>","type":"\"'>&<b>","seconds":0,"text":{"string":"</SCRIPT ><img src=x onerror=document.title='harm'>\u2028\ud800","length":50},"properties":{"Title":"<!-- & ]]> </title>","</script>":"x"},"error":"</script>"})"
    "\n";

class ReportTest : public testing::Test {
protected:
    std::string page(ReportOptions options = {}) {
        if (options.folders.empty()) options.folders = {folder_.path()};
        std::string html;
        counts_ = writeReport(
            options,
            [this](std::size_t, const Bytes& picture, std::int64_t side) -> std::optional<Bytes> {
                side_ = side;
                if (picture.chars().ends_with("bad")) return std::nullopt;
                return Bytes::copyOf("\xFF\xD8\xFFjpeg");
            },
            [&](std::string_view text) {
                html += text;
                return true;
            });
        return html;
    }

    static std::size_t count(std::string_view text, std::string_view part) {
        std::size_t found = 0;
        for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++found;
        return found;
    }

    TemporaryFolder folder_;
    ReportCounts counts_;
    std::atomic<std::int64_t> side_ = 0;
};

}  // namespace

TEST(PageRecord, ShortensWhatIsLong) {
    const TemporaryFolder folder;
    folder.write("text/000001.txt", std::string(3199, ' ') + "\xC3\xA4 too far");
    folder.write("text/000002.txt", "  a\t b\r\n\r\n c" + std::string(500, 'd'));
    struct Case {
        const char* name;
        std::string record;
        std::u16string_view key;
        std::string value;  // JSON of what the page has
    };
    const std::string pair = std::string(299, 'x') + "\xF0\x9F\x98\x80y";
    const Case cases[] = {
        {"cut inside a character", R"({"text":{"file":"text/000001.txt","length":9}})", u"snippet",
         ""},
        {"white space", R"({"text":{"file":"text/000002.txt","length":510}})", u"snippet",
         "\"a b\\nc" + std::string(395, 'd') + "\""},
        {"more of it", R"({"text":{"file":"text/000002.txt","length":510}})", u"cut", "true"},
        {"outside", R"({"text":{"file":"../../etc/passwd","length":1}})", u"snippet", ""},
        {"title of the importer first",
         R"({"properties":{"Title":"P"},"metadata":{"kMDItemTitle":"M"}})", u"title", "\"M\""},
        {"half a pair", R"({"properties":{"A":")" + pair + R"("}})", u"properties",
         "{\"A\": \"" + std::string(299, 'x') + "\xE2\x80\xA6\"}"},
        {"depth", R"({"metadata":{"a":{"b":{"c":{"d":{"e":1}}}}}})", u"metadata",
         R"({"a": {"b": {"c": {"d": {}}}}})"},
        {"failure", R"({"error":"locked"})", u"failure", "\"encrypted, needs a password\""},
        {"remark", R"({"error":"noText"})", u"remark", "\"has no text\""},
        {"odd values", R"({"size":"x","kind":3,"thumbnail":{"width":1}})", u"thumbnail", ""},
    };
    for (const Case& c : cases) {
        const Dictionary page = dictionaryOf(pageRecord(dictionaryOf(c.record), folder.path()));
        const PropertyList* value = page.find(c.key);
        EXPECT_EQ(value ? jsonOf(*value, {.plainDictionaries = true}) : "", c.value) << c.name;
    }
    std::string many = R"({"metadata":{"a":0)";
    for (int i = 0; i < 5000; ++i) many += ",\"key" + std::to_string(i) + "\":\"value\"";
    EXPECT_LT(pageRecord(dictionaryOf(many + "}}"), "").size(), 20'000U);
}

TEST_F(ReportTest, LetsNoRecordOutOfItsScript) {
    folder_.write("records.jsonl", kHostile);
    const std::string html = page({.title = "<script>&\""});
    EXPECT_EQ(counts_.records, 1U);
    // One of the page and one of its records, as in a page without records, plus one.
    EXPECT_EQ(count(html, "<script"), 2U);
    EXPECT_EQ(count(html, "</script>"), 2U);
    EXPECT_EQ(count(html, "<!--"), 0U);
    EXPECT_EQ(count(html, "<title>&lt;script&gt;&amp;&quot;</title>"), 1U);
    EXPECT_EQ(count(html, "{{"), 0U);
    // Nothing is asked of anywhere, and what is not the page's own does not run.
    EXPECT_EQ(count(html, "://"), 0U);
    EXPECT_EQ(count(html, "default-src 'none'; img-src data:;"), 1U);
    EXPECT_EQ(count(html, " onerror=document"), 1U);  // as text
    EXPECT_NE(page(), page());                        // by their nonces
}

TEST_F(ReportTest, PutsPicturesInBlocksInTheOrderOfTheirRecords) {
    std::string records;
    for (int i = 0; i < 200; ++i) {
        const bool pictured = i % 3 == 0;
        records += "{\"path\":\"" + std::to_string(i) + "\",\"seconds\":0" +
                   (pictured ? R"(,"thumbnail":{"file":"a.png","width":9,"height":9})" : "") +
                   "}\n";
    }
    records +=
        R"({"path":"missing","seconds":0,"thumbnail":{"file":"no.png","width":9,"height":9}})"
        "\n"
        R"({"path":"out","seconds":0,"thumbnail":{"file":"/etc/a","width":9,"height":9}})"
        "\n"
        R"({"path":"broken","seconds":0,"thumbnail":{"file":"b.png","width":9,"height":9}})"
        "\n"
        R"({"path":"0","seconds":0,"thumbnail":{"file":"small.png","width":9,"height":9}})"
        "\n{\"path\":\"cut off";
    folder_.write("records.jsonl", records);
    folder_.write("a.png", kPicture);
    folder_.write("b.png", kPicture + "bad");
    folder_.write("small.png", "\x89PNGsmall");
    for (const std::size_t jobs : {1, 3}) {
        const std::string html = page({.jobs = jobs});
        EXPECT_EQ(counts_.records, 203U);
        EXPECT_EQ(counts_.pictures, 67U);
        EXPECT_EQ(counts_.picturesMissing, 3U);
        EXPECT_EQ(side_, 256);
        // The last record of path 0 counts, so the others have moved up by one.
        const std::string jpeg = base64Of("\xFF\xD8\xFFjpeg");
        for (const std::string& start :
             {R"(id="pictures-0">{"2":")" + jpeg, R"(id="pictures-1">{"1":")" + jpeg,
              R"(id="pictures-3">{"2":")" + jpeg}) {
            EXPECT_EQ(count(html, start), 1U) << start;
        }
        EXPECT_EQ(count(html, "\"10\":\"" + base64Of("\x89PNGsmall") + "\""), 1U);
    }
    EXPECT_EQ(count(page({.pixels = 0}), "pictures-"), 1U);  // in the script
    const std::string both = page({.folders = {folder_.path(), folder_.path()}, .pixels = 99});
    EXPECT_EQ(counts_.records, 406U);
    EXPECT_EQ(side_, 99);
    EXPECT_THROW(page({.folders = {folder_.path("none")}}), std::runtime_error);
}

TEST_F(ReportTest, ShowsWhatRecordsSayInABrowser) {
    if (std::system("command -v chromium >/dev/null") != 0) GTEST_SKIP() << "no chromium";
    folder_.write(
        "records.jsonl",
        std::string(kHostile) +
            R"({"path":"in/a10.pdf","kind":"pdf","seconds":0,"size":2000,"pages":3,"properties":{"Title":"Zweite Übersicht"}})"
            "\n"
            R"({"path":"in/a9.pdf","kind":"pdf","seconds":0,"size":1,"error":"locked"})"
            "\n"
            R"({"path":"in/a.png","kind":"image","seconds":0,"thumbnail":{"file":"small.png","width":9,"height":9}})"
            "\n");
    folder_.write("small.png", "\x89PNGsmall");
    std::string html = page({.title = "Report"});
    // What a person does, and what the sheet shows then.
    constexpr std::string_view kSteps = R"(
        const seen = [];
        const note = () => seen.push([...document.querySelectorAll("#sheet .name")]
            .map((name) => name.textContent).join("|"));
        const type = (text) => {
            document.getElementById("filter").value = text;
            document.getElementById("filter").dispatchEvent(new Event("input"));
            note();
        };
        const sort = document.getElementById("sort");
        note();
        sort.value = "size"; sort.dispatchEvent(new Event("change")); note();
        document.getElementById("direction").click(); note();
        type("ubersicht PDF");
        document.querySelector("#sheet button").click();
        seen.push(document.getElementById("details-body").textContent);
        document.getElementById("close").click();
        type("nowhere");
        document.getElementById("reset").click();
        document.querySelector("#kinds button:last-child").click(); note();
        seen.push(document.querySelectorAll("#problem-list li").length);
        document.querySelector("#kinds button:last-child").click();
        seen.push(document.querySelector("#sheet img").src);
        document.body.replaceChildren(Object.assign(document.createElement("pre"),
            {textContent: "[[" + seen.join("\n") + "\n" + document.title + "]]"}));)";
    const std::size_t nonce = html.find("<script nonce=\"");
    const std::string tag = html.substr(nonce, html.find('>', nonce) + 1 - nonce);
    html.insert(html.find("</body>"), tag + std::string(kSteps) + "</script>");
    const std::string file = folder_.write("page.html", html), out = folder_.path("dom");
    const std::string command =
        "timeout 60 chromium --headless --no-sandbox --disable-gpu "
        "--window-size=1200,900 --user-data-dir='" +
        folder_.path("profile") + "' --dump-dom 'file://" + file + "' >'" + out + "' 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string dom = folder_.read("dom");
    const std::size_t start = dom.find("[["), end = dom.find("]]", start + 90);
    ASSERT_NE(start, std::string::npos) << dom.substr(0, 2000);
    const std::string hostile = "&lt;!-- &amp; ]]&gt; &lt;/title&gt;";
    const std::string seen = dom.substr(start + 2);
    EXPECT_TRUE(seen.starts_with(hostile + "|Zweite Übersicht|a9.pdf|a.png\n" +
                                 "Zweite Übersicht|a9.pdf|" + hostile + "|a.png\na.png|" + hostile +
                                 "|a9.pdf|Zweite Übersicht\n" + "Zweite Übersicht\n" +
                                 "Zweite Übersichtin/a10.pdfFileSize2.0 kB (2,000 bytes)Pages3"))
        << seen;
    EXPECT_NE(seen.find("\n\n" + hostile + "|a9.pdf\n2\ndata:image/png;base64," +
                        base64Of("\x89PNGsmall") + "\nReport]]"),
              std::string::npos)
        << seen.substr(0, end);
}

}  // namespace corvy::tools
