#include "foundation/resource_fork.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "foundation/apple_double.h"
#include "foundation/text.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

using namespace std::string_literals;
using test::TemporaryFolder;

constexpr ResourceType kText = 0x54455854;     // "TEXT"
constexpr ResourceType kStrings = 0x53545223;  // "STR#"

// A fork by hand: "TEXT" 128 (named "a", attribute 4) and -1, "STR#" 5; the name list lies behind.
std::string forkByHand() {
    std::string reserved(240, '\0');
    reserved[0] = 'S';
    reserved[239] = 'A';
    const std::string header = "\0\0\1\0\0\0\1\x11\0\0\0\x11\0\0\0\x54"s;
    return header + reserved +
           "\0\0\0\3abc"
           "\0\0\0\0"
           "\0\0\0\2\1\xFF"s +
           header + "\0\0\0\0\0\0\0\x40\0\x1C\0\x52"s +  // attributes, type list, name list
           "\0\1"
           "TEXT\0\1\0\x12"
           "STR#\0\0\0\x2A"s +
           "\0\x80\0\0\4\0\0\0\0\0\0\0"
           "\xFF\xFF\xFF\xFF\0\0\0\7\0\0\0\0"
           "\0\5\xFF\xFF\0\0\0\x0B\0\0\0\0"s +
           "\1a"s;
}

// Version, then descriptors and bytes of the entries.
std::string sidecarByHand(const std::string& rest, const std::string& version = "\0\2\0\0"s) {
    return "\0\5\x16\7"s + version + "Mac OS X        " + rest;
}

std::u16string text(const std::string& path) {
    return fromUtf8(path);
}

std::string stringOf(const std::optional<Bytes>& bytes) {
    return bytes ? std::string(bytes->chars()) : "(none)";
}

std::string dataIn(const std::string& path, ResourceType type, std::int16_t id) {
    const auto fork = ResourceFork::resourceForkForReadingAtPath(text(path));
    return fork ? stringOf(fork->dataForType(type, id)) : "(no fork)";
}

Bytes bytes(std::string_view content) {
    return Bytes::copyOf(content);
}

TEST(ResourceFork, AddsReplacesAndRemoves) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "content");
    EXPECT_FALSE(ResourceFork::resourceForkForReadingAtPath(text(file)));
    {
        auto fork = ResourceFork::resourceForkForWritingAtPath(text(file));
        ASSERT_TRUE(fork);
        EXPECT_TRUE(fork->removeType(kText, 1));
        EXPECT_TRUE(fork->addData(bytes("one"), kText, 1));
        EXPECT_TRUE(fork->addData(bytes(""), kText, -32768));
        EXPECT_TRUE(fork->addData(bytes("two"), kStrings, 1));
        EXPECT_TRUE(fork->addData(bytes("uno"), kText, 1));
        EXPECT_FALSE(fork->addData(std::nullopt, kText, 1));
        EXPECT_EQ(stringOf(fork->dataForType(kText, 1)), "uno");
        EXPECT_EQ(fork->resources().size(), 3U);
        // On disk at once.
        EXPECT_EQ(dataIn(file, kText, 1), "uno");
    }
    auto fork = ResourceFork::resourceForkForWritingAtPath(text(file));
    ASSERT_TRUE(fork);
    EXPECT_EQ(stringOf(fork->dataForType(kText, -32768)), "");
    EXPECT_TRUE(fork->removeType(kText, 1));
    EXPECT_FALSE(fork->dataForType(kText, 1));
    EXPECT_EQ(dataIn(file, kText, 1), "(none)");
    EXPECT_EQ(dataIn(file, kStrings, 1), "two");
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

