#include "images/image_types.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <iterator>

#include "foundation/big_endian.h"
#include "foundation/resource_file.h"
#include "foundation/resource_fork.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/content_type.h"
#include "platform/image_formats.h"
#include "platform/type_identifier.h"

namespace corvy {

namespace {

#include "images/type_tables.inc"

constexpr std::u16string_view kPDFTypeCode = u"'PDF '";

constexpr std::u16string_view kPDFFileTypes[] = {kPDFTypeCode, u"pdf", u"PDF", u"ps", u"PS",
                                                 u"eps",       u"EPS", u"ai",  u"AI"};
constexpr std::u16string_view kMoreImageFileTypes[] = {u"jpe", u"JPE", u"ps", u"PS",
                                                       u"eps", u"EPS", u"ai", u"AI"};

// Calls `use` with each of the words, which have blanks between them.
template <typename Use>
void forEachWord(std::u16string_view words, Use use) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(u' '), words.size());
        use(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

std::vector<std::u16string> madeImageFileTypes() {
    constexpr std::size_t kTypeCode = 4;
    std::vector<std::u16string> types;
    for (const platform::ImageFormatEntry& format : platform::imageFormats()) {
        forEachWord(format.extensions,
                    [&types](std::u16string_view word) { types.emplace_back(word); });
        for (std::size_t i = 0; i < format.typeCodes.size(); i += kTypeCode) {
            types.push_back(u"'" + std::u16string(format.typeCodes.substr(i, kTypeCode)) + u"'");
        }
    }
    types.insert(types.end(), std::begin(kMoreImageFileTypes), std::end(kMoreImageFileTypes));
    return types;
}

bool isOneOf(OptionalText extension, std::initializer_list<std::u16string_view> names) {
    return extension && std::ranges::any_of(names, [&extension](std::u16string_view name) {
               return equalNoCase(*extension, name);
           });
}

bool isQuotedTypeCode(std::u16string_view text) {
    constexpr std::size_t kLength = 6;
    return text.size() == kLength && text.front() == u'\'' && text.back() == u'\'';
}

std::u16string_view subtypeOf(std::u16string_view type) {
    std::u16string_view subtype = type.substr(type.find(u'/') + 1);
    if (subtype.size() >= 2 && subtype.starts_with(u"x-")) subtype.remove_prefix(2);
    return subtype.size() < 2 ? std::u16string_view() : subtype;
}

std::filesystem::path filePath(std::u16string_view path) {
    return bytesOfPath(path).value_or(std::string());
}

// The first in the order of names; hidden files, such as sidecars, do not count.
std::optional<std::u16string> firstPDFIn(std::u16string_view folder) {
    std::error_code error;
    std::optional<std::u16string> first;
    for (std::filesystem::directory_iterator entry(filePath(folder), error), end;
         !error && entry != end; entry.increment(error)) {
        std::u16string name = pathFromBytes(entry->path().filename().native());
        const bool isPDF = !name.starts_with(u'.') && isOneOf(pathExtension(name), {u"pdf"});
        if (isPDF && (!first || name < *first)) first = std::move(name);
    }
    return first;
}

// None unless it is the address of a file on this machine.
std::optional<std::u16string> pathOfFileURL(const Url& url) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    if (!isOneOf(parts.scheme, {u"file"})) return std::nullopt;
    if (parts.authority && !parts.authority->empty() && !isOneOf(parts.authority, {u"localhost"}))
        return std::nullopt;
    return pathFromBytes(bytesOfEscapedPath(parts.path));
}

bool isDecodedAsImage(platform::ImageDecoder decoder) {
    return decoder != platform::ImageDecoder::pdf && decoder != platform::ImageDecoder::postScript;
}

}  // namespace

const std::vector<std::u16string>& ImageFileTypes() {
    static const std::vector<std::u16string> types = madeImageFileTypes();
    return types;
}

std::span<const std::u16string_view> PDFFileTypes() {
    return kPDFFileTypes;
}

std::optional<std::u16string> classicFileType(std::u16string_view path) {
    const auto bytes = bytesOfPath(path);
    const auto info = bytes ? finderInfoOfFile(*bytes) : std::nullopt;
    const auto code = info ? static_cast<ResourceType>(bigEndianAt(info->span(), 0, 4)) : 0;
    if (code == 0) return std::nullopt;
    return u"'" + stringOfResourceType(code) + u"'";
}

bool isImageExtension(OptionalText extension, OptionalText type) {
    const bool hasType = type && !type->empty();
    return std::ranges::any_of(ImageFileTypes(), [&](const std::u16string& known) {
        return (extension && equalNoCase(known, *extension)) || (hasType && known == *type);
    });
}

bool isImageFile(OptionalText path) {
    return path && isImageExtension(pathExtension(*path), classicFileType(*path));
}

bool isWebImageExtension(OptionalText extension) {
    return isOneOf(extension, {u"jpg", u"jpe", u"jp2", u"gif", u"png", u"jpeg"});
}

bool isPDFExtension(OptionalText extension, OptionalText type) {
    return isRealPDFExtension(extension, type) || isPostScriptExtension(extension);
}

bool isPDFFile(OptionalText path) {
    return path && isPDFExtension(pathExtension(*path), classicFileType(*path));
}

bool isRealPDFExtension(OptionalText extension, OptionalText type) {
    return type == kPDFTypeCode || isOneOf(extension, {u"pdf"});
}

