// Importers in workers: whatever they do ends with them.
#include <gtest/gtest.h>

#include <chrono>

#include "foundation/text.h"
#include "metadata/importer_host.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

class ImporterProcessTest : public testing::Test {
protected:
    static std::u16string bundle(const std::string& name) {
        return fromUtf8(CORVY_BUILD_DIR "/tests/importers/" + name + ".mdimporter");
    }
    WorkerImporterHost host(double timeout) {
        return WorkerImporterHost(
            [this](const platform::WorkerRequest& request) { return pool_.run(request); }, timeout);
    }
    std::optional<Dictionary> attributes(const std::u16string& name, double timeout = 5) {
        return host(timeout).attributesOf({bundle("Unruly"), u"public.x", name});
    }

    platform::WorkerPool pool_{CORVY_BUILD_DIR};
};

TEST_F(ImporterProcessTest, KeepsWhatAnImporterToldBeforeItFailed) {
    EXPECT_TRUE(host(5).offersInterface(bundle("Unruly")));
    const Dictionary title{{u"kMDItemTitle", u"public.x"}};
    for (const char16_t* name : {u"plain", u"throw", u"abort", u"crash", u"exit", u"memory",
                                 u"nonsense.txt", u"folder/abort.txt"}) {
        EXPECT_EQ(attributes(name), title) << toUtf8(name);
    }
    EXPECT_EQ(attributes(u"nothing"), Dictionary());
    EXPECT_EQ(attributes(u"kinds")->size(), 10U);
    EXPECT_EQ(*attributes(u"thread")->find(u"kMDItemTitle"), PropertyList(u"public.x"));
    // The forked process reaches nothing.
    EXPECT_EQ(attributes(u"fork")->size(), 2U);
    // 512 MB are taken of the 2.6 GB.
    const auto output = attributes(u"output", 20);
    EXPECT_GE(output->size(), 2U);
    EXPECT_LE(output->size(), 6U);
    EXPECT_EQ(attributes(u"plain"), title);
}

TEST_F(ImporterProcessTest, AnImporterThatHangsIsEnded) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(attributes(u"loop", 0.5)->size(), 1U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_F(ImporterProcessTest, WhatCannotBeLoadedGivesNothing) {
    for (const char* name : {"Stillborn", "Missing"}) {
        EXPECT_FALSE(host(5).offersInterface(bundle(name))) << name;
        EXPECT_FALSE(host(5).attributesOf({bundle(name), u"public.x", u"plain"})) << name;
    }
    // More plug-ins than are kept at once.
    const test::TemporaryFolder folder;
    for (int i = 0; i < 30; ++i) {
        const std::string path = folder.path(std::to_string(i));
        test::writeBundle(path, test::infoFor("x", test::factoryEntries({"Counting"})));
        EXPECT_TRUE(host(5).offersInterface(fromUtf8(path)));
    }
    EXPECT_TRUE(attributes(u"plain"));
}

}  // namespace
}  // namespace corvy
