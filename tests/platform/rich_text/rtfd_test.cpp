#include "platform/rich_text/rtfd.h"

#include <gtest/gtest.h>

#include "platform/rich_text/rtfd_package.h"
#include "tests/tools/temporary_folder.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;
using tools::TemporaryFolder;

FileNode file(std::u16string name, std::string_view contents) {
    return {.name = std::move(name), .contents = Bytes::copyOf(contents)};
}

FileNode folder(std::vector<FileNode> entries, std::u16string name = {}) {
    return {.name = std::move(name), .isFolder = true, .entries = std::move(entries)};
}

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

std::string flatFolder(const std::vector<Node>& nodes) {
    std::string bytes = number(3) + number(static_cast<std::uint32_t>(nodes.size()));
    for (const Node& node : nodes) bytes += counted(node.name);
    for (const Node& node : nodes) bytes += number(static_cast<std::uint32_t>(node.body.size()));
    for (const Node& node : nodes) bytes += node.body;
    return bytes;
}

std::string flatFile(std::string_view contents) {
    return number(1) + counted(contents);
}

TEST(FlatRtfd, HasTheLayoutByteForByte) {
    EXPECT_EQ(flatRtfdOf(folder({file(u"TXT.rtf", "{\\rtf1}")}), 0x68844313)->chars(),
              "rtfd\0\0\0\0\3\0\0\0"
              "\2\0\0\0\7\0\0\0TXT.rtf\1\0\0\0."
              "\x0F\0\0\0\x2B\0\0\0"
              "\1\0\0\0\7\0\0\0{\\rtf1}"
              "\1\0\0\0\x23\0\0\0\1\0\0\0"
              "\7\0\0\0TXT.rtf\x10\0\0\0\x13\x43\x84\x68\xB6\1\0\0\0\0\0\0\0\0\0\0"s);
    EXPECT_EQ(flatRtfdOf(folder({file(u"TXT.rtf", std::string(356, ' '))}), 0)->size(), 447U);
    EXPECT_EQ(flatRtfdOf(folder({file(u"TXT.rtf", "R"), folder({}, u"d")}), 1)->chars(),
              "rtfd\0\0\0\0\3\0\0\0"
              "\3\0\0\0\7\0\0\0TXT.rtf\1\0\0\0d\1\0\0\0."
              "\x09\0\0\0\x1D\0\0\0\x44\0\0\0"
              "\1\0\0\0\1\0\0\0R"
              "\3\0\0\0\1\0\0\0\1\0\0\0.\x0C\0\0\0\1\0\0\0\4\0\0\0\0\0\0\0"
              "\1\0\0\0\x3C\0\0\0\2\0\0\0"
              "\7\0\0\0TXT.rtf\x10\0\0\0\1\0\0\0\xB6\1\0\0\0\0\0\0\0\0\0\0"
              "\1\0\0\0d\x10\0\0\0\1\0\0\0\xFF\1\0\0\0\0\0\0\0\0\0\0"s);
}

TEST(FlatRtfd, TakesWhatIsSafeOfTheFolder) {
    const std::string padded =
        number(1) + number(0x80000000) + number(2) + number(3) + std::string(3, '\0') + "ab";
    const std::string bytes =
        "rtfd" + number(0) +
        flatFolder({{"TXT.rtf", flatFile("{\\rtf1 x}")},
                    {"pic 1.png", padded},
                    {"..", flatFile("y")},
                    {"../up", flatFile("y")},
                    {"__@PreferredName@__", flatFile("n")},
                    {"d", flatFolder({{"in", flatFile("z")}, {".", flatFile("")}})},
                    {"link", number(2) + counted("/etc")},
                    {".", flatFile("")}});
    const FileNode expected = folder({file(u"TXT.rtf", "{\\rtf1 x}"), file(u"pic 1.png", "ab"),
                                      folder({file(u"in", "z")}, u"d")});
    EXPECT_EQ(folderOfFlatRtfd(Bytes::copyOf(bytes)), expected);
    EXPECT_EQ(folderOfFlatRtfd(*flatRtfdOf(expected)), expected);

    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(folderOfFlatRtfd(Bytes::copyOf(bytes.substr(0, length)))) << length;
    }
    std::string deep = flatFolder({});
    for (int i = 0; i < 100; ++i) deep = flatFolder({{"d", deep}, {"TXT.rtf", flatFile("")}});
    const std::string bad[] = {
        bytes + "x",
        "rtfd" + number(0) + flatFolder({{"other.rtf", flatFile("x")}}),
        "rtfd" + number(0) + flatFolder({{"TXT.rtf", flatFolder({})}}),
        "rtfd" + number(0) + number(3) + number(0xFFFFFFFF),
        "rtfd" + number(0) + deep,
        "rtfd" + number(1) + flatFolder({{"TXT.rtf", flatFile("")}}),
    };
    for (const std::string& each : bad) EXPECT_FALSE(folderOfFlatRtfd(Bytes::copyOf(each)));
}

