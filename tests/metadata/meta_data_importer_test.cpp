#include "metadata/meta_data_importer.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "foundation/text.h"
#include "metadata/fallback_texts.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

using test::writeFile;

std::string compressed(std::string_view text, int windowBits) {
    z_stream state{};
    deflateInit2(&state, 9, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string out(text.size() + 1000, '\0');
    state.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    state.avail_in = static_cast<uInt>(text.size());
    state.next_out = reinterpret_cast<Bytef*>(out.data());
    state.avail_out = static_cast<uInt>(out.size());
    deflate(&state, Z_FINISH);
    out.resize(state.total_out);
    deflateEnd(&state);
    return out;
}
constexpr int kGzip = MAX_WBITS + 16;

// An importer that is as the test wants it.
struct FakeHost final : ImporterHost {
    bool offersInterface(const std::u16string& plugIn) override {
        asked = plugIn;
        return offers;
    }
    std::optional<Dictionary> attributesOf(const ImporterCall& made) override {
        call = made;
        return answer;
    }

    bool offers = true;
    std::optional<Dictionary> answer;
    std::u16string asked;
    std::optional<ImporterCall> call;
};

class MetaDataImporterTest : public testing::Test {
protected:
    MetaDataImporterTest() {
        test::writeBundle(bundle_, test::infoFor("Public.Plain-Text"));
        test::writeBundle(root_ + "/Library/Spotlight/mellel.mdimporter",
                          test::infoFor("org.corvystack.mellel"));
        test::writeBundle(root_ + "/Library/Spotlight/oo3.mdimporter",
                          test::infoFor("com.omnigroup.omnioutliner.oo3-package"));
        auto host = std::make_unique<FakeHost>();
        host_ = host.get();
        importer_.emplace(std::move(host), ImporterPlaces{.root = fromUtf8(root_)});
    }

    std::u16string file(const std::string& name, std::string_view content) const {
        writeFile(folder_.path(name), content);
        return fromUtf8(folder_.path(name));
    }

    test::TemporaryFolder folder_;
    std::string root_ = folder_.path("root");
    std::string bundle_ = root_ + "/Library/Spotlight/A.mdimporter";
    FakeHost* host_ = nullptr;
    std::optional<MetaDataImporter> importer_;
};

TEST_F(MetaDataImporterTest, CallsTheImporterOfTheFilesType) {
    const std::u16string text = file("a.TXT", "x");
    host_->answer = Dictionary{{u"kMDItemTextContent", u"read"}, {u"k", Null()}};
    EXPECT_TRUE(importer_->supportsFileAtPath(text));
    EXPECT_EQ(toUtf8(host_->asked), bundle_);
    EXPECT_EQ(importer_->metaDataOfFileAtPath(text), host_->answer);
    EXPECT_EQ(toUtf8(host_->call->plugIn), bundle_);
    EXPECT_EQ(host_->call->contentType, u"public.plain-text");
    EXPECT_EQ(host_->call->path, text);
    EXPECT_EQ(importer_->textContentOfFileAtPath(text), u"read");
    host_->answer = Dictionary{{u"kMDItemTextContent", Array{u"read"}}};
    EXPECT_FALSE(importer_->textContentOfFileAtPath(text));
    host_->offers = false;
    EXPECT_FALSE(importer_->supportsFileAtPath(text));

    host_->offers = true;
    host_->call.reset();
    for (const std::u16string& other : {file("a.jpg", ""), text + u"x", std::u16string()}) {
        EXPECT_FALSE(importer_->supportsFileAtPath(other));
        EXPECT_FALSE(importer_->metaDataOfFileAtPath(other));
    }
    EXPECT_FALSE(host_->call);
}

TEST_F(MetaDataImporterTest, RemovesElementNamesFromMellelFilesAlone) {
    const Dictionary told{
        {u"a", u"<para>"},
        {u"b", Array{u"<para>"}},
        {u"c", u"<a b>"},
        {u"d", u"<a\u00A0>"},
        {u"e", Array{u"<a>", u"<b>"}},
        {u"f", u"<>"},
        {u"g", u"<"},
        {u"h", u"x<a>"},
        {u"i", Array{}},
        {u"j", std::int64_t{1}},
    };
    host_->answer = told;
    const auto kept = importer_->metaDataOfFileAtPath(file("a.Mellel", "x"));
    std::string keys;
    for (const auto& entry : *kept) keys += toUtf8(entry.key);
    EXPECT_EQ(keys, "cdeghij");
    EXPECT_EQ(importer_->metaDataOfFileAtPath(file("a.txt", "x")), told);
}

TEST_F(MetaDataImporterTest, OutlinesHaveTextWithoutTheirImporter) {
    const std::string outline =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><outline><style-attribute-registry><x>gone</x>"
        "</style-attribute-registry><editor content-size='{1, 2}'>gone</editor><print-info>gone"
        "</print-info><auto-generate-level-styles>gone</auto-generate-level-styles>"
        "<item><p>gr\xC3\xBCn &amp;</p>\n\t <p>&#x2014; late</p></item></outline>";
    const std::u16string text = u"gr\xFCn & \x2014 late";
    struct Case {
        const char* name;
        std::string contents;
        std::optional<std::u16string> text;
    };
    const Case cases[] = {
        {"plain.oo3", outline, text},
        {"zlib.oo3", compressed(outline, MAX_WBITS), text},
        {"gzip.OO3", compressed(outline, kGzip), text},
        {"raw.oo3", compressed(outline, -MAX_WBITS), std::nullopt},
        {"cut.oo3", compressed(outline, kGzip).substr(0, 200), std::nullopt},
        {"bomb.oo3", compressed(std::string(70'000'000, ' '), kGzip), std::nullopt},
        {"unpacked.oo3", " " + outline, std::nullopt},
        {"short.oo3", "<a>b", u"b"},
        {"empty.oo3", "", u""},
    };
    for (const Case& c : cases) {
        file(std::string(c.name) + "/contents.xml", c.contents);
        const auto found = importer_->textContentOfFileAtPath(fromUtf8(folder_.path(c.name)));
        EXPECT_EQ(toUtf8(trimWhite(found.value_or(u"none"))), toUtf8(c.text.value_or(u"none")))
            << c.name;
    }
    const std::u16string plain = fromUtf8(folder_.path("plain.oo3"));
    host_->answer = Dictionary{{u"k", u"told"}};
    EXPECT_EQ(importer_->metaDataOfFileAtPath(plain), host_->answer);
    host_->answer = Dictionary();
    EXPECT_EQ(importer_->metaDataOfFileAtPath(plain)->begin()->key, u"kMDItemTextContent");
    EXPECT_EQ(importer_->metaDataOfFileAtPath(fromUtf8(folder_.path("raw.oo3"))), Dictionary());
    host_->answer.reset();
    EXPECT_FALSE(importer_->metaDataOfFileAtPath(fromUtf8(folder_.path("missing.oo3"))));
    EXPECT_FALSE(importer_->metaDataOfFileAtPath(file("file.oo3", outline)));
}

TEST_F(MetaDataImporterTest, TranscriptsHaveTextWhenThereIsOne) {
    file("a.chatlog/other.txt", "");
    const std::u16string chat = fromUtf8(folder_.path("a.chatlog"));
    EXPECT_FALSE(importer_->metaDataOfFileAtPath(chat));
    file("a.chatlog/Log.XML", "<chat><message>one  &lt;two&gt;</message></chat>");
    EXPECT_EQ(importer_->textContentOfFileAtPath(chat), u"one  <two>");
    file("a.chatlog/more.xml", "<chat>three</chat>");
    EXPECT_FALSE(importer_->metaDataOfFileAtPath(chat));
}

TEST(SharedImporter, IsOneAsLongAsItIsHeld) {
    auto first = MetaDataImporter::sharedImporter();
    EXPECT_EQ(first, MetaDataImporter::sharedImporter());
    const std::weak_ptr<MetaDataImporter> old = first;
    first.reset();
    EXPECT_TRUE(old.expired());
    EXPECT_TRUE(MetaDataImporter::sharedImporter());
}

}  // namespace
}  // namespace corvy
