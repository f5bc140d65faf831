#include "tools/rtfd_package.h"

#include "tests/support/temporary_folder.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

std::string number(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string counted(std::string_view text) {
    return number(static_cast<std::uint32_t>(text.size())) + std::string(text);
}

struct Node {
    std::string name, body;
};

std::string file(std::string_view contents) {
    return number(1) + counted(contents);
}

std::string flat(const std::vector<Node>& nodes) {
    std::string bytes = "rtfd" + number(0) + number(3);
    bytes += number(static_cast<std::uint32_t>(nodes.size()));
    for (const Node& node : nodes) bytes += counted(node.name);
    for (const Node& node : nodes) bytes += number(static_cast<std::uint32_t>(node.body.size()));
    for (const Node& node : nodes) bytes += node.body;
    return bytes;
}

}  // namespace

TEST(RtfdPackage, TakesTheFilesOfTheFlatForm) {
    const std::string padded =
        number(1) + number(0x80000000) + number(2) + number(3) + std::string(3, '\0') + "ab";
    const std::string bytes = flat({{"TXT.rtf", file("{\\rtf1 x}")},
                                    {"pic 1.png", padded},
                                    {"..", file("y")},
                                    {"../up", file("y")},
                                    {"__@PreferredName@__", file("n")},
                                    {"folder", number(3) + number(0)},
                                    {".", file("")}});
    const auto entries = entriesOfFlatRtfd(bytes);
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2U);
    EXPECT_EQ((*entries)[1].name, "pic 1.png");

    const TemporaryFolder folder;
    ASSERT_EQ(writeRtfdPackage(folder.path("memo.rtfd"), *entries), 0);
    EXPECT_EQ(folder.read("memo.rtfd/TXT.rtf"), "{\\rtf1 x}");
    EXPECT_EQ(folder.read("memo.rtfd/pic 1.png"), "ab");
    EXPECT_NE(writeRtfdPackage(folder.write("file", ""), *entries), 0);

    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(entriesOfFlatRtfd(std::string_view(bytes).substr(0, length))) << length;
    }
    EXPECT_FALSE(entriesOfFlatRtfd(bytes + "x"));
    EXPECT_FALSE(entriesOfFlatRtfd(flat({{"other.rtf", file("x")}})));
    EXPECT_FALSE(entriesOfFlatRtfd("rtfd" + number(0) + number(3) + number(0xFFFFFFFF)));
}

}  // namespace corvy::tools
