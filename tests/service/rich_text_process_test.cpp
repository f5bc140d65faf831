// Rich text with its worker program in a process of its own.
#include <gtest/gtest.h>

#include "foundation/text.h"
#include "platform/rich_text/rtfd.h"
#include "platform/rich_text/rtfd_package.h"
#include "service/rich_text_conversion.h"
#include "tests/tools/temporary_folder.h"

namespace corvy {
namespace {

bool write(const Bytes& rtfd, const std::string& path) {
    static platform::WorkerPool pool(CORVY_BUILD_DIR);
    return writeRTFDData(rtfd, pathFromBytes(path),
                         [](const platform::WorkerRequest& request) { return pool.run(request); });
}

TEST(RichTextProcess, WritesPackages) {
    platform::RichDocument document;
    document.attributes.set(platform::document_attribute::kTitle, u"T");
    document.text.append(u"a", {});
    document.text.attach({.name = u"b.txt", .contents = Bytes::copyOf("file")}, {}, {});
    document.text.attach({.name = u"dir",
                          .isFolder = true,
                          .entries = {{.name = u"in", .contents = Bytes::copyOf("inside")}}},
                         {}, {});
    const tools::TemporaryFolder disk;
    const std::string path = disk.path("a \xC3\xA9\xFF.rtfd");
    ASSERT_TRUE(write(*platform::rtfdOf(document), path));
    const auto package = platform::readPackage(path);
    ASSERT_TRUE(package);
    const auto read = platform::documentOfRtfdFolder(*package);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->text, document.text);
    EXPECT_EQ(stringOf(read->attributes, platform::document_attribute::kTitle), u"T");
    // Written again, without what is no longer in the text.
    ASSERT_TRUE(write(Bytes::copyOf("{\\rtf1 plain}"), path));
    EXPECT_EQ(platform::readPackage(path)->entries.size(), 1U);
}

TEST(RichTextProcess, WhatIsNoDocumentIsNotWritten) {
    const tools::TemporaryFolder disk;
    EXPECT_FALSE(write(Bytes::copyOf("text"), disk.path("a.rtfd")));
    EXPECT_FALSE(write({}, disk.path("a.rtfd")));
    EXPECT_FALSE(write(Bytes::copyOf("rtfd"), disk.path("a.rtfd")));
    EXPECT_FALSE(std::filesystem::exists(disk.path("a.rtfd")));
    EXPECT_FALSE(write(Bytes::copyOf("{\\rtf1}"), disk.path("no/such.rtfd")));
    EXPECT_FALSE(write(Bytes::copyOf("{\\rtf1}"), std::string("a\0b", 3)));
}

}  // namespace
}  // namespace corvy
