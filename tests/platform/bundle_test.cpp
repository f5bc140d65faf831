#include "platform/bundle.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "foundation/text.h"
#include "platform/property_list_writer.h"
#include "tests/importers/bundle_builder.h"
#include "tests/support/processes.h"
#include "tests/support/temporary_folder.h"

namespace corvy::platform {
namespace {

using Outcome = ExecutableCheck::Outcome;
using test::writeFile;

TEST(Bundle, ReadsItsInfoInEveryForm) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("A.mdimporter");
    const auto infoOf = [&](std::string_view content) {
        writeFile(path + "/Contents/Info.plist", content);
        return Bundle::open(pathFromBytes(path)).value().info();
    };
    const Dictionary expected{{u"K", u"V"}};
    const std::string binary(Bytes(*binaryPropertyList(expected)).chars());
    EXPECT_EQ(infoOf("{K=V;}"), expected);
    EXPECT_EQ(infoOf("<plist><dict><key>K</key><string>V</string></dict></plist>"), expected);
    EXPECT_EQ(infoOf(binary), expected);
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += '(';
    for (const std::string& broken :
         {std::string(), std::string("("), binary.substr(0, 20), std::string("(K)"), deep,
          "{K=\"" + std::string(kMaxBundleInfo, 'x') + "\";}"}) {
        EXPECT_TRUE(infoOf(broken).empty()) << broken.substr(0, 20);
    }
    EXPECT_FALSE(Bundle::open(pathFromBytes(path + "/Contents/Info.plist")));
    EXPECT_FALSE(Bundle::open(pathFromBytes(folder.path("missing"))));
}

TEST(Bundle, ReadsFlagsAndTheExecutablesName) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("A.b.mdimporter");
    writeFile(path + "/Contents/Info.plist",
              "{a=YES; b=NO; c=\" -007\"; d=0; e=\"\"; f=true; g=0x; h=\"00y\"; i=(YES);}");
    const Bundle bundle = Bundle::open(pathFromBytes(path)).value();
    std::u16string trueKeys;
    for (const char16_t* key : {u"a", u"b", u"c", u"d", u"e", u"f", u"g", u"h", u"i", u"j"}) {
        if (bundle.flag(key)) trueKeys += key;
    }
    EXPECT_EQ(toUtf8(trueKeys), "acfh");
    EXPECT_EQ(toUtf8(bundle.executable().value()), path + "/Contents/Linux/A.b");
    for (const char* name : {"../x", "\"\"", "..", "a/b"}) {
        writeFile(path + "/Contents/Info.plist",
                  std::string("{CFBundleExecutable=\"") + name + "\";}");
        EXPECT_FALSE(name[0] != '"' && Bundle::open(pathFromBytes(path))->executable()) << name;
    }
}

TEST(Bundle, PreflightTellsWhatCannotBeLoaded) {
    const std::string good = test::contentsOf(test::kUnruly);
    ASSERT_GT(good.size(), 1000U);
    const auto changed = [&good](std::size_t at, std::string_view bytes) {
        std::string file = good;
        file.replace(at, bytes.size(), bytes);
        return file;
    };
    const std::size_t library = good.find("libstdc++.so.6");
    ASSERT_NE(library, std::string::npos);
    struct Case {
        const char* name;
        std::string bytes;
        Outcome outcome;
    };
    const Case cases[] = {
        {"as it is", good, Outcome::loadable},
        {"of 32 bits", changed(4, "\x01"), Outcome::otherMachine},
        {"of the other byte order", changed(5, "\x02"), Outcome::otherMachine},
        {"of another processor", changed(18, "\x08"), Outcome::otherMachine},
        {"an object file", changed(16, "\x01"), Outcome::notLoadable},
        {"cut off", good.substr(0, 4000), Outcome::notLoadable},
        {"header alone", good.substr(0, 64), Outcome::notLoadable},
        {"segments far away", changed(39, "\x7F"), Outcome::notLoadable},
        {"with a library that is not there", changed(library, "libnone"), Outcome::missingLibrary},
        {"a program", test::contentsOf("/proc/self/exe"), Outcome::notLoadable},
        {"a script", "#!/bin/sh\n", Outcome::notLoadable},
        {"empty", "", Outcome::notLoadable},
    };
    const test::TemporaryFolder folder;
    const std::string bundle = folder.path("A.mdimporter");
    const SharedLibraries libraries = SharedLibraries::ofThisMachine();
    const auto preflight = [&] {
        return Bundle::open(pathFromBytes(bundle))->preflight(libraries);
    };
    for (const Case& c : cases) {
        writeFile(bundle + "/Contents/Linux/A", c.bytes);
        EXPECT_EQ(preflight().outcome, c.outcome) << c.name;
    }
    writeFile(bundle + "/Contents/Linux/A", changed(library, "libnone"));
    EXPECT_EQ(preflight().library, "libnone++.so.6");
    std::filesystem::remove_all(bundle + "/Contents/Linux/A");
    EXPECT_EQ(preflight().outcome, Outcome::missing);
    std::filesystem::create_directory(bundle + "/Contents/Linux/A");
    EXPECT_EQ(preflight().outcome, Outcome::missing);
    // Damage anywhere in the part that is read is found or harmless, but never more.
    writeFile(bundle + "/Contents/Linux/B", good);
    std::fstream file(bundle + "/Contents/Linux/B",
                      std::ios::binary | std::ios::in | std::ios::out);
    for (std::size_t at = 0; at < 1024; ++at) {
        const auto write = [&](char byte) {
            file.seekp(static_cast<std::streamoff>(at)).put(byte).flush();
        };
        write('\xFF');
        checkExecutable(pathFromBytes(bundle + "/Contents/Linux/B"), libraries);
        write(good[at]);
    }
}

TEST(SharedLibraries, ReadsTheLoadersCache) {
    // Two entries, the second for programs of 32 bits.
    std::string cache = "glibc-ld.so.cache1.1";
    const auto add = [&cache](std::uint32_t number) {
        cache.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
#if defined(__x86_64__)
    constexpr std::uint32_t kOwn = 0x0303;
#else
    constexpr std::uint32_t kOwn = 0x0A03;
#endif
    add(2);
    for (int i = 0; i < 6; ++i) add(0);
    for (const std::uint32_t flags : {kOwn, std::uint32_t{0x0003}}) {
        for (const std::uint32_t number : {flags, cache.size() > 60 ? 101U : 96U, 0U, 0U, 0U, 0U}) {
            add(number);
        }
    }
    cache += "a.so";
    cache += '\0';
    cache += "b.so";
    EXPECT_EQ(namesInLoaderCache(cache), std::unordered_set<std::string>{"a.so"});
    for (std::size_t length = 0; length < cache.size(); ++length) {
        namesInLoaderCache(cache.substr(0, length));
    }
    cache[23] = '\x7F';
    EXPECT_TRUE(namesInLoaderCache(cache).empty());
}

}  // namespace
}  // namespace corvy::platform