bool isRealPDFFile(OptionalText path) {
    return path && isRealPDFExtension(pathExtension(*path), classicFileType(*path));
}

bool isPostScriptExtension(OptionalText extension) {
    return isOneOf(extension, {u"ps", u"eps", u"ai"});
}

bool isPostScriptFile(OptionalText path) {
    return path && isPostScriptExtension(pathExtension(*path));
}

bool isPDFBundle(OptionalText path) {
    return path && isOneOf(pathExtension(*path), {u"pdfd"});
}

std::u16string pathToPDF(std::u16string_view path) {
    std::u16string bundle(path);
    if (!isPDFBundle(path)) return bundle;
    std::u16string_view name = lastPathComponent(path);
    name.remove_suffix(pathExtension(name).size() + 1);
    std::u16string inside = bundle + u"/" + std::u16string(name) + u".pdf";
    std::error_code error;
    if (std::filesystem::exists(filePath(inside), error)) return inside;
    const auto first = firstPDFIn(path);
    return first ? bundle + u"/" + *first : bundle;
}

const ContentTypes& systemContentTypes() {
    struct SystemTypes final : ContentTypes {
        std::optional<std::u16string> contentTypeOfFile(std::u16string_view path) const override {
            return platform::contentTypeOfFile(path);
        }
        bool conforms(std::u16string_view identifier, std::u16string_view to) const override {
            return platform::conformsTo(identifier, to);
        }
    };
    static const SystemTypes types;
    return types;
}

bool isUTIImageFile(OptionalText path, const ContentTypes& types) {
    if (!path || path->empty()) return false;
    const auto type = types.contentTypeOfFile(*path);
    if (!type) return false;
    bool isImage = false;
    for (const platform::ImageFormatEntry& format : platform::imageFormats()) {
        if (!isDecodedAsImage(format.decoder)) continue;
        forEachWord(format.typeIdentifiers, [&](std::u16string_view known) {
            isImage =
                isImage || (types.conforms(known, u"public.image") && types.conforms(*type, known));
        });
    }
    return isImage;
}

std::optional<std::u16string> pathExtensionForType(OptionalText type) {
    if (!type || type->empty()) return std::nullopt;
    if (isQuotedTypeCode(*type)) {
        const auto row = std::ranges::find(kTypeCodes, *type, &TypeExtension::type);
        if (row == std::end(kTypeCodes)) return std::nullopt;
        return std::u16string(row->extension);
    }
    if (std::ranges::count(*type, u'/') != 1) return std::u16string(*type);
    std::u16string_view subtype = subtypeOf(*type);
    if (subtype.empty()) return std::nullopt;
    subtype = subtype.substr(subtype.rfind(u'.') + 1);
    const auto row = std::ranges::find_if(kSubtypes, [subtype](const TypeExtension& known) {
        return containsNoCase(subtype, known.type);
    });
    return std::u16string(row == std::end(kSubtypes) ? subtype : row->extension);
}

std::optional<std::u16string> pathExtensionForData(std::optional<std::span<const std::byte>> data) {
    constexpr std::size_t kLeast = 4, kSearched = 1024;
    if (!data || data->size() < kLeast) return std::nullopt;
    // kept: anywhere in them, so that a comment can name the type.
    const std::string_view start(reinterpret_cast<const char*>(data->data()),
                                 std::min(data->size(), kSearched));
    for (const DataExtension& known : kSignatures) {
        if (start.find(known.signature) != start.npos) return std::u16string(known.extension);
    }
    return std::nullopt;
}

std::optional<std::u16string> pathExtensionForBitmapImageFileType(std::int64_t type) {
    if (type < 0 || type >= std::ssize(kBitmapExtensions)) return std::nullopt;
    return std::u16string(kBitmapExtensions[type]);
}

Size scale(double factor, Size size) {
    if (!(factor > 0)) return size;
    return {std::floor(size.width * factor), std::floor(size.height * factor)};
}

Size thumb(Size box, Size size) {
    if (!(size.width > box.width) && !(size.height > box.height)) return size;
    const double height = box.width / size.width * size.height;  // at the full width
    Size fitted;
    if (height > box.height) {
        fitted = {std::floor(box.height / size.height * size.width), std::floor(box.height)};
    } else {
        fitted = {std::floor(box.width), std::floor(height)};
    }
    const auto atLeastOne = [](double side) { return side > 0 ? side : 1; };
    return {atLeastOne(fitted.width), atLeastOne(fitted.height)};
}

bool canProbablyInitWithPasteboard(const Pasteboard* pasteboard) {
    static constexpr std::u16string_view kTypes[] = {u"public.jpeg-2000",
                                                     u"public.jpeg",
                                                     u"public.png",
                                                     u"image/png",
                                                     u"image/tiff",
                                                     u"application/pdf",
                                                     u"application/postscript",
                                                     u"image/x-icns",
                                                     kPasteboardFileNames,
                                                     kPasteboardURL};
    const auto type = pasteboard ? pasteboard->availableTypeFromArray(kTypes) : std::nullopt;
    if (!type) return false;
    if (type == kPasteboardFileNames) {
        const std::vector<std::u16string> names = pasteboard->fileNames();
        return names.size() == 1 && isImageFile(names[0]);
    }
    if (type == kPasteboardURL) {
        const auto url = pasteboard->URL();
        const auto path = url ? pathOfFileURL(*url) : std::nullopt;
        return path && isImageFile(*path);
    }
    return true;
}

}  // namespace corvy
