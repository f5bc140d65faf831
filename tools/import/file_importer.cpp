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
#include "foundation/file_contents.h"
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

// By their names, feeds are often some other XML.
bool isXml(std::string_view type) {
    return platform::conformsTo(fromUtf8(type), u"public.xml");
}

// Text that programs write for programs, in encodings of their own: importers know what a person
// reads of it.
bool isForPrograms(std::string_view type) {
    const std::u16string identifier = fromUtf8(type);
    return platform::conformsTo(identifier, u"public.message") ||
           platform::conformsTo(identifier, u"public.contact") ||
           platform::conformsTo(identifier, u"public.calendar-event");
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

// One file on its way into its record.
class FileImport {
public:
    FileImport(HelperSlot& helper, const ImportSettings& settings,
               const ThumbnailMaker& makeThumbnail, const FoundFile& file, std::uint64_t number)
        : helper_(helper),
          settings_(settings),
          makeThumbnail_(makeThumbnail),
          file_(file),
          number_(number) {}

    // None when the helper was stopped.
    std::optional<ImportRecord> run();

private:
    struct Kind {
        std::string_view name;  // as in records
        void (FileImport::*import)();
    };
    static const Kind kKinds[];

    bool examine();
    void importContents();

    void importPdf();
    void importImage();
    void importMovie();
    void importRichText();
    void importWebArchive();
    void importHtml();
    void importXml();
    void importText();
    void addFeed(std::u16string_view feed);
    void addMetadata();

    std::optional<Dictionary> take(HelperSlot::Answer answer);
    std::optional<Dictionary> ask(std::string_view selector, std::vector<RemoteValue> arguments) {
        return take(helper_.call(selector, std::move(arguments)));
    }
    PropertyList helpersPath() const;
    std::optional<Dictionary> askForThumbnail();
    std::optional<Bytes> contents(std::uint64_t longest);

    // The first thing that goes wrong is the record's error.
    void fail(std::string_view error) {
        if (record_.error.empty()) record_.error = error;
    }
    bool wantsThumbnails() const { return settings_.thumbnails && !settings_.outFolder.empty(); }
    std::string outPath(const std::string& name) const { return settings_.outFolder + "/" + name; }
    void addTitle(std::u16string_view html);
    void addText(std::u16string text);
    void addRichText(const Bytes& rtfd);
    void addThumbnail(const Dictionary& entries);

    HelperSlot& helper_;
    const ImportSettings& settings_;
    const ThumbnailMaker& makeThumbnail_;
    const FoundFile& file_;
    const std::uint64_t number_;
    ImportRecord record_;
    bool stopped_ = false;
};

// Of kinds that are not here, records say what the file system and importers tell.
constexpr FileImport::Kind FileImport::kKinds[] = {
    {"feed", &FileImport::importXml},
    {"html", &FileImport::importHtml},
    {"image", &FileImport::importImage},
    {"movie", &FileImport::importMovie},
    {"pdf", &FileImport::importPdf},
    {"richtext", &FileImport::importRichText},
    {"sound", &FileImport::importMovie},
    {"text", &FileImport::importText},
    {"webarchive", &FileImport::importWebArchive},
};

std::optional<ImportRecord> FileImport::run() {
    const auto start = std::chrono::steady_clock::now();
    try {
        if (examine()) importContents();
        if (settings_.metadata && record_.metadata.empty()) addMetadata();
    } catch (const std::bad_alloc&) {
        record_.error = "tooLarge";
    }
    if (stopped_) return std::nullopt;
    record_.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return std::move(record_);
}

// Fills in what the file system tells. False when there is nothing to read.
bool FileImport::examine() {
    record_.path = file_.path;
    record_.error = file_.error;
    if (file_.error == "notFound") return false;
    const FileType* named = typeForName(file_.path);
    if (file_.isFolder) {
        record_.type = named ? named->identifier : kFolderType.identifier;
        record_.kind = named && file_.error.empty() ? named->kind : kFolderType.kind;
    } else {
        record_.type = named ? named->identifier : "";
        record_.kind = named ? named->kind : kDataType.kind;
    }
    if (file_.modified.tv_sec != 0 || file_.modified.tv_nsec != 0) {
        record_.modified = file_.modified;
    }
    if (!file_.isFolder && file_.error != "specialFile") record_.size = file_.size;
    if (const auto type = platform::contentTypeOfFile(pathFromBytes(file_.path))) {
        record_.type = toUtf8(*type);
    }
    if (!file_.error.empty()) return false;
    if (file_.isFolder) return record_.kind == "richtext";
    if (::faccessat(AT_FDCWD, file_.path.c_str(), R_OK, AT_EACCESS) != 0) {
        fail("notReadable");
    } else if (file_.size == 0) {
        fail("empty");
    } else if (!named) {
        const auto head = contentsOfFile(pathFromBytes(file_.path),
                                         {.most = kHeadLength, .beginningSuffices = true});
        record_.kind = typeForHead(head.value_or(Bytes())).kind;
    }
    return record_.error.empty();
}

void FileImport::importContents() {
    const auto* kind = std::ranges::find(kKinds, record_.kind, &Kind::name);
    if (kind != std::end(kKinds)) (this->*kind->import)();
}

void FileImport::importPdf() {
    const auto bytes = contents(kLongestPdf);
    if (!bytes) return;
    auto entries = ask("attributed:stringWithPDF:", {PropertyList(false), PropertyList(*bytes)});
    if (!entries) return fail(hasPdfSignature(*bytes) ? "damaged" : "notAPDF");
    if (const PropertyList* pages = entries->find(u"PageCount")) record_.pages = pages->integer();
    auto text = stringOf(*entries, u"String");
    if (entries->contains(u"Locked")) {
        fail("locked");
    } else if (settings_.texts) {
        addText(text ? *std::move(text) : std::u16string());
    }
    for (const std::u16string_view key : kKnownKeys) entries->remove(key);
    record_.properties = *std::move(entries);
    if (!wantsThumbnails()) return;
    // A page that cannot be drawn is no fault of the document.
    if (const auto drawn = askForThumbnail()) addThumbnail(*drawn);
}

void FileImport::importImage() {
    auto entries = askForThumbnail();
    if (!entries) return fail("damaged");
    addThumbnail(*entries);
    entries->remove(u"Thumbnail");
    // Those of pixels have their properties in a dictionary, drawings have their sizes beside.
    PropertyList* properties = entries->find(u"Properties");
    record_.properties = properties != nullptr && properties->dictionary() != nullptr
                             ? std::move(*properties->dictionary())
                             : *std::move(entries);
}

void FileImport::importMovie() {
    const auto entries = ask("posterImageForMovieWithFile:", {helpersPath()});
    const PropertyList* duration = entries ? entries->find(u"Duration") : nullptr;
    const auto size = entries ? sizeFromString(stringOf(*entries, u"Size").value_or(u"")) : Size();
    const double seconds = duration ? duration->number().value_or(0) : 0;
    const bool hasSize = size && *size != Size();
    // What is no movie at all has nothing but zeros.
    if (seconds == 0 && !hasSize && !(entries && entries->contains(u"Thumbnail"))) {
        return fail("damaged");
    }
    if (seconds > 0) record_.duration = static_cast<float>(seconds);
    if (hasSize) record_.properties.set(u"Size", sizeString(*size));
    addThumbnail(*entries);
}

void FileImport::importRichText() {
    const auto entries = ask("attributedStringWithContentsOfFile:", {helpersPath()});
    const PropertyList* rtfd = entries ? entries->find(u"Rtfd") : nullptr;
    if (!rtfd || !rtfd->bytes()) return fail("damaged");
    const PropertyList* attributes = entries->find(u"DocumentAttributes");
    if (attributes && attributes->dictionary()) record_.properties = *attributes->dictionary();
    if (settings_.texts) {
        const auto document = platform::documentOfRtfd(*rtfd->bytes());
        addText(document ? plainTextOf(document->text.string()) : std::u16string());
    }
    if (settings_.rich) addRichText(*rtfd->bytes());
}

void FileImport::importWebArchive() {
    const auto entries = ask("searchableTextOfWebArchive:", {helpersPath()});
    auto text = entries ? stringOf(*entries, u"String") : std::nullopt;
    if (!text) return fail("damaged");
    if (settings_.texts) addText(*std::move(text));
    addTitle(stringOf(*entries, u"Source").value_or(u""));
    if (const PropertyList* url = entries->find(u"URL")) record_.properties.set(u"URL", *url);
}

// The text that is searched: of the body, as in web archives.
void FileImport::importHtml() {
    const auto bytes = contents(kLongestPlainText);
    if (!bytes) return;
    const auto page = textOfSavedPage(*bytes);
    if (page) addTitle(*page);
    if (!settings_.texts) return;
    if (!page) return fail("noText");
    addText(stringByConvertingHtml2PlainText(*page, {.reformat = true, .onlyBody = true}));
}

void FileImport::importXml() {
    const auto bytes = contents(kLongestPlainText);
    if (!bytes) return;
    const auto feed = textOfSavedPage(*bytes);
    if (feed && isFeed(*feed)) {
        record_.kind = "feed";
        addFeed(*feed);
    } else if (record_.kind == "feed") {
        fail("damaged");
    } else if (settings_.texts) {
        addText(platform::readPlainText(*bytes).text);
    }
}

void FileImport::importText() {
    if (isXml(record_.type)) return importXml();
    if (!settings_.texts) return;
    if (settings_.metadata && isForPrograms(record_.type)) addMetadata();
    if (stopped_ || record_.text || !record_.error.empty()) return;
    if (const auto bytes = contents(kLongestPlainText)) {
        addText(platform::readPlainText(*bytes).text);
    }
}

void FileImport::addFeed(std::u16string_view feed) {
    const Array items = getItemsOfFeed(feed);
    std::u16string title = titleOfFeed(feed);
    if (!title.empty()) record_.properties.set(u"Title", std::move(title));
    record_.properties.set(u"ItemCount", static_cast<std::int64_t>(items.size()));
    if (!settings_.texts) return;
    addText(stringByConvertingHtml2PlainText(stringByConvertingItemsToSearchableHTML(items),
                                             {.reformat = true, .onlyBody = true}));
}

// What an importer tells; its text where there is no other.
void FileImport::addMetadata() {
    if (stopped_ || !file_.error.empty() || record_.error == "notReadable" ||
        record_.error == "empty" || isPassing(record_.error) || isHelperLost(record_.error)) {
        return;
    }
    HelperSlot::Answer answer = helper_.call("metaDataForFile:", {helpersPath()});
    // Where no helper comes up, or it refuses, there is only less to tell.
    if (!isHelperLost(answer.error)) answer.error = {};
    auto attributes = take(std::move(answer));
    if (!attributes) return;
    auto text = stringOf(*attributes, u"kMDItemTextContent");
    attributes->remove(u"kMDItemTextContent");
    record_.metadata = *std::move(attributes);
    if (settings_.texts && text && !isBlank(*text) && !record_.text && record_.error.empty()) {
        addText(*std::move(text));
    }
}

// The dictionary that the helper answered with; none when there is none. A call that failed is the
// record's error.
std::optional<Dictionary> FileImport::take(HelperSlot::Answer answer) {
    stopped_ = stopped_ || answer.stopped;
    fail(answer.error);
    Dictionary* entries = answer.value ? answer.value->dictionary() : nullptr;
    return entries ? std::optional(std::move(*entries)) : std::nullopt;
}

// The helper opens the file itself, from another folder.
PropertyList FileImport::helpersPath() const {
    return PropertyList(pathFromBytes(std::filesystem::absolute(file_.path).native()));
}

std::optional<Dictionary> FileImport::askForThumbnail() {
    return ask(kThumbnailOperation,
               {helpersPath(), PropertyList(kThumbnailSide), PropertyList(false),
                PropertyList(false), PropertyList(false)});
}

// None, and an error, when the file cannot be read.
std::optional<Bytes> FileImport::contents(std::uint64_t longest) {
    FileContents read = readFile(file_.path, {.longest = longest, .regularOnly = true});
    if (read.error == 0) return std::move(read.bytes);
    fail(errorOfReading(read.error));
    return std::nullopt;
}

void FileImport::addTitle(std::u16string_view html) {
    std::u16string title = normalizedHtmlTitle(html);
    if (!title.empty()) record_.properties.set(u"Title", std::move(title));
}

void FileImport::addText(std::u16string text) {
    if (isBlank(text)) return fail("noText");
    RecordText entry;
    entry.length = text.size();
    if (!settings_.outFolder.empty()) {
        const std::string name = numberedName("text", number_, "txt");
        if (writeFile(outPath(name), toUtf8(text)) == 0) {
            entry.file = name;
        } else {
            fail("notWritable");
        }
    } else if (text.size() <= kLongestInlineText) {
        entry.string = std::move(text);
    } else {
        fail("textTooLong");
    }
    record_.text = std::move(entry);
}

void FileImport::addRichText(const Bytes& rtfd) {
    const auto package = platform::folderOfFlatRtfd(rtfd);
    const std::string name = numberedName("rich", number_, "rtfd");
    if (package && makeFolder(outPath(name)) == 0 &&
        platform::writePackage(outPath(name), *package) == 0) {
        record_.rich = name;
    } else {
        fail("notWritable");
    }
}

void FileImport::addThumbnail(const Dictionary& entries) {
    const PropertyList* tiff = entries.find(u"Thumbnail");
    if (!wantsThumbnails() || !tiff || !tiff->bytes()) return;
    RecordThumbnail entry{.file = numberedName("thumbnails", number_, "png")};
    const auto png = makeThumbnail_(*tiff->bytes());
    // Width and height stand first in every PNG.
    constexpr std::size_t kSizes = 16;
    if (!png || png->size() < kSizes + 8 || writeFile(outPath(entry.file), png->chars()) != 0) {
        return fail("notWritable");
    }
    entry.width = static_cast<std::int64_t>(bigEndianAt(*png, kSizes, 4));
    entry.height = static_cast<std::int64_t>(bigEndianAt(*png, kSizes + 4, 4));
    record_.thumbnail = std::move(entry);
}

}  // namespace

std::optional<ImportRecord> FileImporter::import(const FoundFile& file, std::uint64_t number) {
    return FileImport(helper_, settings_, makeThumbnail_, file, number).run();
}

}  // namespace corvy::tools
