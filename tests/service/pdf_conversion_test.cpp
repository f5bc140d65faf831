#include "service/pdf_conversion.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "service/pdf_worker.h"
#include "tests/support/pdf_builder.h"

namespace corvy {
namespace {

using test::PdfBuilder;
using test::pdfOf;
using test::showText;

// Runs the worker's operation in this process, and can let it die.
class Worker {
public:
    explicit Worker(int partsUntilDeath = -1) : partsUntilDeath_(partsUntilDeath) {}

    std::optional<PropertyList> run(const platform::WorkerRequest& request) {
        ++runs;
        last = request;
        struct Channel : platform::WorkerChannel {
            void sendPart(const PropertyList& part) override {
                if (left-- == 0) throw Death();
                request->part(part);
            }
            PropertyList ask(const PropertyList&) override { return {}; }
            const platform::WorkerRequest* request = nullptr;
            int left = 0;
        } channel;
        channel.request = &request;
        channel.left = partsUntilDeath_;
        try {
            return convertPdf(request.arguments, channel);
        } catch (const Death&) {
            return std::nullopt;
        }
    }

    int runs = 0;
    platform::WorkerRequest last;

private:
    struct Death {};
    int partsUntilDeath_;
};

std::optional<Dictionary> convert(const std::string& pdf, const PdfConversionOptions& options = {},
                                  Worker worker = Worker()) {
    return attributedStringWithPDF(
        Bytes::copyOf(pdf), options,
        {[&worker](const platform::WorkerRequest& request) { return worker.run(request); }, {}});
}

std::vector<std::u16string> keysOf(const std::optional<Dictionary>& dictionary) {
    std::vector<std::u16string> keys;
    if (dictionary) {
        for (const Dictionary::Entry& entry : *dictionary) keys.push_back(entry.key);
    }
    return keys;
}

using Keys = std::vector<std::u16string>;

TEST(PdfConversion, PlainTextWithAttributesAndSize) {
    const std::string pdf = pdfOf({{showText("First")}, {""}, {showText("Third")}},
                                  "/Title(A title)/Producer(Someone)");
    const auto plain = convert(pdf);
    EXPECT_EQ(keysOf(plain), (Keys{u"String", u"PageCount", u"Title", u"Producer"}));
    EXPECT_EQ(stringOf(*plain, u"String"), u"First\nThird\n");
    EXPECT_EQ(*plain->find(u"PageCount"), PropertyList(std::int32_t{3}));
    EXPECT_EQ(stringOf(*plain, u"Title"), u"A title");

    const auto sized = convert(pdf, {.size = true});
    EXPECT_EQ(keysOf(sized), (Keys{u"String", u"PageCount", u"Title", u"Producer", u"Size",
                                   u"PixelSize", u"Alpha"}));
    EXPECT_EQ(stringOf(*sized, u"Size"), u"{595.276, 841.89}");
    EXPECT_EQ(stringOf(*sized, u"PixelSize"), u"{595.276, 841.89}");
    EXPECT_EQ(*sized->find(u"Alpha"), PropertyList(false));
}

TEST(PdfConversion, AttributesWinOverEqualKeys) {
    const auto out =
        convert(pdfOf({{showText("text")}}, "/PageCount(many)/Alpha(beta)"), {.size = true});
    EXPECT_EQ(stringOf(*out, u"PageCount"), u"many");
    EXPECT_EQ(*out->find(u"Alpha"), PropertyList(false));  // set later
}

TEST(PdfConversion, UnusualDocuments) {
    EXPECT_EQ(keysOf(convert(pdfOf({}), {.size = true})), Keys{u"PageCount"});

    const std::string blank = pdfOf({{""}, {""}});
    EXPECT_EQ(stringOf(*convert(blank), u"String"), u"");

    const std::string locked =
        pdfOf({{showText("x")}}, "/Title<00>/Trapped/True", PdfBuilder("secret"));
    for (const bool attributed : {false, true}) {
        const auto out = convert(locked, {.attributed = attributed, .size = true});
        EXPECT_EQ(keysOf(out),
                  (Keys{u"Locked", u"PageCount", u"Trapped", u"Size", u"PixelSize", u"Alpha"}));
        EXPECT_EQ(*out->find(u"Locked"), PropertyList(true));
    }

    const std::string noFirstPage =
        "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
        "2 0 obj<</Type/Pages/Count 1/Kids[<</Type/Page>>]>>endobj\n"
        "trailer<</Root 1 0 R>>\n";
    const auto out = convert(noFirstPage, {.size = true});
    ASSERT_TRUE(out);
    EXPECT_EQ(stringOf(*out, u"String"), u"");
    EXPECT_EQ(stringOf(*out, u"Size"), u"{0, 0}");

    EXPECT_FALSE(convert(""));
    EXPECT_FALSE(convert("no PDF"));
    EXPECT_FALSE(attributedStringWithPDF(std::nullopt, {}, {}));
}

TEST(PdfConversion, AttributedTextIsRtfd) {
    const auto out = convert(pdfOf({{showText("styled")}}), {.attributed = true});
    EXPECT_EQ(keysOf(out), (Keys{u"String", u"PageCount"}));
    const Bytes* rtfd = out->find(u"String")->bytes();
    ASSERT_TRUE(rtfd);
    EXPECT_TRUE(rtfd->chars().starts_with(std::string_view("rtfd\0\0\0\0\3\0\0\0", 12)));
    EXPECT_NE(rtfd->chars().find("\\f0\\fs24 \\cf0 styled\\\n}"), std::string_view::npos);
    EXPECT_EQ(keysOf(convert(pdfOf({}), {.attributed = true})), Keys{u"PageCount"});
}

TEST(PdfConversion, ProducersDecideWhoReads) {
    struct Case {
        const char16_t* producer;
        bool skipped;
    };
    const Case cases[] = {
        {u"", true},
        {u"Compart", true},
        {u"docbridge compart AG 2", true},
        {u"GPL GHOSTSCRIPT 9", true},
        {u"Mac OS X 10.6 Quartz PDFContext", true},
        {u"system 1 quartz pdfcontext", true},
        {u"Quartz PDFContext, AppendMode 1.1", false},
        {u"Quartz PDFContex", false},
        {u"pdfTeX", false},
        {u"Compar t", false},
    };
    for (const Case& c : cases) EXPECT_EQ(skipsImporter(c.producer), c.skipped);
    EXPECT_TRUE(skipsImporter(std::nullopt));
}

TEST(PdfConversion, AsksTheImporter) {
    const std::string pdfTeX = pdfOf({{showText("own")}}, "/Producer(pdfTeX)");
    struct Case {
        const char* name;
        std::string pdf;
        PdfConversionOptions options;
        std::optional<std::u16string> imported;
        int asked;
        int runs;
        std::optional<std::u16string> string;
    };
    const PdfConversionOptions file{.file = u"/a.pdf"};
    const Case cases[] = {
        {"gives text, which is cleaned", pdfTeX, file, u"e\x0301\xD83D\xDE00", 1, 1, u"\x00E9  "},
        {"gives an empty text", pdfTeX, file, u"", 1, 1, u""},
        {"gives none", pdfTeX, file, std::nullopt, 1, 2, u"own\n"},
        {"no file", pdfTeX, {}, u"imported", 0, 1, u"own\n"},
        {"skipped", pdfOf({{showText("own")}}, "/Producer(Ghostscript)"), file, u"imported", 0, 1,
         u"own\n"},
        {"no attributes", pdfOf({{showText("own")}}), file, u"imported", 0, 1, u"own\n"},
        {"producer is no text", pdfOf({{showText("own")}}, "/Producer 7"), file, u"imported", 0, 1,
         u"own\n"},
        {"no pages", pdfOf({}, "/Producer(pdfTeX)"), file, u"imported", 1, 1, u"imported"},
        {"no pages and none", pdfOf({}, "/Producer(pdfTeX)"), file, std::nullopt, 1, 2,
         std::nullopt},
        {"locked", pdfOf({{""}}, "/Producer(pdfTeX)", PdfBuilder("pw")), file, u"imported", 0, 1,
         std::nullopt},
    };
    for (const Case& c : cases) {
        Worker worker;
        int asked = 0;
        const auto out = attributedStringWithPDF(
            Bytes::copyOf(c.pdf), c.options,
            {[&worker](const platform::WorkerRequest& request) { return worker.run(request); },
             [&](const std::u16string& path) {
                 EXPECT_EQ(path, u"/a.pdf");
                 ++asked;
                 return c.imported;
             }});
        ASSERT_TRUE(out) << c.name;
        EXPECT_EQ(asked, c.asked) << c.name;
        EXPECT_EQ(worker.runs, c.runs) << c.name;
        EXPECT_EQ(stringOf(*out, u"String"), c.string) << c.name;
        EXPECT_TRUE(out->contains(u"PageCount")) << c.name;
    }
}

TEST(PdfConversion, KeepsWhatCameBeforeTheWorkerDied) {
    const std::string pdf =
        pdfOf({{showText("one")}, {showText("two")}, {showText("three")}}, "/Title(T)");
    EXPECT_FALSE(convert(pdf, {}, Worker(0)));
    const auto nothing = convert(pdf, {.size = true}, Worker(1));
    EXPECT_EQ(keysOf(nothing),
              (Keys{u"String", u"PageCount", u"Title", u"Size", u"PixelSize", u"Alpha"}));
    EXPECT_EQ(stringOf(*nothing, u"String"), u"");
    EXPECT_EQ(stringOf(*convert(pdf, {}, Worker(3)), u"String"), u"one\ntwo\n");

    // An attributed text comes as a whole or not at all.
    PdfConversionContext dying;
    dying.runWorker = [](const platform::WorkerRequest& request) {
        EXPECT_EQ(request.limits.addressSpace, std::uint64_t{3} << 30);
        EXPECT_GT(request.limits.cpuSeconds, 60);
        EXPECT_GT(request.limits.wallSeconds, 60);
        request.part(Dictionary{{u"PageCount", std::int32_t{2}}});
        return std::optional<PropertyList>();
    };
    EXPECT_EQ(keysOf(attributedStringWithPDF(Bytes(), {.attributed = true}, dying)),
              Keys{u"PageCount"});
}

TEST(PdfConversion, LongDocumentsArriveWhole) {
    std::vector<test::PdfPage> pages(2000);
    std::u16string expected;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const std::string number = std::to_string(i);
        pages[i].content = showText(number);
        expected += std::u16string(number.begin(), number.end()) + u'\n';
    }
    EXPECT_EQ(stringOf(*convert(pdfOf(pages)), u"String"), expected);
}

// Pages that take as long as they say.
std::optional<std::u16string> timed(const std::vector<double>& seconds, double timeout) {
    double now = 100;
    const PageSource source{seconds.size(), [&](std::size_t index) {
                                now += seconds[index];
                                return std::u16string(1, static_cast<char16_t>(u'a' + index));
                            }};
    return fixedAndNormalizedStringUsingTimeout(source, timeout, [&now] { return now; });
}

TEST(PdfConversion, TimeCountsThePageTwice) {
    struct Case {
        const char* name;
        std::vector<double> seconds;
        double timeout;
        const char16_t* text;
    };
    const Case cases[] = {
        {"in time", {10, 10, 10}, 60, u"a\nb\nc\n"},
        {"a slow first page: 30 + 30", {30, 1}, 60, u"a\n"},
        {"just not", {29.5, 0.25, 1}, 60, u"a\nb\nc\n"},
        {"a slow last page: 40 + 20", {10, 10, 20, 1}, 60, u"a\nb\nc\n"},
        {"many quick ones: 59 + 1", std::vector<double>(26, 59.0 / 25), 60,
         u"a\nb\nc\nd\ne\nf\ng\nh\ni\nj\nk\nl\nm\nn\no\np\nq\nr\ns\nt\nu\nv\nw\nx\ny\n"},
        {"no limit", {1e9, 1e9}, 0, u"a\nb\n"},
        {"less than none", {1e9, 1e9}, -1, u"a\nb\n"},
        {"no pages", {}, 60, nullptr},
    };
    for (const Case& c : cases) {
        const auto expected =
            c.text ? std::optional<std::u16string>(c.text) : std::optional<std::u16string>();
        EXPECT_EQ(timed(c.seconds, c.timeout), expected) << c.name;
    }
}

TEST(PdfConversion, PagesThatThrow) {
    const auto text = [](bool foreign) {
        return fixedAndNormalizedString(
            PageSource{3, [foreign](std::size_t index) -> std::u16string {
                           if (index == 1 && foreign) throw 1;
                           if (index == 1) throw std::runtime_error("broken page");
                           return index == 0 ? u"\xF8FFo\x0308" : u"z";
                       }});
    };
    EXPECT_EQ(text(false), u" \x00F6\nz\n");
    EXPECT_THROW(text(true), int);
}

}  // namespace
}  // namespace corvy