TEST(ResourceFork, KeepsWhatStandsBesideIt) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "");
    // The fork lies before a comment; the Finder info holds offsets that count from the file.
    const std::string finderInfo = "TEXTttxt" + std::string(24, '\0') + "\0\0ATTR"s;
    const auto number = [](std::size_t value) {
        return "\0\0"s + static_cast<char>(value >> 8) + static_cast<char>(value & 0xFF);
    };
    const std::size_t start = 26 + 36;
    const std::size_t forkStart = start + finderInfo.size();
    folder.write("._file",
                 sidecarByHand("\0\3"s + "\0\0\0\x09"s + number(start) + number(finderInfo.size()) +
                               "\0\0\0\2"s + number(forkStart) + number(forkByHand().size()) +
                               "\0\0\0\4"s + number(forkStart + forkByHand().size()) + number(7) +
                               finderInfo + forkByHand() + "comment"));
    ::chmod(folder.path("._file").c_str(), 0640);
    {
        auto fork = ResourceFork::resourceForkForWritingAtPath(text(file));
        ASSERT_TRUE(fork);
        EXPECT_EQ(stringOf(fork->dataForType(kText, 128)), "abc");
        EXPECT_EQ(stringOf(fork->dataForType(kText, -1)), "");
        EXPECT_EQ(stringOf(fork->dataForType(kStrings, 5)), "\1\xFF");
        ASSERT_TRUE(fork->addData(bytes("more"), kText, 2));
    }
    const Bytes written = bytes(folder.read("._file"));
    const auto sidecar = AppleDouble::read(written);
    ASSERT_TRUE(sidecar);
    EXPECT_EQ(stringOf(sidecar->entry(9)), finderInfo);
    EXPECT_EQ(written.chars().substr(start, finderInfo.size()), finderInfo);
    EXPECT_EQ(stringOf(sidecar->entry(4)), "comment");
    const auto map = ResourceMap::read(*sidecar->entry(2));
    ASSERT_TRUE(map);
    EXPECT_EQ(map->attributes, 0x40);
    EXPECT_EQ(map->reserved.front(), 'S');
    EXPECT_EQ(map->reserved.back(), 'A');
    ASSERT_EQ(map->resources.size(), 4U);
    EXPECT_EQ(map->find(kText, 128)->attributes, 4);
    EXPECT_EQ(map->find(kText, 128)->name, "a");
    EXPECT_FALSE(map->find(kText, -1)->name);
    struct stat status {};
    ASSERT_EQ(::stat(folder.path("._file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST(ResourceFork, WritesTheStandardFormat) {
    ResourceMap map;
    map.resources = {
        {.type = kText, .id = 128, .attributes = 4, .name = "a", .data = bytes("abc")},
        {.type = kStrings, .id = 5, .attributes = 0, .name = std::nullopt, .data = bytes("\1\xFF")},
        {.type = kText, .id = -1, .attributes = 0, .name = std::nullopt, .data = {}},
    };
    map.attributes = 0x40;
    std::string expected = forkByHand();
    expected[16] = expected[255] = '\0';
    EXPECT_EQ(map.write(), expected);
    // Nothing in it: one less than none is 0xFFFF.
    const std::string empty = *ResourceMap{}.write();
    EXPECT_EQ(empty.substr(256 + 28), "\xFF\xFF");
    EXPECT_TRUE(ResourceMap::read(bytes(empty))->resources.empty());

    EXPECT_EQ(AppleDouble::make("TEXT").withResourceFork("fork"),
              "\0\5\x16\7\0\2\0\0"s + std::string(16, '\0') +
                  "\0\2\0\0\0\x09\0\0\0\x32\0\0\0\x20\0\0\0\2\0\0\0\x52\0\0\0\4"s + "TEXT" +
                  std::string(28, '\0') + "fork");
}

TEST(ResourceFork, RefusesBrokenForks) {
    const std::string good = forkByHand();
    ASSERT_TRUE(ResourceMap::read(bytes(good)));
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(ResourceMap::read(bytes(good.substr(0, length)))) << length;
    }
    struct Change {
        std::size_t at;
        char value;
        const char* what;
    };
    const std::size_t map = 256 + 17;
    for (const Change& change : {
             Change{0, '\x7F', "data far outside"},
             Change{11, '\x10', "data shorter than its resources"},
             Change{15, '\x1B', "map shorter than its header"},
             Change{15, '\x53', "map shorter than its names"},
             Change{256, '\x7F', "length of a resource"},
             Change{map + 24, '\x7F', "type list"},
             Change{map + 26, '\x7F', "name list"},
             Change{map + 29, '\x20', "number of types"},
             Change{map + 35, '\x20', "number of references"},
             Change{map + 37, '\x60', "reference list"},
             Change{map + 28 + 18 + 3, '\x02', "place of a name"},
             Change{map + 28 + 18 + 5, '\x01', "place of data"},
         }) {
        std::string bad = good;
        bad[change.at] = change.value;
        EXPECT_FALSE(ResourceMap::read(bytes(bad))) << change.what;
    }
}

TEST(ResourceFork, BoundsListsThatLieUponEachOther) {
    // 3,000 types, each of the same 8,000 references.
    std::string types = "\x0B\xB7"s;
    const std::size_t list = 2 + 3000 * 8;
    for (int i = 0; i < 3000; ++i) {
        types += "TEXT\x1F\x3F"s + static_cast<char>(list >> 8) + static_cast<char>(list & 0xFF);
    }
    std::string references;
    for (int i = 0; i < 8000; ++i) references += "\0\0\xFF\xFF\0\0\0\0\0\0\0\0"s;
    const std::size_t mapLength = 28 + types.size() + references.size();
    std::string header = "\0\0\0\x10\0\0\0\x14\0\0\0\4\0"s;
    for (const int shift : {16, 8, 0}) header += static_cast<char>(mapLength >> shift & 0xFF);
    const std::string fork =
        header + "\0\0\0\0"s + header + std::string(8, '\0') + "\0\x1C\0\0"s + types + references;
    EXPECT_FALSE(ResourceMap::read(bytes(fork)));
}

TEST(ResourceFork, ReadsForksThatLieElsewhere) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "x");
    folder.write("file.rsrc", forkByHand());
    EXPECT_EQ(dataIn(file, kText, 128), "abc");

    std::string other = forkByHand();
    other.replace(260, 3, "xyz");
    if (::setxattr(file.c_str(), "user.com.apple.ResourceFork", other.data(), other.size(), 0) ==
        0) {
        EXPECT_EQ(dataIn(file, kText, 128), "xyz");
        const std::string info = "TEXTttxt" + std::string(24, '\1');
        ::setxattr(file.c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0);
        // A change moves it to the sidecar, which wins.
        EXPECT_TRUE(ResourceFork::resourceForkForWritingAtPath(text(file))->removeType(kText, -1));
        EXPECT_EQ(stringOf(AppleDouble::read(bytes(folder.read("._file")))->entry(9)), info);
        EXPECT_EQ(dataIn(file, kText, -1), "(none)");
        EXPECT_EQ(dataIn(file, kText, 128), "xyz");
    }
    // Neither a sidecar without a fork nor a broken one stands in the way of reading.
    folder.write("other", "");
    folder.write("other.rsrc", forkByHand());
    folder.write("._other", sidecarByHand("\0\1\0\0\0\x09\0\0\0\x26\0\0\0\2ab"s));
    EXPECT_EQ(dataIn(folder.path("other"), kText, 128), "abc");
    folder.write("._other", "no sidecar");
    EXPECT_EQ(dataIn(folder.path("other"), kText, 128), "abc");
    EXPECT_FALSE(ResourceFork::resourceForkForWritingAtPath(text(folder.path("other")))
                     ->addData(bytes("x"), kText, 1));
    EXPECT_EQ(folder.read("._other"), "no sidecar");
}

