#include "foundation/user_defaults.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace corvy {
namespace {

TEST(UserDefaults, ReadsItsGroupAndNeverWrites) {
    const std::string file = testing::TempDir() + "corvy_defaults_test.conf";
    const std::string content =
        "# comment\n[other]\nlinkableFeedStyleSheet=no\n[defaults]\r\n"
        " linkableFeedStyleSheet = file:///a\\sb\\n\\\\c \nempty=\nbroken line\nx=\xC3\xA9=1\n";
    std::ofstream(file, std::ios::binary) << content;

    UserDefaults defaults(file);
    EXPECT_EQ(defaults.stringForKey(u"linkableFeedStyleSheet"), u"file:///a b\n\\c");
    EXPECT_EQ(defaults.stringForKey(u"empty"), u"");
    EXPECT_EQ(defaults.stringForKey(u"x"), u"é=1");
    EXPECT_EQ(defaults.stringForKey(u"broken line"), std::nullopt);

    defaults.setForProcess(u"x", std::nullopt);
    defaults.setForProcess(u"y", u"2");
    EXPECT_EQ(defaults.stringForKey(u"x"), std::nullopt);
    EXPECT_EQ(defaults.stringForKey(u"y"), u"2");
    EXPECT_TRUE(defaults.synchronize());
    std::ifstream stream(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), content);
    std::remove(file.c_str());
}

TEST(UserDefaults, MissingFileIsEmpty) {
    EXPECT_EQ(UserDefaults("/nonexistent/defaults.conf").stringForKey(u"x"), std::nullopt);
    EXPECT_EQ(UserDefaults(testing::TempDir()).stringForKey(u"x"), std::nullopt);  // a folder
}

}  // namespace
}  // namespace corvy
