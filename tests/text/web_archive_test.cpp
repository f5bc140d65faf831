#include "text/web_archive.h"

#include <gtest/gtest.h>

#include <fstream>

#include "foundation/text.h"
#include "platform/property_list_writer.h"
#include "tests/support/processes.h"

namespace corvy {
namespace {

Bytes bytesOf(const PropertyList& list) {
    return Bytes(platform::binaryPropertyList(list).value());
}

std::optional<WebArchive> archiveOf(const PropertyList& list) {
    return WebArchive::initWithData(bytesOf(list));
}

Dictionary resource(std::string_view data, std::u16string_view url = u"http://a/",
                    std::u16string_view type = u"text/html") {
    return {{u"WebResourceData", Bytes::copyOf(data)},
            {u"WebResourceURL", url},
            {u"WebResourceMIMEType", type}};
}

Dictionary page(const Dictionary& main, Array frames = {}) {
    Dictionary archive{{u"WebMainResource", main}};
    if (!frames.empty()) archive.set(u"WebSubframeArchives", std::move(frames));
    return archive;
}

TEST(WebArchive, TakesTextOfPageAndFramesInOrder) {
    const PropertyList notText = resource("\x89PNG", u"http://a/", u"image/png");
    struct Case {
        const char* name;
        PropertyList list;
        std::u16string text;
    };
    const Case cases[] = {
        {"a page", page(resource("<p>main")), u"\n\nmain"},
        {"only its body", page(resource("<title>no</title><body>yes")), u"\n\nyes"},
        {"lines that were wrapped are joined", page(resource("<body>x<pre>a\nb</pre>")),
         u"\n\nx\n\na b"},
        {"alternative texts, and no indexing directives",
         page(resource("<body><img alt=picture><!--googleoff: all-->here<!--googleon: all-->")),
         u"\n\npicture here"},
        {"frames",
         page(resource("0"), {page(resource("1"), {page(resource("2"))}), page(resource("3"))}),
         u"\n\n0\n\n1\n\n2\n\n3"},
        {"an image with frames", page(*notText.dictionary(), {page(resource("1"))}), u"\n\n1"},
        {"an image", page(*notText.dictionary()), u""},
        {"a page without bytes", page(resource("")), u"\n\n"},
        {"frames without a page", Dictionary{{u"WebSubframeArchives", Array{page(resource("1"))}}},
         u"\n\n1"},
        {"parts that are none",
         Dictionary{{u"WebMainResource", u"page"},
                    {u"WebSubresources", Array{true, resource("x"), Dictionary{}}},
                    {u"WebSubframeArchives", Array{u"frame", Dictionary{}, page(resource("1"))}}},
         u"\n\n1"},
    };
    for (const Case& c : cases) {
        const auto archive = archiveOf(c.list);
        ASSERT_TRUE(archive) << c.name;
        EXPECT_EQ(toUtf8(archive->searchableText()), toUtf8(c.text)) << c.name;
    }
}

TEST(WebArchive, IsNoneWithoutAnyPart) {
    for (const PropertyList& list :
         {PropertyList(Dictionary{}), PropertyList(Array{page(resource("x"))}),
          PropertyList(u"page"),
          PropertyList(
              Dictionary{{u"WebMainResource", Dictionary{{u"WebResourceURL", u"http://a/"}}}}),
          PropertyList(Dictionary{{u"WebMainResource", Dictionary{{u"WebResourceData", u"text"}}}}),
          PropertyList(Dictionary{{u"WebSubframeArchives", page(resource("x"))}})}) {
        EXPECT_FALSE(archiveOf(list));
    }
    const Bytes whole = bytesOf(page(resource("x")));
    ASSERT_TRUE(WebArchive::initWithData(whole));
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        EXPECT_FALSE(WebArchive::initWithData(Bytes::copyOf(whole.span().first(length)))) << length;
    }
}

TEST(WebArchive, DecodesSourceByItsEncoding) {
    struct Case {
        const char* name;
        std::string_view data;
        const char16_t* encoding;  // null: none
        std::u16string source;
    };
    static const Case cases[] = {
        {"declared", "\xE0\xA8", u"windows-1251", u"\x0430\x0401"},
        {"declared UTF-8", "\xC3\xA4", u"utf-8", u"\xE4"},
        {"ISO Latin-1 when nothing is said", "\xE4", nullptr, u"\xE4"},
        {"unknown", "\xE4", u"no-such", u"\xE4"},
        {"named by the page", "<meta charset=koi8-r>\xC1", nullptr, u"<meta charset=koi8-r>\x0430"},
    };
    for (const Case& c : cases) {
        Dictionary main = resource(c.data);
        if (c.encoding) main.set(u"WebResourceTextEncodingName", c.encoding);
        EXPECT_EQ(archiveOf(page(main))->documentSource(), c.source) << c.name;
    }
    EXPECT_EQ(archiveOf(page(resource("x", u"", u"image/png")))->documentSource(), std::nullopt);
    Dictionary untyped = resource("x");
    untyped.remove(u"WebResourceMIMEType");
    EXPECT_EQ(archiveOf(page(untyped))->documentSource(), std::nullopt);
}

TEST(WebArchive, FindsByAddress) {
    Dictionary first =
        page(resource("frame", u"http://a/1"), {page(resource("deep", u"http://a/2"))});
    first.set(u"WebSubresources",
              Array{resource("second", u"http://a/x"), resource("late", u"http://a/y")});
    Dictionary list =
        page(resource("main", u"http://a/"), {first, page(resource("twin", u"http://a/2"))});
    list.set(u"WebSubresources", Array{resource("other main", u"http://a/"),
                                       resource("first", u"http://a/x"), resource("nowhere", u"")});
    const WebArchive archive = archiveOf(list).value();
    struct Case {
        std::optional<Url> url;
        std::string_view resource, archive;  // data; empty: none
    };
    const Case cases[] = {
        {Url{u"http://a/"}, "main", "main"},
        {Url{u"http://a/x"}, "first", ""},
        {Url{u"http://a/y"}, "late", ""},
        {Url{u"http://a/1"}, "frame", "frame"},
        {Url{u"http://a/2"}, "deep", "deep"},
        {Url{u"http://A/"}, "", ""},
        {Url{u""}, "", ""},
        {std::nullopt, "", ""},
    };
    for (const Case& c : cases) {
        const std::string name = c.url ? toUtf8(c.url->absoluteString) : "no address";
        const WebResource* found = archive.subresourceForURL(c.url);
        EXPECT_EQ(found ? found->data.chars() : "", c.resource) << name;
        const WebArchive* frame = archive.subArchiveForURL(c.url);
        EXPECT_EQ(frame ? frame->mainResource->data.chars() : "", c.archive) << name;
    }
    // No address is equal to none.
    const WebArchive nameless = archiveOf(page(resource("x", u""))).value();
    EXPECT_EQ(nameless.subresourceForURL(std::nullopt), nullptr);
    EXPECT_EQ(nameless.subArchiveForURL(std::nullopt), nullptr);
}

TEST(WebArchive, LeavesOutWhatFilesMultiply) {
    Dictionary nested = page(resource("x"));
    for (std::size_t i = 0; i < 120; ++i) nested = page(resource("x"), {nested});
    EXPECT_EQ(archiveOf(nested)->searchableText().size(), 3 * (kMaxFrameDepth + 1));

    // A page of a megabyte, which each of a thousand frames names.
    const Dictionary many =
        page(resource("x"), Array(1000, page(resource(std::string(1 << 20, 'y')))));
    EXPECT_EQ(archiveOf(many)->subframeArchives.size(), kMaxFrameBytes >> 20);
}

TEST(WebArchive, ReadsFiles) {
    const test::TemporaryFolder folder;
    const auto write = [&](const char* name, std::string_view contents) {
        std::ofstream(folder.path(name), std::ios::binary) << contents;
        return fromUtf8(folder.path(name));
    };
    const auto xml = write("xml",
                           "<plist><dict><key>WebMainResource</key><dict>"
                           "<key>WebResourceData</key><data>PHA+eA==</data>"
                           "<key>WebResourceMIMEType</key><string>TEXT/plain</string>"
                           "<key>WebResourceURL</key><string>http://a/</string>"
                           "</dict></dict></plist>");
    const WebArchiveText page = searchableTextOfFile(xml);
    EXPECT_EQ(page.text, u"\n\nx");
    EXPECT_EQ(page.source, u"<p>x");
    EXPECT_EQ(page.baseURL, Url{u"http://a/"});
    EXPECT_EQ(documentSourceOfFile(xml).source, u"<p>x");
    EXPECT_EQ(documentSourceOfFile(xml).baseURL, Url{u"http://a/"});

    const auto image =
        write("image",
              bytesOf(Dictionary{{u"WebMainResource", resource("x", u"http://b/", u"image/png")}})
                  .chars());
    EXPECT_EQ(searchableTextOfFile(image).text, u"");
    EXPECT_EQ(searchableTextOfFile(image).source, std::nullopt);
    EXPECT_EQ(searchableTextOfFile(image).baseURL, Url{u"http://b/"});
    for (const auto& path :
         {write("empty", ""), write("html", "<html><p>x"), write("cut", "bplist00"),
          fromUtf8(folder.path("missing")), std::u16string()}) {
        EXPECT_EQ(searchableTextOfFile(path).text, std::nullopt) << toUtf8(path);
        EXPECT_EQ(searchableTextOfFile(path).baseURL, std::nullopt) << toUtf8(path);
        EXPECT_EQ(documentSourceOfFile(path).source, std::nullopt) << toUtf8(path);
    }
}

TEST(WebArchive, IsToldByItsExtension) {
    EXPECT_TRUE(isWebArchiveExtension(u"WebArchive"));
    for (const auto extension : {u"webarchive2", u"webarchiv", u""}) {
        EXPECT_FALSE(isWebArchiveExtension(extension));
    }
    EXPECT_FALSE(isWebArchiveExtension(std::nullopt));
    EXPECT_TRUE(isWebArchiveFile(u"/a.b/Page.WEBARCHIVE"));
    for (const auto path : {u"/webarchive", u"/a.webarchive/b", u".webarchive", u""}) {
        EXPECT_FALSE(isWebArchiveFile(path));
    }
    EXPECT_FALSE(isWebArchiveFile(std::nullopt));
}

}  // namespace
}  // namespace corvy