TEST(ResourceFork, ReadsSidecarsOfBothVersionsOnly) {
    const std::string entries = "\0\1\0\0\0\2\0\0\0\x26\0\0\0\2ab"s;
    EXPECT_TRUE(AppleDouble::read(bytes(sidecarByHand(entries, "\0\1\0\0"s))));
    EXPECT_EQ(stringOf(AppleDouble::read(bytes(sidecarByHand(entries)))->entry(2)), "ab");
    for (const std::string& bad : {
             sidecarByHand(entries, "\0\3\0\0"s),
             sidecarByHand(entries).substr(0, 39),
             sidecarByHand("\0\2\0\0\0\2\0\0\0\x26\0\0\0\2ab"s),
             sidecarByHand("\0\1\0\0\0\2\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s),
             "\0\5\x16\0\0\2\0\0"s + std::string(18, '\0'),
             ""s,
         }) {
        EXPECT_FALSE(AppleDouble::read(bytes(bad)));
    }
    // Without room for another descriptor the entries move, but for those that hold offsets.
    const auto grown = AppleDouble::read(bytes(sidecarByHand("\0\1\0\0\0\4\0\0\0\x26\0\0\0\2ab"s)))
                           ->withResourceFork("fork");
    ASSERT_TRUE(grown);
    const auto again = AppleDouble::read(bytes(*grown));
    ASSERT_TRUE(again);
    EXPECT_EQ(stringOf(again->entry(4)), "ab");
    EXPECT_EQ(stringOf(again->entry(2)), "fork");
    EXPECT_FALSE(AppleDouble::read(bytes(sidecarByHand("\0\1\0\0\0\x09\0\0\0\x26\0\0\0\x21"s +
                                                       std::string(33, 'f'))))
                     ->withResourceFork("fork"));
}

TEST(ResourceFork, StoresTextsByTheirCount) {
    const TemporaryFolder folder;
    auto fork = ResourceFork::resourceForkForWritingAtPath(text(folder.path("new")));
    ASSERT_TRUE(fork);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("new")));
    EXPECT_TRUE(fork->addString(std::u16string(255, u'x'), kStrings, 1));
    EXPECT_EQ(stringOf(fork->dataForType(kStrings, 1)), "\xFF" + std::string(255, 'x'));
    EXPECT_FALSE(fork->addString(std::u16string(256, u'x'), kStrings, 1));
    EXPECT_EQ(fork->dataForType(kStrings, 1)->size(), 256U);
    EXPECT_TRUE(fork->addString(u"\u00E4\u20ACb\U0001F600", kStrings, 2));
    EXPECT_EQ(stringOf(fork->dataForType(kStrings, 2)), "\5a?b?");
    EXPECT_TRUE(fork->addString(u"", kStrings, 3));
    EXPECT_EQ(stringOf(fork->dataForType(kStrings, 3)), "\0"s);
}

