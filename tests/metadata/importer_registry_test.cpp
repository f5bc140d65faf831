#include "metadata/importer_registry.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "foundation/system_log.h"
#include "foundation/text.h"
#include "metadata/importer_tool.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

using test::infoFor;
using test::writeBundle;

class ImporterRegistryTest : public testing::Test {
protected:
    ImporterRegistryTest() {
        places_.root = fromUtf8(root_);
        places_.userLibrary = fromUtf8(root_ + "/user");
        places_.home = fromUtf8(root_ + "/home");
    }

    std::string in(const std::string& path) const { return root_ + path; }
    void addBundle(const std::string& path, std::string_view info) const {
        writeBundle(in(path), info);
    }
    // The tool lists these on standard error, with something before and after.
    void addTool(std::string_view list, std::string_view more = "") const {
        const std::string path = in("/usr/bin/mdimport");
        test::writeFile(path, "#!/bin/sh\n[ \"$1\" = -L ] || exit\necho ignored\ncat >&2 <<'E'\n" +
                                  std::string(list) + "\nE\n" + std::string(more));
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    std::string listOf(std::initializer_list<const char*> paths) const {
        std::string list = "2026-11-21 mdimport[7:8] Paths: id(501) (\n";
        for (const char* path : paths) list += "    \"" + in(path) + "\",\n";
        return list + ")";
    }
    ImporterRegistry load() {
        const LogCapture capture;
        ImporterRegistry registry = loadMDImporters(places_);
        log_.clear();
        for (const std::u16string& entry : capture.entries()) log_ += shortened(entry) + "\n";
        return registry;
    }
    // The order of the importers, as names below the test's folder.
    std::string order() {
        std::string names;
        for (const std::u16string& path : load().MDImporterArray) names += shortened(path) + " ";
        return names;
    }
    std::string shortened(std::u16string_view text) const {
        std::string line = toUtf8(text);
        const std::size_t at = line.find(root_);
        return at == std::string::npos ? line : line.erase(at, root_.size());
    }

    test::TemporaryFolder folder_;
    std::string root_ = folder_.path("root");
    ImporterPlaces places_;
    std::string log_;
};

TEST_F(ImporterRegistryTest, OrdersTheToolsListByFoldersFromItsEnd) {
    addTool(listOf({"/elsewhere/E1.mdimporter", "/user/Spotlight/U1.mdimporter",
                    "/Library/Spotlight/A1.mdimporter", "/elsewhere/E2.mdimporter",
                    "/System/Library/Spotlight/S1.mdimporter", "/user/Spotlight/U2.mdimporter",
                    "/Library/SpotlightOther/A2.mdimporter", "/user/Spotlight/D.mdimporter",
                    "/System/Library/Spotlight/S2.mdimporter"}));
    addBundle("/user/Spotlight/D.mdimporter", "{CFPlugInDynamicRegistration = YES;}");
    const std::string ordered =
        "/user/Spotlight/U2.mdimporter /user/Spotlight/U1.mdimporter "
        "/Library/SpotlightOther/A2.mdimporter /Library/Spotlight/A1.mdimporter "
        "/System/Library/Spotlight/S2.mdimporter /System/Library/Spotlight/S1.mdimporter "
        "/elsewhere/E1.mdimporter /elsewhere/E2.mdimporter ";
    EXPECT_EQ(order(), ordered);
    EXPECT_EQ(log_, "");
    addBundle("/System/Library/Spotlight/Mail.mdimporter", infoFor("x"));
    EXPECT_EQ(order(), "/System/Library/Spotlight/Mail.mdimporter " + ordered);
    EXPECT_EQ(log_, "Added: /System/Library/Spotlight/Mail.mdimporter\n");
}

TEST_F(ImporterRegistryTest, ScansFoldersWhenTheToolListsNothing) {
    addBundle("/user/Spotlight/U.MDImporter", infoFor("x"));
    addBundle("/user/Spotlight/Other.bundle", infoFor("x"));
    addBundle("/Library/Spotlight/b.mdimporter", infoFor("x"));
    addBundle("/Library/Spotlight/a.mdimporter", infoFor("x"));
    addBundle("/Library/Spotlight/D.mdimporter", infoFor("x", "CFPlugInDynamicRegistration = 1;"));
    addBundle("/System/Library/Spotlight/Mail.mdimporter", infoFor("x"));
    addBundle("/Applications/App/Contents/Library/Spotlight/I.mdimporter", infoFor("x"));
    addBundle("/home/Applications/Own.app/Contents/Library/Spotlight/H.mdimporter", infoFor("x"));
    std::filesystem::create_directories(in("/Developer"));
    std::filesystem::create_symlink("Applications", in("/Developer/Applications"));
    const std::string scanned =
        "/Applications/App/Contents/Library/Spotlight/I.mdimporter /user/Spotlight/U.MDImporter "
        "/Library/Spotlight/a.mdimporter /Library/Spotlight/b.mdimporter "
        "/System/Library/Spotlight/Mail.mdimporter ";
    EXPECT_EQ(order(), scanned);
    EXPECT_EQ(log_, "");
    EXPECT_TRUE(load().skippedImporters.contains(fromUtf8(in("/Library/Spotlight/D.mdimporter"))));
    struct Case {
        std::string_view output;
        bool scans;
    };
    const Case cases[] = {
        {"", true},
        {"no list", true},
        {"(\n)", true},
        {"(\n \"/a\"", true},
        {"(\n \"/gr\xC3\xBCn\"\n)", true},
        {"\xFF (\n \"/a\"\n)", false},
    };
    for (const Case& c : cases) {
        addTool(c.output);
        EXPECT_EQ(order(), c.scans ? scanned : "") << c.output;
    }
}

TEST_F(ImporterRegistryTest, ToolsThatMisbehaveDoNotHoldItUp) {
    // A child of the tool keeps its output open.
    addTool(listOf({"/a"}), "sleep 60 &\n");
    EXPECT_EQ(order(), "/a ");
    // More than a pipe holds.
    addTool(std::string(300'000, 'x') + listOf({"/b"}));
    EXPECT_EQ(order(), "/b ");
    std::filesystem::permissions(in("/usr/bin/mdimport"), std::filesystem::perms::owner_read);
    EXPECT_THROW(load(), std::system_error);
}

TEST_F(ImporterRegistryTest, ReadsWhatImportersDeclare) {
    const std::string base = "/Library/Spotlight/";
    const auto add = [&](const char* name, std::string_view info) { addBundle(base + name, info); };
    const std::string executable = "CFBundleExecutable = Unruly;";
    add("A.mdimporter", "{" + executable + R"( CFBundleDocumentTypes = (
            {CFBundleTypeRole = MDImporter;
             LSItemContentTypes = (Public.A, ("x"), "DYN.AH62D4RV4GE80G4DR", public.a);},
            {CFBundleTypeRole = Editor; LSItemContentTypes = (public.b);},
            {CFBundleTypeRole = mdimporter; LSItemContentTypes = (public.c);},
            {CFBundleTypeRole = MDImporter; LSItemContentTypes = public.d;},
            text,
            {CFBundleTypeRole = MDImporter; LSItemContentTypes = (public.e);} ); })");
    add("B.mdimporter", "{" + executable + "}");
    add("C.mdimporter", "{" + executable + "CFBundleDocumentTypes = ();}");
    add("D.mdimporter",
        "{" + executable + "CFBundleDocumentTypes = ({CFBundleTypeRole = Viewer;});}");
    add("E.mdimporter", "{CFBundleExecutable = Other; CFBundleDocumentTypes = 1;}");
    add("_TagsMail.mdimporter", infoFor("public.f"));
    add("F.mdimporter", infoFor("public.f", "CFBundleIdentifier = org.tagsmail.importer;"));
    test::writeFile(in(base + "G.mdimporter"), "a file");
    std::filesystem::create_symlink("H.mdimporter", in(base + "H.mdimporter"));

    const ImporterRegistry registry = load();
    EXPECT_EQ(registry.MDImporterArray.size(), 9U);
    EXPECT_EQ(registry.contentTypesForMDImporter.size(), 1U);
    const std::u16string a = fromUtf8(in(base + "A.mdimporter"));
    EXPECT_EQ(registry.contentTypesForMDImporter.at(a),
              (std::vector<std::u16string>{u"public.a", u"com.microsoft.compiled-html-help",
                                           u"public.a", u"public.e"}));
    EXPECT_EQ(log_,
              "Skipped: /Library/Spotlight/B.mdimporter\n"
              "Skipped: /Library/Spotlight/C.mdimporter\n"
              "Skipped: /Library/Spotlight/F.mdimporter\n"
              "Skipped: /Library/Spotlight/_TagsMail.mdimporter\n");
    EXPECT_EQ(registry.skippedImporters.size(), 8U);
    EXPECT_EQ(*registry.importerForType(u"public.e"), a);
    EXPECT_EQ(registry.importerForType(u"public.E"), nullptr);
    EXPECT_EQ(registry.importerForType(u"public.f"), nullptr);
}

TEST_F(ImporterRegistryTest, FoldersOfEveryKindAreBorne) {
    test::writeFile(in("/Library/Spotlight"), "a file");
    std::filesystem::create_directories(in("/System/Library"));
    std::filesystem::create_symlink("Spotlight", in("/System/Library/Spotlight"));
    addBundle("/user/Spotlight/0.mdimporter", infoFor("public.x"));
    for (int i = 1; i < 1000; ++i) {
        std::filesystem::create_symlink("0.mdimporter",
                                        in("/user/Spotlight/" + std::to_string(i) + ".mdimporter"));
    }
    const ImporterRegistry registry = load();
    EXPECT_EQ(registry.MDImporterArray.size(), 1000U);
    EXPECT_EQ(shortened(*registry.importerForType(u"public.x")), "/user/Spotlight/0.mdimporter");
}

TEST(ImporterPlaces, FollowTheEnvironment) {
    const auto places = [](const char* root, const char* data) {
        setenv("CORVYSTACK_ROOT", root, 1);
        setenv("XDG_DATA_HOME", data, 1);
        const ImporterPlaces result = standardImporterPlaces();
        unsetenv("CORVYSTACK_ROOT");
        unsetenv("XDG_DATA_HOME");
        return toUtf8(result.librarySpotlight() + u" " + result.userSpotlight());
    };
    EXPECT_EQ(places("/", "/data"), "/Library/Spotlight /data/corvystack/Spotlight");
    EXPECT_EQ(places("/a/", "/data"), "/a/Library/Spotlight /data/corvystack/Spotlight");
    setenv("HOME", "/nowhere", 1);
    EXPECT_EQ(places("/a", "relative"),
              "/a/Library/Spotlight /nowhere/.local/share/corvystack/Spotlight");
}

}  // namespace
}  // namespace corvy
