// The conversion with its worker program in a process of its own.
#include <gtest/gtest.h>

#include <fstream>

#include "foundation/big_endian.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/rich_text/rtfd.h"
#include "platform/web_addresses.h"
#include "service/html_conversion.h"
#include "tests/support/processes.h"
#include "tests/support/web_server.h"

namespace corvy {
namespace {

struct Conversion {
    std::vector<std::string> asked;
    int runs = 0;
    bool hadNetwork = false;
    std::optional<platform::RichDocument> document;
};

Conversion convert(const std::string& html, const HtmlRequest& request,
                   const std::string& refused = "no such thing") {
    static platform::WorkerPool pool(CORVY_BUILD_DIR);
    Conversion conversion;
    HtmlConversionContext context;
    context.runWorker = [&](const platform::WorkerRequest& work) {
        ++conversion.runs;
        conversion.hadNetwork = work.limits.network;
        return pool.run(work);
    };
    context.willSendRequest = [&](const Url& url, const Url* from) -> std::optional<Url> {
        conversion.asked.push_back((from ? "redirected " : "") +
                                   toUtf8(partsOfURL(url.absoluteString).path));
        if (url.absoluteString.find(fromUtf8(refused)) != std::u16string::npos) return std::nullopt;
        return platform::isLocalURL(url) ? std::optional(url) : std::nullopt;
    };
    const auto rtfd = RTFDWithHTML(Bytes::copyOf(html), request, context);
    if (rtfd) conversion.document = platform::documentOfRtfd(*rtfd);
    return conversion;
}

std::string textOf(const Conversion& conversion) {
    return conversion.document ? toUtf8(conversion.document->text.string()) : "(none)";
}

std::string png() {
    std::string bytes = "\x89PNG\r\n\x1A\n....IHDR";
    appendBigEndian(bytes, 8, 4);
    appendBigEndian(bytes, 4, 4);
    return bytes;
}

TEST(HtmlProcess, StaysOffTheNetworkUnlessALocalHostIsAsked) {
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("p.png")) << png();
    std::ofstream(folder.path("s.css")) << "p{font-style:italic}";
    std::ofstream(folder.path("page.html")) << "";
    HtmlRequest request;
    request.baseURL = URLOfPath(folder.path("page.html"));
    const std::string html =
        "<link rel=stylesheet href=s.css><p>a<img src=p.png>"
        "<img src=http://203.0.113.9/x.png>b";
    const Conversion beside = convert(html, request);
    EXPECT_EQ(textOf(beside),
              "a\xEF\xBF\xBC"
              "b");
    EXPECT_EQ(beside.document->text.attachments()[0].file.name, u"p.png");
    EXPECT_EQ(beside.document->text.attachments()[0].size, (Size{6, 3}));
    EXPECT_TRUE(beside.document->text.styleAt(0).italic);
    EXPECT_EQ(beside.runs, 1);
    EXPECT_FALSE(beside.hadNetwork);
    EXPECT_EQ(beside.asked.size(), 3U);

    // A page of the web has no business with files.
    request.baseURL = Url{u"http://h/"};
    const std::string file = toUtf8(URLOfPath(folder.path("p.png")).absoluteString);
    EXPECT_EQ(textOf(convert("a<img src='" + file + "'>", request)), "a");

    test::WebServer server([](const std::string& path) {
        if (path == "/moved") return test::redirectTo("/forbidden");
        return test::okAnswer(png());
    });
    request.baseURL = Url{server.address("/")};
    const Conversion local = convert("a<img src=i.png><img src=moved>b", request, "forbidden");
    EXPECT_EQ(textOf(local),
              "a\xEF\xBF\xBC"
              "b");
    EXPECT_EQ(local.runs, 2);
    EXPECT_TRUE(local.hadNetwork);
    for (const std::string& path : server.paths()) EXPECT_NE(path, "/forbidden");
    EXPECT_EQ(local.asked.back(), "redirected /forbidden");

    request.allowRemoteRequest = true;
    const Conversion remote = convert("a<img src=i.png>", request);
    EXPECT_EQ(textOf(remote), "a\xEF\xBF\xBC");
    EXPECT_EQ(remote.runs, 1);
    EXPECT_TRUE(remote.asked.empty());
}

TEST(HtmlProcess, DecodesPages) {
    struct Case {
        const char* name;
        std::string html;
        std::optional<std::u16string> charset;
        const char* text;
    };
    const Case cases[] = {
        {"nothing", "", std::nullopt, "(none)"},
        {"next to nothing", " ", std::nullopt, ""},
        {"UTF-8 that nobody declares", "\xC3\xA9", std::nullopt, "\xC3\xA9"},
        {"old and western", "\xE9\x80", std::nullopt, "\xC3\xA9\xE2\x82\xAC"},
        {"by the meta", "<meta charset=iso-8859-2>\xE8", std::nullopt, "\xC4\x8D"},
        {"by the transport", "\xE8", u"windows-1251", "\xD0\xB8"},
        {"the transport over the meta", "<meta charset=windows-1252>\xC3\xA9", u"utf-8",
         "\xC3\xA9"},
        {"the meta over a transport that is wrong", "<meta charset=iso-8859-2>\xE8", u"utf-8",
         "\xC4\x8D"},
        {"wide units without a mark", std::string("<\0p\0>\0\xE9\0", 8), u"utf-16le", "\xC3\xA9"},
        {"UTF-16 that is none", "<meta charset=utf-16>\xC3\xA9", std::nullopt, "\xC3\xA9"},
        {"nor by its name", "z\xC3\xA9", u"utf-16", "z\xC3\xA9"},
        {"what Latin 1 has no letters for", "<meta charset=iso-8859-1>\x80\xE9", std::nullopt,
         "\xE2\x82\xAC\xC3\xA9"},
        {"an empty name is none", "\xC3\xA9", u"", "\xC3\xA9"},
        {"a mark over all names",
         std::string("\xFF\xFE"
                     "a\0\x0D\x01",
                     6),
         u"utf-8", "a\xC4\x8D"},
        {"the mark itself is no text",
         "\xEF\xBB\xBF"
         "a",
         std::nullopt, "a"},
    };
    for (const Case& c : cases) {
        HtmlRequest request;
        request.charset = c.charset;
        EXPECT_EQ(textOf(convert(c.html, request)), c.text) << c.name;
    }
}

}  // namespace
}  // namespace corvy
