#include "platform/content_type.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "foundation/text.h"
#include "platform/type_identifier.h"
#include "tests/support/temporary_folder.h"

namespace corvy::platform {
namespace {

using namespace std::literals;

TEST(TypeIdentifier, DynamicOnesFollowThePublicEncoding) {
    struct Case {
        TagClass tagClass;
        const char16_t* tag;
        ItemKind kind;
        const char* identifier;
    };
    // The texts "?0=6:1=chm", "?0=6:1=x1y2", "?0=E:1=x1y2", "?0=6:1=a\:b", "?0=6:2=ABcd" and
    // "?0=6:1=" with an e acute, encoded apart from this program.
    static constexpr Case cases[] = {
        {TagClass::filenameExtension, u"chm", ItemKind::file, "dyn.ah62d4rv4ge80g4dr"},
        {TagClass::filenameExtension, u"X1y2", ItemKind::file, "dyn.ah62d4rv4ge81uqp3gk"},
        {TagClass::filenameExtension, u"x1y2", ItemKind::folder, "dyn.ah62d4vm4ge81uqp3gk"},
        {TagClass::filenameExtension, u"a:b", ItemKind::file, "dyn.ah62d4rv4ge80c1b4qk"},
        {TagClass::typeCode, u"ABcd", ItemKind::file, "dyn.ah62d4rv4gk8ycuxdqu"},
        {TagClass::filenameExtension, u"\xE9", ItemKind::file, "dyn.ah62d4rv4ge86hnk"},
    };
    for (const Case& c : cases) {
        const std::u16string identifier = dynamicTypeForTag(c.tagClass, c.tag, c.kind);
        EXPECT_EQ(toUtf8(identifier), c.identifier);
        EXPECT_EQ(conformsTo(identifier, u"public.data"), c.kind == ItemKind::file);
        EXPECT_EQ(conformsTo(identifier, u"public.directory"), c.kind == ItemKind::folder);
    }
    EXPECT_EQ(preferredTag(u"DYN.AH62D4RV4GE80C1B4QK", TagClass::filenameExtension), u"a:b");
}

TEST(TypeIdentifier, ConformsThroughAllItsParents) {
    struct Case {
        const char16_t* identifier;
        const char16_t* to;
        bool conforms;
    };
    static constexpr Case cases[] = {
        {u"public.svg-image", u"public.image", true},
        {u"public.svg-image", u"public.text", true},  // through its second parent
        {u"PUBLIC.JPEG", u"public.Item", true},
        {u"public.image", u"public.jpeg", false},
        {u"com.apple.rtfd", u"public.directory", true},
        {u"com.apple.rtfd", u"public.data", false},
        {u"com.example.unknown", u"com.example.Unknown", true},
        {u"com.example.unknown", u"public.item", false},
        {u"dyn.ah62d4r3qkk7dctpv", u"public.image", true},  // "?0=7,B:1=q"
        {u"dyn.ah62d4r3qkk7dctpv", u"public.content", true},
        {u"dyn.ah62d4r3qkk7dctpv", u"public.movie", false},
        {u"dyn.a!", u"public.data", false},
        {u"dyn.a", u"public.item", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(conformsTo(c.identifier, c.to), c.conforms) << toUtf8(c.identifier);
    }
}

TEST(TypeIdentifier, TagsLeadThereAndBack) {
    const auto typeOf = [](const char16_t* extension, ItemKind kind) {
        return toUtf8(
            declaredTypeForTag(TagClass::filenameExtension, extension, kind).value_or(u"none"));
    };
    EXPECT_EQ(typeOf(u"JPG", ItemKind::file), "public.jpeg");
    EXPECT_EQ(typeOf(u"jpg", ItemKind::folder), "none");
    EXPECT_EQ(typeOf(u"pages", ItemKind::file), "com.apple.iwork.pages.sffpages");
    EXPECT_EQ(typeOf(u"pages", ItemKind::folder), "com.apple.iwork.pages.pages");
    EXPECT_EQ(typeOf(u"rtfd", ItemKind::file), "none");
    EXPECT_EQ(typeOf(u"", ItemKind::file), "none");
    EXPECT_EQ(preferredTag(u"public.jpeg", TagClass::filenameExtension), u"jpeg");
    EXPECT_EQ(preferredTag(u"com.microsoft.word.doc", TagClass::typeCode), u"W8BN");
    EXPECT_FALSE(preferredTag(u"public.image", TagClass::filenameExtension));
    EXPECT_EQ(declaredTypeForTag(TagClass::mimeType, u"Image/SVG+xml"), u"public.svg-image");
    EXPECT_EQ(declaredTypeForTag(TagClass::typeCode, u"PDF "), u"com.adobe.pdf");
    EXPECT_FALSE(declaredTypeForTag(TagClass::typeCode, u"pdf "));
}

// `bytes` behind so many others.
std::string behind(std::size_t count, char filler, std::string_view bytes) {
    std::string file(count, filler);
    file.append(bytes);
    return file;
}

std::string typeOfFile(const std::string& path) {
    return toUtf8(contentTypeOfFile(pathFromBytes(path)).value_or(u"none"));
}

TEST(ContentType, BelievesNamesUnlessTheBytesSpeakAgainstThem) {
    const std::string png = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s;
    const std::string zip = "PK\x03\x04\x14\0\0\0\0\0"s + std::string(20, 'x');
    const std::string compound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"s + std::string(600, '\0');
    const std::string word = [&] {
        std::string file = compound;
        file[30] = 9;
        file[48] = 1;  // the directory's sector; the header counts as one
        file.resize(2048, '\0');
        return file.replace(1024 + 128, 24, "W\0o\0r\0d\0D\0o\0c\0u\0m\0e\0n\0t\0"s);
    }();
    const std::string heic =
        "\0\0\0\x18"
        "ftypheic\0\0\0\0mif1"s;
    struct Case {
        const char* name;
        std::string bytes;
        const char* type;
    };
    const Case cases[] = {
        {"photo.jpg", "\xFF\xD8\xFF\xE0", "public.jpeg"},
        {"photo2.jpg", png, "public.png"},
        {"page.jpg", "<!DOCTYPE HTML><html>", "public.html"},
        {"words.jpg", "no signature at all", "public.jpeg"},
        {"picture.txt", png, "public.png"},
        {"page.txt", "<html>", "public.plain-text"},
        {"list.txt", "BMX bikes", "public.plain-text"},  // two letters prove nothing
        {"data.pdf", "junk %PDF-1.4", "com.adobe.pdf"},
        {"drawing.ai", "%PDF-1.5", "com.adobe.illustrator.ai-image"},
        {"a.docx", zip, "org.openxmlformats.wordprocessingml.document"},
        {"locked.docx", compound, "org.openxmlformats.wordprocessingml.document"},
        {"wrong.docx", "{\\rtf1 }", "public.rtf"},
        {"old.doc", compound, "com.microsoft.word.doc"},
        {"renamed.rtf", word, "com.microsoft.word.doc"},
        {"new.doc", zip, "public.zip-archive"},
        {"photo3.png", heic, "public.heic"},
        {"clip.mov",
         "\0\0\0\x14"
         "ftypisom"s,
         "com.apple.quicktime-movie"},
        {"camera.nef", "MM\0*"s, "com.nikon.raw-image"},
        {"song.flac", "ID3\x04", "org.xiph.flac"},
        {"movie.ts", behind(188, ' ', "\x47"), "com.microsoft.typescript"},
        {"list.webarchive", "bplist00", "com.apple.webarchive"},
        {"unknown.x1y2", png, "dyn.ah62d4rv4ge81uqp3gk"},
        {"png", png, "public.png"},
        {"word", word, "com.microsoft.word.doc"},
        {"compound", compound, "public.data"},
        {"book", zip.substr(0, 30) + "mimetypeapplication/epub+zip", "org.idpf.epub-container"},
        {"drawing", "\xEF\xBB\xBF\n<?xml version='1.0'?><!-- <html> -->\n<svg:svg/><svg>",
         "public.xml"},
        {"drawing2", "<?xml version='1.0'?><!DOCTYPE svg><svg\nwidth='1'>", "public.svg-image"},
        {"tape", behind(257, '\0', "ustar"), "public.tar-archive"},
        {"script", "#!/usr/bin/env python3\n", "public.python-script"},
        {"script2", "#!/bin/sh\n", "public.shell-script"},
        {"notes", "gr\xC3\xBC\xC3\x9F", "public.plain-text"},
        {"Notes v. 2 of", "text", "public.plain-text"},
        {"bytes", "\0\1\2"s, "public.data"},
        {"cut", behind(4095, 'x', "\xC3\xBC"), "public.plain-text"},
        {"empty", "", "public.data"},
        {"empty.png", "", "public.png"},
    };
    const test::TemporaryFolder folder;
    for (const Case& c : cases) {
        EXPECT_EQ(typeOfFile(folder.write(c.name, c.bytes)), c.type) << c.name;
    }
}

TEST(ContentType, FollowsWhatTheFileSystemTells) {
    const test::TemporaryFolder folder;
    const auto path = [&](const char* name) { return folder.path(name); };
    for (const char* name : {"a.rtfd", "b.folder", "c.pdf"}) {
        std::filesystem::create_directory(path(name));
    }
    std::ofstream(path("program")) << "\1\2";
    chmod(path("program").c_str(), 0755);
    std::ofstream(path("classic")) << "\1\2";
    // A sidecar with a Finder info at offset 38, its type code first.
    std::string sidecar = "\0\x05\x16\x07\0\x02\0\0"s + std::string(16, ' ') +
                          "\0\x01\0\0\0\x09\0\0\0\x26\0\0\0\x20"s + "GIFf" + std::string(28, 'x');
    std::ofstream(path("._classic"), std::ios::binary) << sidecar;
    std::filesystem::create_symlink("program", path("link.txt"));
    std::filesystem::create_symlink("loop", path("loop"));
    mkfifo(path("pipe.txt").c_str(), 0600);

    const std::map<std::string, std::string> expected = {
        {path("a.rtfd"), "com.apple.rtfd"},
        {path("a.rtfd") + "/", "com.apple.rtfd"},
        {path("b.folder"), "public.folder"},
        {path("c.pdf"), "public.folder"},
        {path("program"), "public.unix-executable"},
        {path("classic"), "com.compuserve.gif"},
        {path("link.txt"), "public.plain-text"},
        {path("loop"), "none"},
        {path("pipe.txt"), "none"},
        {path("missing.txt"), "none"},
        {"", "none"},
    };
    for (const auto& [name, type] : expected) EXPECT_EQ(typeOfFile(name), type) << name;
    EXPECT_FALSE(contentTypeOfFile(u"/tmp\0/x"sv));
}

}  // namespace
}  // namespace corvy::platform
