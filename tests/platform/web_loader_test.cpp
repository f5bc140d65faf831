#include "platform/web_loader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/reachability.h"
#include "platform/web_addresses.h"
#include "tests/support/processes.h"
#include "tests/support/web_server.h"

namespace corvy::platform {
namespace {

using test::okAnswer;
using test::redirectTo;
using test::WebServer;

std::string answerOf(const std::string& path) {
    if (path == "/a") return okAnswer("A", "Content-Type: Text/CSS; Charset=\"ISO-8859-2\"\r\n");
    if (path == "/to-a") return redirectTo("a#x");
    if (path == "/to-no") return redirectTo("/no");
    if (path == "/no") return okAnswer("never");
    if (path.starts_with("/loop")) return redirectTo("/loop" + path + "x");
    if (path == "/to-file") return redirectTo("file:///etc/hostname");
    if (path == "/large") return okAnswer(std::string(5000, 'x'));
    if (path == "/stall") return {};
    if (path == "/error") return "HTTP/1.1 404 Not Found\r\nConnection: close\r\n\r\nnothing";
    return okAnswer("?");
}

std::string textOf(const std::optional<Resource>& resource) {
    return resource ? std::string(resource->bytes.chars()) : "(none)";
}

std::vector<std::string> load(WebLoader& loader, std::vector<std::u16string> addresses) {
    std::vector<ResourceRequest> requests;
    for (std::u16string& address : addresses) requests.push_back({Url{std::move(address)}});
    std::vector<std::string> texts;
    for (const auto& resource : loader.load(requests)) texts.push_back(textOf(resource));
    return texts;
}

TEST(WebLoader, AsksBeforeEachRequestAndRedirect) {
    WebServer server(answerOf);
    std::vector<std::string> asked;
    WebLoaderOptions options;
    options.maySend = [&](const Url& url, const Url* from) {
        const auto pathOf = [](const Url& of) {
            return toUtf8(partsOfURL(of.absoluteString).path);
        };
        asked.push_back(pathOf(url) + (from ? " from " + pathOf(*from) : ""));
        return !url.absoluteString.ends_with(u"/no");
    };
    WebLoader loader(options);
    EXPECT_EQ(load(loader, {server.address("/a"), server.address("/to-a"), server.address("/a#y"),
                            u"data:text/plain,d%41", u"file:///etc/hostname"}),
              (std::vector<std::string>{"A", "A", "A", "dA", "(none)"}));
    EXPECT_EQ(load(loader, {server.address("/no")}), std::vector<std::string>{"(none)"});
    EXPECT_EQ(load(loader, {server.address("/to-no")}), std::vector<std::string>{"(none)"});
    EXPECT_EQ(load(loader, {server.address("/to-file")}), std::vector<std::string>{"(none)"});
    EXPECT_EQ(asked, (std::vector<std::string>{"/a", "/to-a", "text/plain,d%41", "/etc/hostname",
                                               "/a from /to-a", "/no", "/to-no", "/no from /to-no",
                                               "/to-file"}));
    for (const std::string& path : server.paths()) EXPECT_NE(path, "/no");
    const auto found = loader.load(std::vector<ResourceRequest>{{Url{server.address("/to-a")}}});
    ASSERT_TRUE(found[0]);
    EXPECT_EQ(found[0]->url.absoluteString, server.address("/a#x"));
    EXPECT_EQ(found[0]->mimeType, "text/css");
    EXPECT_EQ(found[0]->charset, "iso-8859-2");
}

TEST(WebLoader, HasBounds) {
    WebServer server(answerOf);
    WebLoaderOptions options;
    options.seconds = 1.5;
    options.mostBytes = 4000;
    options.mostRedirects = 3;
    WebLoader loader(options);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(load(loader, {server.address("/a"), server.address("/large"), server.address("/loop"),
                            server.address("/error"), server.address("/stall"),
                            u"http://127.0.0.1:1/refused"}),
              (std::vector<std::string>{"A", "(none)", "(none)", "(none)", "(none)", "(none)"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    const std::vector<std::string> paths = server.paths();
    EXPECT_EQ(std::count_if(paths.begin(), paths.end(),
                            [](const std::string& path) { return path.starts_with("/loop"); }),
              4);
    EXPECT_EQ(load(loader, {server.address("/b")}), std::vector<std::string>{"(none)"})
        << "time is up";

    WebLoaderOptions small;
    small.mostBytesInAll = 3;
    WebLoader stingy(small);
    EXPECT_EQ(load(stingy, {u"data:,ab", u"data:,cd", u"data:,e"}),
              (std::vector<std::string>{"ab", "(none)", "e"}));
}

TEST(WebLoader, ReadsRegularFilesOnly) {
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("a b%.txt")) << "text";
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    WebLoaderOptions options;
    options.readsFiles = true;
    WebLoader loader(options);
    const std::u16string file = URLOfPath(folder.path("a b%.txt")).absoluteString;
    EXPECT_EQ(load(loader, {file, URLOfPath(folder.path("pipe")).absoluteString,
                            URLOfPath(folder.path("none")).absoluteString, u"file:///tmp"}),
              (std::vector<std::string>{"text", "(none)", "(none)", "(none)"}));
}

TEST(WebLoader, DecodesDataAddresses) {
    struct Case {
        std::u16string address;
        std::string text;
        std::string mimeType;
    };
    const Case cases[] = {
        {u"data:image/png;base64,QUJD", "ABC", "image/png"},
        {u"DATA:;base64,QUI%3D", "AB", ""},
        {u"data:text/html;charset=x;BASE64,QQ", "A", "text/html"},
        {u"data:,a%20b%zz%", "a b%zz%", ""},
        {u"data:;base64,!!", "(none)", ""},
        {u"data:text/plain", "(none)", ""},
        {u"http://h/,a", "(none)", ""},
    };
    for (const Case& c : cases) {
        const auto resource = resourceOfDataURL(Url{c.address});
        EXPECT_EQ(textOf(resource), c.text) << toUtf8(c.address);
        EXPECT_EQ(resource ? resource->mimeType : "", c.mimeType) << toUtf8(c.address);
    }
}

TEST(Reachability, KnowsOwnAndForeignHosts) {
    struct Case {
        const char* host;
        bool isOwn;
    };
    constexpr Case cases[] = {
        {"127.0.0.1", true},
        {"127.9.9.9", true},
        {"[::1]", true},
        {"0x7f.1", true},
        {"::ffff:127.0.0.1", true},
        {"LOCALHOST", true},
        {"a.localhost.", true},
        {"203.0.113.9", false},
        {"224.0.0.1", false},
        {"", false},
        {"localhost.example.invalid", false},
        {"a b", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ((connectionFlagsForHost(c.host) & kIsLocalAddress) != 0, c.isOwn) << c.host;
    }
    EXPECT_EQ(connectionFlagsForHost("127.0.0.1"), kReachable | kIsLocalAddress);
    EXPECT_EQ(connectionFlagsForHost("203.0.113.9") & kIsDirect, 0U);
    EXPECT_EQ(connectionFlagsForHost(std::string_view("127.0.0.1\0.x", 12)), 0U);
}

TEST(WebAddresses, GivesBasesAndTellsLocalOnes) {
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("\xC3\xA9 #.html")) << "x";
    const std::u16string file = URLOfPath(folder.path("\xC3\xA9 #.html")).absoluteString;
    struct Case {
        std::u16string url;
        std::optional<std::u16string> base;
        bool isLocal;
    };
    const Case cases[] = {
        {file, file, true},
        {file + u"x", std::nullopt, true},
        {u"FEED://127.0.0.1/b", u"http://127.0.0.1/b", true},
        {u"feed:Http://127.0.0.1/b", u"Http://127.0.0.1/b", true},
        {u"feed:https://127.0.0.1/b", u"http:https://127.0.0.1/b", true},
        {u"HTTPS://203.0.113.9/", u"HTTPS://203.0.113.9/", false},
        {u"http://u@127.0.0.1:8/", u"http://u@127.0.0.1:8/", true},
        {u"http://127.0.0.1@203.0.113.9/", u"http://127.0.0.1@203.0.113.9/", false},
        {u"httpx://203.0.113.9/", std::nullopt, false},
        {u"ftp://203.0.113.9/", std::nullopt, false},
        {u"data:text/html,x", std::nullopt, true},
        {u"mailto:a@203.0.113.9", std::nullopt, true},
        {u"//203.0.113.9/x", std::nullopt, false},
        {u"", std::nullopt, true},
    };
    for (const Case& c : cases) {
        const auto base = baseURLForWebKit(Url{c.url});
        EXPECT_EQ(base ? std::optional(base->absoluteString) : std::nullopt, c.base)
            << toUtf8(c.url);
        EXPECT_EQ(isLocalURL(Url{c.url}), c.isLocal) << toUtf8(c.url);
    }
    EXPECT_EQ(baseURLForWebKitUsingAnchor(Url{u"feed://h/p?q#old"}, u"n ew\u00E9#")->absoluteString,
              u"http://h/p?q#n%20ew%C3%A9%23");
    EXPECT_EQ(baseURLForWebKitUsingAnchor(Url{u"ftp://h/"}, u"a"), std::nullopt);
}

}  // namespace
}  // namespace corvy::platform