TEST(RtfdPackage, IsReplacedOnDiskFileByFile) {
    const TemporaryFolder disk;
    const std::string path = disk.path("memo.rtfd");
    const FileNode first =
        folder({file(u"TXT.rtf", "one"), file(u"old.png", "x"), folder({file(u"in", "y")}, u"d")});
    ASSERT_EQ(writePackage(path, first), 0);
    disk.write("outside", "secret");
    ASSERT_EQ(::symlink(disk.path("outside").c_str(), (path + "/link").c_str()), 0);
    FileNode sorted = first;
    std::swap(sorted.entries[1], sorted.entries[2]);
    EXPECT_EQ(readPackage(path), sorted);

    const FileNode second = folder({file(u"TXT.rtf", "2"), file(u"new.png", "z")});
    ASSERT_EQ(writePackage(path, second), 0);
    EXPECT_EQ(readPackage(path), second);
    EXPECT_EQ(disk.read("outside"), "secret");

    disk.write("home/letter", "kept");
    EXPECT_NE(writePackage(disk.path("home"), second), 0);
    EXPECT_NE(writePackage(disk.write("file", ""), second), 0);
    EXPECT_NE(writePackage(disk.path("no/such"), second), 0);
    EXPECT_NE(writePackage("", second), 0);
    EXPECT_NE(writePackage(disk.path("bad"), folder({file(u"../up", "")})), 0);
    EXPECT_EQ(disk.read("home/letter"), "kept");
    EXPECT_FALSE(readPackage(disk.path("file")));
}

TEST(Rtfd, GivesFilesSafeNamesOfTheirOwn) {
    struct Case {
        std::u16string_view name;
        std::u16string_view safe;
    };
    static constexpr Case cases[] = {
        {u"a b.png", u"a b.png"},
        {u"../../etc/passwd", u"-.-..-etc-passwd"},
        {u"..", u"-."},
        {u".hidden", u"-hidden"},
        {u"", u"Attachment"},
        {u" \n ", u"-"},
        {u"a\\b:c\x1", u"a-b-c-"},
        {u"__@PreferredName@__", u"-_@PreferredName@__"},
        {u"x\xD800", u"x\xFFFD"},
    };
    for (const Case& c : cases) EXPECT_EQ(safeAttachmentName(c.name), c.safe);
    const std::u16string safe = safeAttachmentName(std::u16string(500, u'\x20AC') + u".png");
    EXPECT_EQ(safe.size(), 120U);
    EXPECT_TRUE(safe.ends_with(u"\x20AC.png"));

    RichDocument document;
    const FileNode shared = file(u"A.png", "1");
    for (const FileNode& each :
         {shared, file(u"a.PNG", "2"), shared, file(u"a-1.png", "3"), file(u"a.png", "4"),
          file(u"txt.RTF", "5"), file(u"", "6"), folder({file(u"in", "7")}, u"dir")}) {
        document.text.attach(each, {}, {});
    }
    const FileNode package = rtfdFolderOf(document);
    std::vector<std::u16string> names;
    for (const FileNode& entry : package.entries) names.push_back(entry.name);
    EXPECT_EQ(names,
              (std::vector<std::u16string>{u"TXT.rtf", u"A.png", u"a-1.PNG", u"a-1-1.png",
                                           u"a-2.png", u"txt-1.RTF", u"Attachment", u"dir"}));
    const auto read = documentOfRtfd(*rtfdOf(document));
    ASSERT_TRUE(read);
    ASSERT_EQ(read->text.attachments().size(), 8U);
    EXPECT_EQ(read->text.attachments()[2].file.contents.chars(), "1");
    EXPECT_EQ(read->text.attachments()[7].file, package.entries[7]);
    EXPECT_EQ(*stringOf(read->attributes, document_attribute::kType), document_type::kRtfd);
    EXPECT_EQ(
        *stringOf(documentOfRtfd(Bytes::copyOf("{\\rtf1}"))->attributes, document_attribute::kType),
        document_type::kRtf);
    EXPECT_FALSE(documentOfRtfd(Bytes::copyOf("text")));
    EXPECT_FALSE(documentOfRtfdFolder(folder({file(u"TXT.rtf", "text")})));
}

}  // namespace
}  // namespace corvy::platform
