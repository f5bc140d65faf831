#include "images/image_types.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/apple_double.h"
#include "foundation/text.h"
#include "tests/tools/temporary_folder.h"

namespace corvy {
namespace {

using namespace std::string_view_literals;

constexpr OptionalText kNone = std::nullopt;

TEST(ImageTypes, RecognisesExtensionsAndTypeCodes) {
    struct Case {
        OptionalText extension;
        OptionalText type;
        bool isImage;
        bool isPDF;
        bool isRealPDF;
    };
    static constexpr Case cases[] = {
        {u"JpEg", kNone, true, false, false},
        {u"pdf", kNone, true, true, true},
        {u"AI", kNone, true, true, false},
        {u"eps", u"'PDF '", true, true, true},
        {u"txt", u"'PDF '", true, true, true},
        {u"txt", u"'pdf '", false, false, false},  // type codes count exactly
        {u"txt", u"'GIFf'", true, false, false},
        {u"'GIFf'", kNone, true, false, false},  // one list of both
        {u"'giff'", kNone, true, false, false},
        {u"", u"", false, false, false},
        {kNone, kNone, false, false, false},
        {kNone, u"'8BPS'", true, false, false},
        {kNone, u"jpg", true, false, false},
        {u"mov", u"'MooV'", false, false, false},
    };
    for (const Case& c : cases) {
        const std::string name = toUtf8(c.extension.value_or(u"-")) + toUtf8(c.type.value_or(u"-"));
        EXPECT_EQ(isImageExtension(c.extension, c.type), c.isImage) << name;
        EXPECT_EQ(isPDFExtension(c.extension, c.type), c.isPDF) << name;
        EXPECT_EQ(isRealPDFExtension(c.extension, c.type), c.isRealPDF) << name;
    }
    EXPECT_TRUE(isWebImageExtension(u"JPEG") && isWebImageExtension(u"jp2"));
    EXPECT_FALSE(isWebImageExtension(u"tif") || isWebImageExtension(kNone));
    EXPECT_TRUE(isPostScriptExtension(u"Ps") && isPostScriptFile(u"/a.b/c.eps"));
    EXPECT_FALSE(isPostScriptExtension(u"psd") || isPostScriptFile(u"/a.eps/c"));
    EXPECT_TRUE(isPDFBundle(u"/a/b.PDFD/") && !isPDFBundle(u"/a.pdfd/b") && !isPDFBundle(kNone));
    EXPECT_EQ(ImageFileTypes().back(), u"AI");
}

TEST(ImageTypes, ReadsTheTypeCodeOfFiles) {
    const tools::TemporaryFolder folder;
    const auto path = [&folder](std::string_view name) { return pathFromBytes(folder.path(name)); };
    folder.write("paper", "x");
    folder.write("._paper", *AppleDouble::make("PDF CARO").withResourceFork(""));
    folder.write("plain", "x");
    folder.write("._plain", *AppleDouble::make("").withResourceFork(""));
    EXPECT_EQ(classicFileType(path("paper")), u"'PDF '");
    EXPECT_TRUE(isRealPDFFile(path("paper")) && isPDFFile(path("paper")) &&
                isImageFile(path("paper")));
    EXPECT_FALSE(classicFileType(path("plain")) || classicFileType(path("missing")));
    EXPECT_FALSE(isImageFile(path("plain")) || isRealPDFFile(kNone) || isImageFile(kNone));
    EXPECT_TRUE(isImageFile(path("missing.png")));
}

TEST(ImageTypes, FindsThePDFOfABundle) {
    const tools::TemporaryFolder folder;
    for (const char* file :
         {"Doc.pdfd/Doc.pdf", "Doc.pdfd/A.pdf", "Other.pdfd/z.PDF", "Other.pdfd/b.pdf",
          "Other.pdfd/._a.pdf", "No.pdfd/a.txt", "x.d/x.pdf"})
        folder.write(file, "");
    const std::pair<const char*, const char*> cases[] = {{"Doc.pdfd", "Doc.pdfd/Doc.pdf"},
                                                         {"Other.pdfd", "Other.pdfd/b.pdf"},
                                                         {"No.pdfd", "No.pdfd"},
                                                         {"Missing.pdfd", "Missing.pdfd"},
                                                         {"x.d", "x.d"}};
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(pathToPDF(pathFromBytes(folder.path(path))),
                  pathFromBytes(folder.path(expected)));
    }
}

TEST(ImageTypes, NamesTheExtensionOfAType) {
    struct Case {
        OptionalText type;
        OptionalText extension;
    };
    static constexpr Case cases[] = {
        {kNone, kNone},
        {u"", kNone},
        {u"'GIFf'", u"gif"},
        {u"'giff'", kNone},
        {u"'.SGI'", u"sgi"},
        {u"'a/b-'", kNone},  // a type code that is not known, whatever is in it
        {u"'GIF'", u"'GIF'"},
        {u"gif", u"gif"},
        {u"image/x/gif", u"image/x/gif"},
        {u"image/", kNone},
        {u"image/x", kNone},
        {u"image/x-", kNone},
        {u"image/x-x", kNone},
        {u"/jpeg", u"jpeg"},
        {u"image/x-png", u"png"},
        {u"image/X-png", u"X-png"},
        {u"image/x-portable-pixmap", u"ppm"},
        {u"image/X-PORTABLE-PIXMAP", u"ppm"},
        {u"image/vnd.adobe.photoshop", u"psd"},
        {u"image/a.photoshop.b", u"b"},
        {u"application/postscript2", u"ps"},
        {u"image/x-xbitmaps", u"xbm"},
        {u"image/postscrip", u"postscrip"},
    };
    for (const Case& c : cases) {
        const auto extension = pathExtensionForType(c.type);
        EXPECT_EQ(OptionalText(extension), c.extension) << toUtf8(c.type.value_or(u"-"));
    }
    const OptionalText byNumber[] = {u"tiff", u"bmp", u"gif", u"jpg", u"png", u"jp2", kNone};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(OptionalText(pathExtensionForBitmapImageFileType(i)), byNumber[i]);
    EXPECT_FALSE(pathExtensionForBitmapImageFileType(-1));
}

TEST(ImageTypes, NamesTheExtensionOfData) {
    std::string within(1024, ' '), past(1025, ' ');
    within.replace(1020, 4, "%PDF");
    past.replace(1021, 4, "%PDF");
    const std::pair<std::string_view, OptionalText> cases[] = {
        {"GIF", kNone},
        {"GIF89a", u"gif"},
        {"\x89PNG of %PDF", u"pdf"},
        {"\xFF\xD8\xFF\xE0..JFIF", u"jpeg"},
        {"\xFF\xD8\xFF\xE1..Exif", kNone},
        {"II*.", kNone},
        {"Photoshop TIFF", u"tiff"},
        {within, u"pdf"},
        {past, kNone},  // the first kilobyte
    };
    for (const auto& [text, extension] : cases) {
        const auto found = pathExtensionForData(std::as_bytes(std::span(text)));
        EXPECT_EQ(OptionalText(found), extension) << text;
    }
    EXPECT_FALSE(pathExtensionForData(std::nullopt));
}

TEST(ImageTypes, ScalesAndFits) {
    const std::pair<Size, Size> fits[] = {
        {{100, 50}, {100, 50}},    {{256, 256}, {256, 256}}, {{1000, 500}, {256, 128}},
        {{500, 1000}, {128, 256}}, {{300, 1}, {256, 1}},     {{1, 300}, {1, 256}},
        {{257, 256}, {256, 255}},  {{0, 300}, {1, 256}},     {{99.5, 20.25}, {99.5, 20.25}}};
    for (const auto& [size, fitted] : fits)
        EXPECT_EQ(thumb({256, 256}, size), fitted) << size.width << " " << size.height;
    EXPECT_EQ(thumb({0, 0}, {2, 2}), (Size{1, 1}));
    EXPECT_EQ(scale(0.5, {101, 51}), (Size{50, 25}));
    EXPECT_EQ(scale(0, {1.5, 2}), (Size{1.5, 2}));
    EXPECT_EQ(scale(-1, {3, 4}), (Size{3, 4}));
}

class FakeTypes : public ContentTypes {
public:
    std::optional<std::u16string> type;
    std::optional<std::u16string> contentTypeOfFile(std::u16string_view) const override {
        return type;
    }
    bool conforms(std::u16string_view identifier, std::u16string_view to) const override {
        return identifier == to || (identifier == u"com.example.child" && to == u"public.png") ||
               (to == u"public.image" && identifier != u"com.adobe.pdf");
    }
};

TEST(ImageTypes, AsksForContentTypes) {
    FakeTypes types;
    EXPECT_FALSE(isUTIImageFile(u"/a", types));
    const std::pair<const char16_t*, bool> cases[] = {{u"com.example.child", true},
                                                      {u"public.heic", true},
                                                      {u"com.example.other", false},
                                                      {u"com.adobe.pdf", false},
                                                      {u"com.adobe.postscript", false}};
    for (const auto& [type, isImage] : cases) {
        types.type = type;
        EXPECT_EQ(isUTIImageFile(u"/a", types), isImage) << toUtf8(type);
    }
    types.type = u"public.png";
    EXPECT_FALSE(isUTIImageFile(u"", types) || isUTIImageFile(kNone, types));
}

class FakePasteboard : public Pasteboard {
public:
    FakePasteboard(std::vector<std::u16string> types, std::vector<std::u16string> names,
                   const char16_t* url)
        : types_(std::move(types)), names_(std::move(names)), url_(url) {}
    std::optional<std::u16string> availableTypeFromArray(
        std::span<const std::u16string_view> asked) const override {
        for (const auto type : asked) {
            if (std::ranges::find(types_, type) != types_.end()) return std::u16string(type);
        }
        return std::nullopt;
    }
    std::vector<std::u16string> fileNames() const override { return names_; }
    std::optional<Url> URL() const override { return Url{url_}; }

private:
    std::vector<std::u16string> types_;
    std::vector<std::u16string> names_;
    const char16_t* url_;
};

TEST(ImageTypes, LooksAtThePasteboard) {
    const std::u16string names(kPasteboardFileNames), url(kPasteboardURL);
    const std::pair<FakePasteboard, bool> cases[] = {
        {{{u"text/plain"}, {u"/a.png"}, u"file:///a.png"}, false},
        {{{url, names, u"public.png"}, {}, u""}, true},
        {{{names}, {u"/a.png"}, u""}, true},
        {{{names}, {u"/a.txt"}, u""}, false},
        {{{names}, {u"/a.png", u"/b.png"}, u""}, false},
        {{{url, names}, {}, u"file:///a.png"}, false},  // the names decide
        {{{url}, {}, u"file:///a%2Epng"}, true},
        {{{url}, {}, u"FILE://localhost/a.png"}, true},
        {{{url}, {}, u"file://host/a.png"}, false},
        {{{url}, {}, u"http://host/a.png"}, false},
    };
    for (const auto& [pasteboard, isImage] : cases)
        EXPECT_EQ(canProbablyInitWithPasteboard(&pasteboard), isImage);
    EXPECT_FALSE(canProbablyInitWithPasteboard(nullptr));
}

}  // namespace
}  // namespace corvy