TEST(ResourceFork, RefusesWhatItCannotDo) {
    const TemporaryFolder folder;
    const auto forWriting = [&folder](const std::string& name) {
        return ResourceFork::resourceForkForWritingAtPath(text(folder.path(name)));
    };
    EXPECT_FALSE(forWriting("missing/file"));
    EXPECT_FALSE(forWriting(std::string(256, 'n')));
    std::filesystem::create_directory(folder.path("directory"));
    EXPECT_FALSE(forWriting("directory"));
    // The sidecar's name is too long: no file stays behind.
    EXPECT_FALSE(forWriting(std::string(254, 'n')));
    EXPECT_FALSE(std::filesystem::exists(folder.path(std::string(254, 'n'))));
    EXPECT_FALSE(ResourceFork::resourceForkForReadingAtPath(text(folder.path("missing"))));
    EXPECT_FALSE(ResourceFork::resourceForkForReadingAtPath(std::u16string_view(u"a\0b", 3)));
    folder.write("pipe", "");
    ASSERT_EQ(::mkfifo(folder.path("._pipe").c_str(), 0600), 0);
    EXPECT_FALSE(ResourceFork::resourceForkForReadingAtPath(text(folder.path("pipe"))));

    auto writer = forWriting("file");
    ASSERT_TRUE(writer);
    EXPECT_FALSE(forWriting("file"));
    EXPECT_TRUE(writer->addData(bytes("x"), kText, 1));
    EXPECT_FALSE(writer->addData(bytes(std::string(1 << 24, 'x')), kText, 1));
    EXPECT_EQ(stringOf(writer->dataForType(kText, 1)), "x");
    auto reader = ResourceFork::resourceForkForReadingAtPath(text(folder.path("file")));
    ASSERT_TRUE(reader);
    EXPECT_FALSE(reader->addData(bytes("y"), kText, 1));
    EXPECT_FALSE(reader->removeType(kText, 1));
    EXPECT_TRUE(reader->removeType(kText, 2));

    std::string guarded = forkByHand();
    guarded[256 + 17 + 28 + 18 + 4] = 0x08;
    folder.write("guarded.rsrc", guarded);
    folder.write("guarded", "");
    auto fork = forWriting("guarded");
    ASSERT_TRUE(fork);
    EXPECT_FALSE(fork->removeType(kText, 128));
    EXPECT_FALSE(fork->addData(bytes("x"), kText, 128));
    EXPECT_TRUE(fork->removeType(kText, -1));
}

