#include "tools/import/file_importer.h"

#include "foundation/text.h"
#include "tests/support/temporary_folder.h"
#include "tests/tools/fake_helper.h"
#include "tools/import/file_type.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

class FileImporterTest : public testing::Test {
protected:
    // The record of a file with these contents, by a helper that answers as told.
    ImportRecord imported(const std::string& name, std::string_view contents, RemoteValue answer,
                          ImportSettings settings = {.metadata = false}) {
        HelperSlot slot(
            [&]() -> std::unique_ptr<OwnedHelper> {
                auto helper = std::make_unique<FakeHelper>();
                helper->fake.answer = [&](const auto& arguments) {
                    if (const std::u16string* path = arguments[0]->string()) {
                        EXPECT_EQ(toUtf8(*path), folder_.path(name));
                    } else {
                        EXPECT_EQ(arguments[1]->bytes()->chars(), contents);
                    }
                    return answer;
                };
                return helper;
            },
            1);
        Walk walk({folder_.write(name, contents)}, {.isPackage = isPackageName});
        return FileImporter(slot, settings,
                            [](const Bytes& tiff) {
                                // As long as a PNG's header, with 3 x 2 pixels in it.
                                return Bytes::copyOf(std::string(tiff.chars()) +
                                                     std::string("\0\0\0\3\0\0\0\2", 8));
                            })
            .import(*walk.next(), 7)
            .value();
    }

    TemporaryFolder folder_;
};

}  // namespace

TEST_F(FileImporterTest, TakesWhatThePdfGives) {
    const ImportRecord record =
        imported("a.pdf", "%PDF-1",
                 PropertyList(Dictionary{
                     {u"String", u"Text\n"}, {u"PageCount", std::int32_t{2}}, {u"Title", u"T"}}));
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(record.text->string, u"Text\n");
    EXPECT_EQ(record.pages, 2);
    EXPECT_EQ(record.properties, (Dictionary{{u"Title", u"T"}}));
    EXPECT_EQ(record.size, 6U);
}

TEST_F(FileImporterTest, NamesWhatIsWrong) {
    const auto dictionary = [](std::initializer_list<Dictionary::Entry> entries) {
        return PropertyList(Dictionary(entries));
    };
    struct Case {
        const char* name;
        std::string_view contents;
        RemoteValue answer;
        std::string_view kind, error;
    };
    const Case cases[] = {
        {"locked.pdf", "%PDF-1", dictionary({{u"Locked", true}, {u"PageCount", 1}}), "pdf",
         "locked"},
        {"scan.pdf", "%PDF-1", dictionary({{u"String", u" \n\u00A0"}}), "pdf", "noText"},
        {"pageless.pdf", "%PDF-1", dictionary({{u"PageCount", 0}}), "pdf", "noText"},
        {"damaged.pdf", "%PDF-1", std::nullopt, "pdf", "damaged"},
        {"damaged", "%PDF-1", std::nullopt, "pdf", "damaged"},
        {"fake.pdf", "GIF89a", std::nullopt, "pdf", "notAPDF"},
        {"odd.pdf", "%PDF-1", PropertyList(true), "pdf", "damaged"},
        {"empty.pdf", "", std::nullopt, "pdf", "empty"},
        {"broken.webarchive", "bplist00", dictionary({}), "webarchive", "damaged"},
        {"image.webarchive", "bplist00", dictionary({{u"String", u""}}), "webarchive", "noText"},
        {"empty.webarchive", "", std::nullopt, "webarchive", "empty"},
        {"page.rss", "<html><rss>", std::nullopt, "feed", "damaged"},
        {"textless.html", "<img src=a><script>x</script>", std::nullopt, "html", "noText"},
        {"blank.txt", " \r\n", std::nullopt, "text", "noText"},
        {"picture.png", "\x89PNG", std::nullopt, "image", "damaged"},
        {"picture", "\x89PNG\r\n\x1A\n", std::nullopt, "image", "damaged"},
        {"data", "\x01\x02", std::nullopt, "other", ""},
    };
    for (const Case& c : cases) {
        const ImportRecord record = imported(c.name, c.contents, c.answer);
        EXPECT_EQ(record.error, c.error) << c.name;
        EXPECT_EQ(record.kind, c.kind) << c.name;
        EXPECT_FALSE(record.text) << c.name;
    }
}

TEST_F(FileImporterTest, AddsWhatImportersTell) {
    const PropertyList told(Dictionary{{u"kMDItemTextContent", u"told"}, {u"kMDItemTitle", u"T"}});
    const Dictionary metadata{{u"kMDItemTitle", u"T"}};
    ImportRecord record = imported("a.txt", "own", told, {});
    EXPECT_EQ(record.text->string, u"own");
    EXPECT_EQ(record.metadata, metadata);
    record = imported("a.chm", "\1", told, {});
    EXPECT_EQ(record.text->string, u"told");
    EXPECT_EQ(record.metadata, metadata);
    for (const char* name : {"a.eml", "a.mbox", "a.vcf", "a.ics"}) {
        EXPECT_EQ(imported(name, "own", told, {}).text->string, u"told") << name;
        EXPECT_EQ(imported(name, "own", std::nullopt, {}).text->string, u"own") << name;
        EXPECT_EQ(imported(name, "own", told, {.metadata = false}).text->string, u"own") << name;
    }
    EXPECT_FALSE(imported("b.chm", "\1", told, {.texts = false}).text);
    EXPECT_TRUE(imported("empty.chm", "", told, {}).metadata.empty());
    EXPECT_EQ(imported("photo.jpg", "\x89PNG\r\n\x1A\n", std::nullopt, {}).type, "public.png");
}

