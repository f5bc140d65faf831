#include "tools/import/file_importer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <new>
#include <string_view>
#include <utility>

#include "feeds/feed.h"
#include "feeds/feed_page.h"
#include "foundation/big_endian.h"
#include "foundation/size_string.h"
#include "foundation/text.h"
#include "markup/queries.h"
#include "platform/content_type.h"
#include "platform/plain_text_file.h"
#include "platform/rich_text/rtfd.h"
#include "platform/rich_text/rtfd_package.h"
#include "platform/type_identifier.h"
#include "text/plain_text.h"
#include "tools/files.h"
#include "tools/import/file_type.h"
#include "tools/markup/input.h"

namespace corvy::tools {

namespace {

// In bytes. Decoded text takes up to twice as much memory, and its record once more.
constexpr std::uint64_t kLongestPlainText = std::uint64_t{256} << 20;
constexpr std::uint64_t kLongestPdf = std::uint64_t{2} << 30;

constexpr std::string_view kThumbnailOperation =
    "imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:";
constexpr std::int64_t kThumbnailSize = 256;  // pixels

// By their names, feeds are often some other XML.
bool isXml(std::string_view type) {
    return platform::conformsTo(fromUtf8(type), u"public.xml");
}

// The entries of a PDF's answer that have a place of their own in the record, or none.
constexpr std::u16string_view kKnownKeys[] = {u"String", u"Locked", u"PageCount"};

std::string_view errorOfReading(int errorNumber) {
    switch (errorNumber) {
        case EFBIG:
        case ENOMEM: return "tooLarge";
        case ENOENT: return "notFound";
        default: return "notReadable";
    }
}

bool isBlank(std::u16string_view text) {
    return std::ranges::all_of(text, [](char16_t unit) {
        return unit <= u' ' || unit == u'\u00A0' || unit == u'\u2028' || unit == u'\u2029';
    });
}

void addTitle(std::u16string_view html, ImportRecord& record) {
    std::u16string title = normalizedHtmlTitle(html);
    if (!title.empty()) record.properties.set(u"Title", std::move(title));
}

// The first bytes of a file; empty when it cannot be read.
std::string headOf(const std::string& path) {
    std::string head;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return head;
    head.resize(kHeadLength);
    const ssize_t count = ::pread(file, head.data(), head.size(), 0);
    ::close(file);
    head.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return head;
}

// Of an output file, such as "text/000007.txt".
std::string numberedName(const char* folder, std::uint64_t number, const char* extension) {
    char name[60];
    std::snprintf(name, sizeof name, "%s/%06llu.%s", folder,
                  static_cast<unsigned long long>(number), extension);
    return name;
}

// The text alone: lines end in one way, and what stands for a file is no text.
std::u16string plainTextOf(std::u16string text) {
    std::erase(text, platform::kAttachmentCharacter);
    std::ranges::replace(text, platform::kLineBreak, u'\n');
    return text;
}

}  // namespace

std::optional<ImportRecord> FileImporter::import(const FoundFile& file, std::uint64_t number) {
    const auto start = std::chrono::steady_clock::now();
    ImportRecord record;
    bool stopped = false;
    try {
        if (!examine(file, record)) {
            // Nothing to read.
        } else if (record.kind == "pdf") {
            stopped = !importPdf(file, number, record);
        } else if (record.kind == "image") {
            stopped = !importImage(file, number, record);
        } else if (record.kind == "feed" || (record.kind == "text" && isXml(record.type))) {
            importXml(file, number, record);
        } else if (record.kind == "text" && settings_.texts) {
            importPlainText(file, number, record);
        } else if (record.kind == "html") {
            importHtml(file, number, record);
        } else if (record.kind == "richtext") {
            stopped = !importRichText(file, number, record);
        } else if (record.kind == "webarchive") {
            stopped = !importWebArchive(file, number, record);
        } else if (record.kind == "movie" || record.kind == "sound") {
            stopped = !importMovie(file, number, record);
        }
        if (!stopped && settings_.metadata) stopped = !addMetadata(file, number, record);
    } catch (const std::bad_alloc&) {
        record.error = "tooLarge";
    }
    if (stopped) return std::nullopt;
    record.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return record;
}

// Fills in what the file system tells. False when there is nothing to read.
bool FileImporter::examine(const FoundFile& file, ImportRecord& record) {
    record.path = file.path;
    record.error = file.error;
    if (file.error == "notFound") return false;
    const FileType* named = typeForName(file.path);
    if (file.isFolder) {
        record.type = named ? named->identifier : kFolderType.identifier;
        record.kind = named && file.error.empty() ? named->kind : kFolderType.kind;
    } else if (named) {
        record.type = named->identifier;
        record.kind = named->kind;
    }
    if (file.modified.tv_sec != 0 || file.modified.tv_nsec != 0) record.modified = file.modified;
    if (!file.isFolder && file.error != "specialFile") record.size = file.size;
    if (const auto type = platform::contentTypeOfFile(pathFromBytes(file.path))) {
        record.type = toUtf8(*type);
    }
    if (file.error.empty() && file.isFolder && record.kind == "richtext") return true;
    if (!file.error.empty() || file.isFolder) {
        if (record.kind.empty()) record.kind = kDataType.kind;
        return false;
    }
    if (::faccessat(AT_FDCWD, file.path.c_str(), R_OK, AT_EACCESS) != 0) {
        record.error = "notReadable";
    } else if (file.size == 0) {
        record.error = "empty";
    } else if (!named) {
        const std::string head = headOf(file.path);
        const FileType type = typeForHead(std::as_bytes(std::span(head)));
        record.kind = type.kind;
    }
    if (record.kind.empty()) {
        record.kind = kDataType.kind;
    }
    return record.error.empty();
}

// False when the helper was stopped.
bool FileImporter::importPdf(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    FileContents contents = readFile(file.path, {.longest = kLongestPdf, .regularOnly = true});
    if (contents.error != 0) {
        record.error = errorOfReading(contents.error);
        return true;
    }
    const bool isPdf = hasPdfSignature(contents.bytes);
    std::vector<RemoteValue> arguments{PropertyList(false), PropertyList(contents.bytes)};
    HelperSlot::Answer answer = helper_.call("attributed:stringWithPDF:", std::move(arguments));
    if (answer.stopped) return false;
    record.error = answer.error;
    if (!record.error.empty()) return true;

    Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    if (!entries) {
        record.error = isPdf ? "damaged" : "notAPDF";
        return true;
    }
    if (const PropertyList* pages = entries->find(u"PageCount")) record.pages = pages->integer();
    auto text = stringOf(*entries, u"String");
    if (entries->contains(u"Locked")) {
        record.error = "locked";
    } else if (settings_.texts) {
        addText(text ? *std::move(text) : std::u16string(), number, record);
    }
    for (const std::u16string_view key : kKnownKeys) entries->remove(key);
    record.properties = std::move(*entries);
    if (settings_.outFolder.empty() || !settings_.thumbnails) return true;
    // A page that cannot be drawn is no fault of the record; a helper that it brings down is.
    const HelperSlot::Answer picture = callForThumbnail(file);
    if (record.error.empty()) record.error = picture.error;
    const Dictionary* drawn = picture.value ? picture.value->dictionary() : nullptr;
    const PropertyList* thumbnail = drawn ? drawn->find(u"Thumbnail") : nullptr;
    if (thumbnail && thumbnail->bytes()) addThumbnail(*thumbnail->bytes(), number, record);
    return !picture.stopped;
}

HelperSlot::Answer FileImporter::callForThumbnail(const FoundFile& file) {
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(file.path).string();
    return helper_.call(kThumbnailOperation,
                        {PropertyList(pathFromBytes(path)), PropertyList(kThumbnailSize),
                         PropertyList(false), PropertyList(false), PropertyList(false)});
}

// False when the helper was stopped.
bool FileImporter::importImage(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    HelperSlot::Answer answer = callForThumbnail(file);
    if (answer.stopped) return false;
    record.error = answer.error;
    if (!record.error.empty()) return true;
    Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    if (entries == nullptr) {
        record.error = "damaged";
        return true;
    }
    const PropertyList* thumbnail = entries->find(u"Thumbnail");
    if (thumbnail && thumbnail->bytes()) addThumbnail(*thumbnail->bytes(), number, record);
    entries->remove(u"Thumbnail");
    // Those of pixels have their properties in a dictionary, drawings have their sizes beside.
    PropertyList* properties = entries->find(u"Properties");
    record.properties = properties != nullptr && properties->dictionary() != nullptr
                            ? std::move(*properties->dictionary())
                            : std::move(*entries);
    return true;
}

// False when the helper was stopped.
bool FileImporter::importWebArchive(const FoundFile& file, std::uint64_t number,
                                    ImportRecord& record) {
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(file.path).string();
    HelperSlot::Answer answer =
        helper_.call("searchableTextOfWebArchive:", {PropertyList(pathFromBytes(path))});
    if (answer.stopped) return false;
    record.error = answer.error;
    if (!record.error.empty()) return true;

    const Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    auto text = entries ? stringOf(*entries, u"String") : std::nullopt;
    if (!text) {
        record.error = "damaged";
        return true;
    }
    if (settings_.texts) addText(*std::move(text), number, record);
    addTitle(stringOf(*entries, u"Source").value_or(u""), record);
    if (const PropertyList* url = entries->find(u"URL")) record.properties.set(u"URL", *url);
    return true;
}

// False when the helper was stopped.
bool FileImporter::importMovie(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(file.path).string();
    HelperSlot::Answer answer =
        helper_.call("posterImageForMovieWithFile:", {PropertyList(pathFromBytes(path))});
    if (answer.stopped) return false;
    record.error = answer.error;
    if (!record.error.empty()) return true;

    const Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    const PropertyList* duration = entries ? entries->find(u"Duration") : nullptr;
    const PropertyList* thumbnail = entries ? entries->find(u"Thumbnail") : nullptr;
    const auto size = entries ? sizeFromString(stringOf(*entries, u"Size").value_or(u"")) : Size();
    const double seconds = duration ? duration->number().value_or(0) : 0;
    const bool hasSize = size && *size != Size();
    // What is no movie at all has nothing but zeros.
    if (seconds == 0 && !hasSize && !thumbnail) record.error = "damaged";
    if (seconds > 0) record.duration = static_cast<float>(seconds);
    if (hasSize) record.properties.set(u"Size", sizeString(*size));
    if (thumbnail && thumbnail->bytes()) addThumbnail(*thumbnail->bytes(), number, record);
    return true;
}

void FileImporter::importXml(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    const FileContents contents =
        readFile(file.path, {.longest = kLongestPlainText, .regularOnly = true});
    if (contents.error != 0) {
        record.error = errorOfReading(contents.error);
        return;
    }
    const auto feed = textOfSavedPage(contents.bytes);
    if (feed && isFeed(*feed)) {
        record.kind = "feed";
        importFeed(*feed, number, record);
    } else if (record.kind == "feed") {
        record.error = "damaged";
    } else if (settings_.texts) {
        addText(platform::readPlainText(contents.bytes).text, number, record);
    }
}

void FileImporter::importFeed(std::u16string_view feed, std::uint64_t number,
                              ImportRecord& record) {
    const Array items = getItemsOfFeed(feed);
    std::u16string title = titleOfFeed(feed);
    if (!title.empty()) record.properties.set(u"Title", std::move(title));
    record.properties.set(u"ItemCount", static_cast<std::int64_t>(items.size()));
    if (!settings_.texts) return;
    addText(stringByConvertingHtml2PlainText(stringByConvertingItemsToSearchableHTML(items),
                                             {.reformat = true, .onlyBody = true}),
            number, record);
}

// False when the helper was stopped.
bool FileImporter::importRichText(const FoundFile& file, std::uint64_t number,
                                  ImportRecord& record) {
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(file.path).string();
    HelperSlot::Answer answer =
        helper_.call("attributedStringWithContentsOfFile:", {PropertyList(pathFromBytes(path))});
    if (answer.stopped) return false;
    record.error = answer.error;
    if (!record.error.empty()) return true;

    const Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    const PropertyList* rtfd = entries ? entries->find(u"Rtfd") : nullptr;
    if (!rtfd || !rtfd->bytes()) {
        record.error = "damaged";
        return true;
    }
    const PropertyList* attributes = entries->find(u"DocumentAttributes");
    if (attributes && attributes->dictionary()) record.properties = *attributes->dictionary();
    if (settings_.texts) {
        const auto document = platform::documentOfRtfd(*rtfd->bytes());
        addText(document ? plainTextOf(document->text.string()) : std::u16string(), number, record);
    }
    if (settings_.rich) addRichText(*rtfd->bytes(), number, record);
    return true;
}

void FileImporter::addRichText(const Bytes& rtfd, std::uint64_t number, ImportRecord& record) {
    const auto package = platform::folderOfFlatRtfd(rtfd);
    const std::string name = numberedName("rich", number, "rtfd");
    const std::string path = settings_.outFolder + "/" + name;
    if (package && makeFolder(path) == 0 && platform::writePackage(path, *package) == 0) {
        record.rich = name;
    } else {
        record.error = "notWritable";
    }
}

// The text that is searched: of the body, as in web archives.
void FileImporter::importHtml(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    const FileContents contents =
        readFile(file.path, {.longest = kLongestPlainText, .regularOnly = true});
    if (contents.error != 0) {
        record.error = errorOfReading(contents.error);
        return;
    }
    const auto page = textOfSavedPage(contents.bytes);
    if (page) addTitle(*page, record);
    if (!settings_.texts) return;
    if (page) {
        addText(stringByConvertingHtml2PlainText(*page, {.reformat = true, .onlyBody = true}),
                number, record);
    } else {
        record.error = "noText";
    }
}

void FileImporter::importPlainText(const FoundFile& file, std::uint64_t number,
                                   ImportRecord& record) {
    const FileContents contents =
        readFile(file.path, {.longest = kLongestPlainText, .regularOnly = true});
    if (contents.error != 0) {
        record.error = errorOfReading(contents.error);
    } else {
        addText(platform::readPlainText(contents.bytes).text, number, record);
    }
}

// What an importer tells; its text where there is no other. False when the helper was stopped.
bool FileImporter::addMetadata(const FoundFile& file, std::uint64_t number, ImportRecord& record) {
    const bool isThere = file.error.empty() && record.error != "notReadable";
    if (!isThere || record.error == "empty" || isPassing(record.error)) return true;
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(file.path).string();
    HelperSlot::Answer answer =
        helper_.call("metaDataForFile:", {PropertyList(pathFromBytes(path))});
    if (answer.stopped) return false;
    if (record.error.empty()) record.error = answer.error;
    Dictionary* attributes = answer.value ? answer.value->dictionary() : nullptr;
    if (!attributes) return true;
    auto text = stringOf(*attributes, u"kMDItemTextContent");
    attributes->remove(u"kMDItemTextContent");
    record.metadata = std::move(*attributes);
    if (settings_.texts && text && !isBlank(*text) && !record.text && record.error.empty()) {
        addText(*std::move(text), number, record);
    }
    return true;
}

void FileImporter::addThumbnail(const Bytes& tiff, std::uint64_t number, ImportRecord& record) {
    if (settings_.outFolder.empty() || !settings_.thumbnails) return;
    RecordThumbnail entry{.file = numberedName("thumbnails", number, "png")};
    const std::string path = settings_.outFolder + "/" + entry.file;
    if (!writePicture_(tiff, path)) {
        record.error = "notWritable";
        return;
    }
    // Width and height stand first in every PNG.
    constexpr std::size_t kSizes = 16;
    const std::string head = headOf(path);
    if (head.size() < kSizes + 8) return;
    const auto bytes = std::as_bytes(std::span(head));
    entry.width = static_cast<std::int64_t>(bigEndianAt(bytes, kSizes, 4));
    entry.height = static_cast<std::int64_t>(bigEndianAt(bytes, kSizes + 4, 4));
    record.thumbnail = std::move(entry);
}

void FileImporter::addText(std::u16string text, std::uint64_t number, ImportRecord& record) {
    if (isBlank(text)) {
        record.error = "noText";
        return;
    }
    RecordText entry;
    entry.length = text.size();
    if (!settings_.outFolder.empty()) {
        const std::string name = numberedName("text", number, "txt");
        if (writeFile(settings_.outFolder + "/" + name, toUtf8(text)) == 0) {
            entry.file = name;
        } else {
            record.error = "notWritable";
        }
    } else if (text.size() <= kLongestInlineText) {
        entry.string = std::move(text);
    } else {
        record.error = "textTooLong";
    }
    record.text = std::move(entry);
}

}  // namespace corvy::tools