TEST(ResourceFork, ShowsReadersTheOldOrTheNewFork) {
    const TemporaryFolder folder;
    const std::string file = folder.path("file");
    ASSERT_TRUE(ResourceFork::resourceForkForWritingAtPath(text(file))
                    ->addData(bytes(std::string(100'000, 'a')), kText, 1));
    const pid_t writer = ::fork();
    if (writer == 0) {
        auto fork = ResourceFork::resourceForkForWritingAtPath(text(file));
        for (char c = 'b';; c = c == 'z' ? 'a' : static_cast<char>(c + 1)) {
            if (!fork->addData(bytes(std::string(100'000, c)), kText, 1)) ::_exit(1);
        }
    }
    for (int i = 0; i < 200; ++i) {
        const std::string data = dataIn(file, kText, 1);
        ASSERT_EQ(data.size(), 100'000U);
        EXPECT_EQ(data.find_first_not_of(data[0]), std::string::npos);
    }
    ::kill(writer, SIGKILL);
    int status = 0;
    ::waitpid(writer, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    const std::string left = dataIn(file, kText, 1);
    EXPECT_EQ(left, std::string(100'000, left[0]));
}

TEST(ResourceFork, KeepsTheOldForkWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const std::string file = folder.path("file");
    const pid_t writer = ::fork();
    if (writer == 0) {
        auto fork = ResourceFork::resourceForkForWritingAtPath(text(file));
        bool right = fork && fork->addData(bytes("old"), kText, 1);
        // Longer files cannot be written from here on.
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        right = right && !fork->addData(bytes(std::string(10'000, 'x')), kText, 1) &&
                stringOf(fork->dataForType(kText, 1)) == "old";
        ::_exit(right ? 0 : 1);
    }
    int status = -1;
    ::waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(dataIn(file, kText, 1), "old");
    // No file of the attempt is left.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

TEST(ResourceFork, NamesTypesInMacRoman) {
    EXPECT_EQ(resourceTypeOfString(u"STR#"), kStrings);
    EXPECT_EQ(resourceTypeOfString(u"\u00A9abc"), 0xA9616263);
    EXPECT_EQ(stringOfResourceType(0xA9616263), u"\u00A9abc");
    EXPECT_EQ(stringOfResourceType(0), u"\0\0\0\0"s);
    for (const char16_t* bad : {u"", u"STR", u"STR##", u"STR\u4E00", u"\u4E00"}) {
        EXPECT_FALSE(resourceTypeOfString(bad));
    }
}

}  // namespace
}  // namespace corvy