TEST_F(FileImporterTest, TakesWhatTheWebArchiveGives) {
    const PropertyList answer(Dictionary{
        {u"String", u"\n\nText"}, {u"Source", u"<title>T</title>Text"}, {u"URL", u"http://a/"}});
    ImportRecord record = imported("a.webarchive", "bplist00", answer);
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(record.text->string, u"\n\nText");
    EXPECT_EQ(record.properties, (Dictionary{{u"Title", u"T"}, {u"URL", u"http://a/"}}));

    record = imported("a.webarchive", "bplist00", answer, {.texts = false, .metadata = false});
    EXPECT_FALSE(record.text);
    EXPECT_EQ(record.properties.size(), 2U);
}

TEST_F(FileImporterTest, TakesWhatTheMovieGives) {
    const auto answer = [](float seconds, const char16_t* size) {
        return Dictionary{{u"Duration", seconds}, {u"Size", size}};
    };
    Dictionary movie = answer(2.5F, u"{640, 480}");
    movie.set(u"Thumbnail", Bytes::copyOf("sixteen of bytes"));
    const std::string out = folder_.path("out");
    std::filesystem::create_directories(out + "/thumbnails");
    ImportRecord record = imported("a.mov", "moov", PropertyList(movie), {.outFolder = out});
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(record.kind, "movie");
    EXPECT_EQ(record.duration, 2.5F);
    EXPECT_EQ(record.properties, (Dictionary{{u"Size", u"{640, 480}"}}));
    ASSERT_TRUE(record.thumbnail);
    EXPECT_EQ(record.thumbnail->file, "thumbnails/000007.png");
    EXPECT_EQ(record.thumbnail->width, 3);
    EXPECT_EQ(record.thumbnail->height, 2);
    const ImportSettings without{.outFolder = out, .thumbnails = false};
    EXPECT_FALSE(imported("a.mov", "moov", PropertyList(movie), without).thumbnail);
    EXPECT_FALSE(imported("a.mov", "moov", PropertyList(movie)).thumbnail);

    record = imported("a.mp3", "ID3", PropertyList(answer(3, u"{0, 0}")));
    EXPECT_EQ(record.error, "");
    EXPECT_TRUE(record.properties.empty());
    EXPECT_EQ(imported("a.mp4", "?", PropertyList(answer(0, u"{0, 0}"))).error, "damaged");
}

TEST_F(FileImporterTest, ReadsHtmlByItsCharset) {
    struct Case {
        const char* name;
        std::string_view contents;
        std::u16string_view text, title = {};
    };
    const Case cases[] = {
        {"a.html", "<title> A&amp;B </title><body><p>gr\xC3\xBCn<p>&auml;", u"gr\xFCn\n\n\xE4",
         u"A&B"},
        {"a.php", "<!DOCTYPE html><title>\xC3\xA4</title><p>b", u"\xE4\n\nb", u"\xE4"},
        {"a.html", "<meta charset=gb2312>gr\xC3\xBCn", u"gr\xFCn"},
        {"a.HTM", "<meta charset=windows-1251><body>\xE0", u"\x0430"},
        {"a.xhtml", "<?xml version='1.0' encoding='iso-8859-1'?><p>\xE4</p>", u"\xE4"},
        {"a.html", {"\xFF\xFEg\0r\0\xFC\0n\0", 10}, u"gr\xFCn"},
        {"a.html", "no markup", u"no markup"},
    };
    for (const Case& c : cases) {
        const ImportRecord record = imported(c.name, c.contents, std::nullopt);
        EXPECT_EQ(record.kind, "html") << c.name;
        ASSERT_TRUE(record.text) << c.name;
        EXPECT_EQ(trimWhite(*record.text->string), c.text) << c.name;
        EXPECT_EQ(stringOf(record.properties, u"Title").value_or(u""), c.title) << c.name;
    }
}

TEST_F(FileImporterTest, FindsFeedsInXml) {
    constexpr std::string_view kFeed =
        "<?xml version='1.0' encoding='iso-8859-1'?><rss><title><![CDATA[F\xE4]]></title>"
        "<item><title>T</title><description>&lt;p>d</description></item>";
    for (const char* name : {"a.xml", "a.rss", "a.rdf"}) {
        const ImportRecord record = imported(name, kFeed, std::nullopt);
        EXPECT_EQ(record.kind, "feed") << name;
        EXPECT_EQ(trimWhite(*record.text->string), u"T\nd") << name;
        EXPECT_EQ(record.properties,
                  (Dictionary{{u"Title", u"F\u00E4"}, {u"ItemCount", std::int64_t{1}}}));
    }
    const ImportRecord record = imported("a.xml", "<a>b", std::nullopt);
    EXPECT_EQ(record.kind, "text");
    EXPECT_EQ(record.text->string, u"<a>b");
}

TEST_F(FileImporterTest, WritesTextsBeside) {
    std::filesystem::create_directory(folder_.path("text"));
    ImportRecord record = imported("a.txt", "gr\xFCn", std::nullopt, {.outFolder = folder_.path()});
    EXPECT_EQ(record.text->file, "text/000007.txt");
    EXPECT_EQ(record.text->length, 4U);
    EXPECT_FALSE(record.text->string);
    EXPECT_EQ(folder_.read("text/000007.txt"), "gr\xC3\xBCn");

    record = imported("a.txt", "x", std::nullopt, {.outFolder = folder_.path("missing")});
    EXPECT_EQ(record.error, "notWritable");
    record = imported("a.txt", "x", std::nullopt, {.texts = false});
    EXPECT_FALSE(record.text);
    EXPECT_EQ(record.error, "");
}

}  // namespace corvy::tools
