#include "service/importer_worker.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "foundation/text.h"
#include "metadata/importer_exchange.h"
#include "platform/plugin_host.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

using test::factoryEntries;

// Calls the test's importer in this process.
class ImporterWorkerTest : public testing::Test {
protected:
    struct Channel : platform::WorkerChannel {
        void sendPart(const PropertyList& part) override { parts.push_back(part); }
        PropertyList ask(const PropertyList&) override { return {}; }
        std::vector<PropertyList> parts;
    };

    Dictionary argumentsFor(std::string_view more, const char* name = "x") {
        const std::string bundle = folder_.path(std::to_string(++bundles_));
        test::writeBundle(bundle, test::infoFor("x", more));
        return {{importer_exchange::kPlugIn, fromUtf8(bundle)},
                {importer_exchange::kContentType, u"public.x"},
                {importer_exchange::kPath, fromUtf8(name)}};
    }
    bool offers(std::string_view more) {
        Channel channel;
        return offersImporterInterface(argumentsFor(more), channel)->boolean().value();
    }
    // What is told, in order: an empty entry for "there is an interface", keys that are removed.
    std::vector<PropertyList> told(std::string_view more, const char* name = "x") {
        Channel channel;
        const auto result = importAttributes(argumentsFor(more, name), channel);
        EXPECT_EQ(result.has_value(), !channel.parts.empty());
        return channel.parts;
    }
    Dictionary attributes(const char* name) {
        Dictionary all;
        for (const PropertyList& part : told(factoryEntries({"CorvyImporterFactory"}), name)) {
            if (part.dictionary()) all.addEntries(*part.dictionary());
            if (part.string()) all.remove(*part.string());
        }
        all.remove(u"kMDItemTitle");
        return all;
    }
    static int references() {
        void* library = ::dlopen(test::kUnruly.c_str(), RTLD_NOW);
        const auto count = reinterpret_cast<int (*)()>(::dlsym(library, "UnrulyReferences"));
        const int number = count();
        ::dlclose(library);
        return number;
    }

private:
    test::TemporaryFolder folder_;
    int bundles_ = 0;
};

TEST_F(ImporterWorkerTest, WalksFactoriesUntilOneServes) {
    struct Case {
        std::initializer_list<std::string_view> factories;
        bool offers;
        bool imports;
    };
    const Case cases[] = {
        {{"Counting"}, true, true},
        {{"-", "Nothing", "NoSuchFunction", "Counting"}, true, true},
        {{"WithoutInterface", "Counting"}, false, true},  // only the first instance is asked
        {{"WithoutSlots", "Counting"}, false, true},
        {{"WithoutTable", "Counting"}, false, true},
        {{"WithoutInterface"}, false, false},
        {{"Nothing"}, false, false},
        {{}, false, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(offers(factoryEntries(c.factories)), c.offers) << &c - cases;
        EXPECT_EQ(!told(factoryEntries(c.factories)).empty(), c.imports) << &c - cases;
    }
    EXPECT_FALSE(offers("CFPlugInTypes = (x); CFPlugInFactories = YES;"));
    // An interface that can do nothing is one all the same.
    EXPECT_EQ(told(factoryEntries({"WithoutImport"})), std::vector{PropertyList(Dictionary())});
}

TEST_F(ImporterWorkerTest, KeepsTheReferenceToTheInterfaceAlone) {
    int before = references();
    EXPECT_TRUE(offers(factoryEntries({"Counting"})));
    EXPECT_EQ(references() - before, 1);
    before = references();
    EXPECT_FALSE(offers(factoryEntries({"WithoutInterface"})));
    EXPECT_EQ(references() - before, 0);
    before = references();
    const auto parts = told(factoryEntries({"WithoutInterface", "Counting"}));
    // The instance is released before it imports.
    EXPECT_EQ(parts.back(), PropertyList(Dictionary{{u"references", std::int64_t{before + 1}}}));
    EXPECT_EQ(references() - before, 1);
}

TEST_F(ImporterWorkerTest, PlugInsMayRegisterThemselves) {
    EXPECT_TRUE(
        offers("CFPlugInDynamicRegistration = YES; "
               "CFPlugInDynamicRegisterFunction = RegisterUnruly;"));
    EXPECT_FALSE(offers("CFPlugInDynamicRegistration = YES;" + factoryEntries({"Counting"})));
}

TEST_F(ImporterWorkerTest, TakesEveryKindOfValue) {
    const Dictionary expected{
        {u"null", Null()},
        {u"boolean", true},
        {u"integer", std::int64_t{-5'000'000'000}},
        {u"real", 0.5},
        {u"date", Date{-1.5}},
        {u"string", u"second"},
        {u"string16", u"\xD800z"},
        {u"bytes", Bytes::copyOf(std::string_view("\0\1", 2))},
        {u"array", Array{Dictionary{{u"key", u"value"}}}},
    };
    EXPECT_EQ(attributes("kinds"), expected);
    const Dictionary rest = attributes("impossible");
    ASSERT_EQ(rest.size(), 1U) << toUtf8(rest.begin()->key);
    EXPECT_TRUE(rest.contains(u"deep enough"));
    std::u16string keys;
    for (const auto& [key, value] : attributes("much")) keys += key;
    EXPECT_EQ(keys, u"acdefghijklmnopr");
}

TEST_F(ImporterWorkerTest, ThrowingKeepsWhatWasSet) {
    EXPECT_EQ(
        told(factoryEntries({"CorvyImporterFactory"}), "throw"),
        (std::vector<PropertyList>{Dictionary(), Dictionary{{u"kMDItemTitle", u"public.x"}}}));
}

TEST(PlugIn, ReadsUUIDs) {
    EXPECT_TRUE(platform::uuidOfString(u"8b08c4bf-415B-11D8-B3F9-0003936726FC"));
    for (const char16_t* bad :
         {u"", u"8B08C4BF-415B-11D8-B3F9-0003936726F", u"8B08C4BF-415B-11D8-B3F9-0003936726FCA",
          u"8B08C4BF_415B-11D8-B3F9-0003936726FC", u"8B08C4BG-415B-11D8-B3F9-0003936726FC"}) {
        EXPECT_FALSE(platform::uuidOfString(bad)) << toUtf8(bad);
    }
}

}  // namespace
}  // namespace corvy
