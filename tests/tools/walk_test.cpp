#include "tools/import/walk.h"

#include <sys/stat.h>

#include "tests/support/temporary_folder.h"
#include "tools/import/file_type.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

// "NAME" or "NAME!ERROR" of what the walk meets, names below the folder.
std::vector<std::string> walked(const TemporaryFolder& folder, std::vector<std::string> paths,
                                bool recursive = false) {
    Walk walk(std::move(paths), {.recursive = recursive, .isPackage = isPackageName});
    std::vector<std::string> names;
    while (const auto file = walk.next()) {
        std::string name = file->path;
        if (name.starts_with(folder.path() + "/")) name.erase(0, folder.path().size() + 1);
        if (!file->error.empty()) name += "!" + std::string(file->error);
        names.push_back(std::move(name));
    }
    return names;
}

using Names = std::vector<std::string>;

}  // namespace

TEST(Walk, TakesFoldersInTheOrderOfTheirNames) {
    const TemporaryFolder folder;
    for (const char* name : {"b.txt", "a.txt", "Z.txt", "sub/c.txt", "sub/deep/d.txt", ".hidden",
                             ".git/config", "n\xC3\xA4h", "n\xFFh"}) {
        folder.write(name, "x");
    }
    EXPECT_EQ(walked(folder, {folder.path()}),
              (Names{"Z.txt", "a.txt", "b.txt", "n\xC3\xA4h", "n\xFFh"}));
    EXPECT_EQ(
        walked(folder, {folder.path() + "/"}, true),
        (Names{"Z.txt", "a.txt", "b.txt", "n\xC3\xA4h", "n\xFFh", "sub/c.txt", "sub/deep/d.txt"}));
    EXPECT_EQ(walked(folder, {folder.path("sub/c.txt"), folder.path(".hidden"),
                              folder.path("a.txt"), folder.path("a.txt")}),
              (Names{"sub/c.txt", ".hidden", "a.txt", "a.txt"}));
}

TEST(Walk, CountsFoldersThatItLeavesOut) {
    const TemporaryFolder folder;
    folder.write("one/a", "x");
    folder.write("two/b", "x");
    folder.write("memo.rtfd/TXT.rtf", "x");
    Walk walk({folder.path()}, {.isPackage = isPackageName});
    const auto package = walk.next();
    ASSERT_TRUE(package);
    EXPECT_EQ(package->path, folder.path("memo.rtfd"));
    EXPECT_TRUE(package->isFolder);
    EXPECT_FALSE(walk.next());
    EXPECT_EQ(walk.foldersLeftOut(), 2U);
}

TEST(Walk, NeitherLoopsNorWaits) {
    const TemporaryFolder folder;
    folder.write("sub/a.txt", "x");
    std::filesystem::create_symlink("..", folder.path("sub/up"));
    std::filesystem::create_symlink("nowhere", folder.path("broken"));
    std::filesystem::create_symlink("itself", folder.path("itself"));
    std::filesystem::create_symlink("sub/a.txt", folder.path("link.txt"));
    std::filesystem::create_symlink("sub", folder.path("given"));
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(walked(folder, {folder.path()}, true),
              (Names{"broken!notFound", "given!linkToFolder", "itself!notReadable", "link.txt",
                     "pipe!specialFile", "sub/a.txt", "sub/up!linkToFolder"}));
    // A link that is named is meant.
    EXPECT_EQ(walked(folder, {folder.path("given")}, true),
              (Names{"given/a.txt", "given/up!linkToFolder"}));
}

TEST(Walk, TellsWhatIsMissing) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.txt", "12345");
    std::filesystem::create_directory(folder.path("empty"));
    EXPECT_EQ(walked(folder, {folder.path("empty"), folder.path("no.txt"), file + "/b", ""}),
              (Names{"no.txt!notFound", "a.txt/b!notFound", "!notFound"}));
    Walk walk({file}, {});
    const auto found = walk.next();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->size, 5U);
    EXPECT_TRUE(found->given);
    EXPECT_GT(found->modified.tv_sec, 1'700'000'000);
}

}  // namespace corvy::tools
