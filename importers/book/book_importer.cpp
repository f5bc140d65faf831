// Electronic books in EPUB: archives of a package document and its chapters.
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/date.h"
#include "foundation/text.h"
#include "importers/book/package_document.h"
#include "importers/support/archive_reader.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"
#include "markup/markup_decoding.h"
#include "text/plain_text.h"

namespace corvy {

namespace {

constexpr std::size_t kMostOfFile = std::size_t{16} << 20;  // bytes of a file in the book

std::u16string markupOf(ArchiveReader& reader) {
    const std::string bytes = reader.content(kMostOfFile);
    return stringWithMarkupData(std::as_bytes(std::span(bytes))).value_or(u"");
}

struct Package {
    std::string folder;  // with "/" behind it, or empty
    PackageDocument document;
};

// That which the container names, else the first one.
std::optional<Package> findPackage(const char* path) {
    auto reader = ArchiveReader::open(path, ArchiveReader::Form::zip);
    std::string wanted;
    std::optional<Package> found;
    std::string foundName;
    while (reader) {
        const auto entry = reader->next();
        if (!entry) break;
        const std::string name = toUtf8(entry->name);
        if (name == "META-INF/container.xml") {
            wanted = packageName(markupOf(*reader));
        } else if (name == wanted || (!found && name.ends_with(".opf"))) {
            found = {name.substr(0, name.rfind('/') + 1), readPackageDocument(markupOf(*reader))};
            foundName = name;
        }
        if (found && foundName == wanted) break;
    }
    return found;
}

void tell(Attributes& attributes, const PackageDocument& document) {
    const auto first = [](const TextList& list) {
        return list.texts().empty() ? std::u16string() : list.texts().front();
    };
    attributes.set("kMDItemTitle", first(document.titles));
    attributes.set("kMDItemAuthors", document.creators.texts());
    attributes.set("kMDItemContributors", document.contributors.texts());
    attributes.set("kMDItemLanguages", document.languages.texts());
    attributes.set("kMDItemPublishers", document.publishers.texts());
    attributes.set("kMDItemKeywords", document.subjects.texts());
    attributes.set("kMDItemCopyright", first(document.rights));
    attributes.set("kMDItemIdentifier", first(document.identifiers));
    // Stores write markup into it.
    const std::u16string description = stringByConvertingHtml2PlainText(document.description);
    attributes.set("kMDItemDescription", trimWhite(description));
    if (const auto created = date(document.date)) {
        attributes.set("kMDItemContentCreationDate", *created);
    }
    if (const auto modified = date(document.modified)) {
        attributes.set("kMDItemContentModificationDate", *modified);
    }
    attributes.set(own_keys::kItemCount, static_cast<std::int64_t>(document.chapters.size()));
}

// The chapters in the order of reading, however they lie in the archive.
std::u16string textOf(const char* path, const Package& package) {
    std::unordered_map<std::string, std::size_t> places;
    const auto& chapters = package.document.chapters;
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        const std::filesystem::path name = package.folder + chapters[i];
        places.emplace(name.lexically_normal().string(), i);
    }
    std::vector<std::u16string> texts(chapters.size());
    std::size_t length = 0;
    auto reader = ArchiveReader::open(path, ArchiveReader::Form::zip);
    while (reader && length < kMostText) {
        const auto entry = reader->next();
        if (!entry) break;
        const auto place = places.find(toUtf8(entry->name));
        if (place == places.end()) continue;
        std::u16string& text = texts[place->second];
        text = stringByConvertingHtml2PlainText(markupOf(*reader), {.onlyBody = true});
        length += text.size();
    }
    std::u16string whole;
    whole.reserve(length + 2 * texts.size());
    for (const std::u16string& text : texts) {
        const std::u16string_view trimmed = trimWhite(text);
        if (trimmed.empty()) continue;
        if (!whole.empty()) whole += u"\n\n";
        whole += trimmed;
    }
    return whole;
}

bool importBook(CorvyAttributes* out, const char*, const char* path) {
    const auto package = findPackage(path);
    if (!package) return false;
    Attributes attributes(out);
    tell(attributes, package->document);
    attributes.setTextContent(textOf(path, *package));
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importBook)
