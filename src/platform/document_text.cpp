#include "platform/document_text.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "platform/document_reader.h"
#include "platform/document_readers/compound_file.h"
#include "platform/document_readers/office_package.h"
#include "platform/document_readers/open_document.h"
#include "platform/document_readers/open_document_parts.h"
#include "platform/document_readers/presentation.h"
#include "platform/document_readers/property_set.h"
#include "platform/document_readers/spreadsheet.h"
#include "platform/document_readers/word_binary.h"
#include "platform/document_readers/word_documents.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;
using Tell = std::function<void(const DocumentFacts&)>;

// Without what stands for files in the text.
TextInParts plainText(const RichDocument& document) {
    std::u16string text = document.text.string();
    std::erase(text, kAttachmentCharacter);
    std::ranges::replace(text, kLineBreak, u'\n');
    return {std::move(text), 0};
}

std::optional<TextInParts> plainText(const std::optional<RichDocument>& document) {
    return document ? std::optional(plainText(*document)) : std::nullopt;
}

std::optional<TextInParts> textOfArchive(ZipArchive& archive, const Tell& tell) {
    if (isOfficePackage(archive)) {
        tell(factsOfOfficePackage(archive));
        switch (kindOfMainPart(mainPart(archive))) {
            case OfficeKind::spreadsheet: return textOfSpreadsheet(archive);
            case OfficeKind::presentation: return textOfPresentation(archive);
            case OfficeKind::text: return plainText(documentOfWordPackage(archive));
        }
    }
    if (!isOpenDocument(archive, "")) return std::nullopt;
    tell(factsOfOpenDocument(archive));
    return isOpenDocument(archive, "text") ? plainText(documentOfOpenDocument(archive))
                                           : textOfOpenDocumentParts(archive);
}

std::optional<TextInParts> textOfCompoundFile(const CompoundFile& file, const Tell& tell) {
    DocumentFacts facts = summaryInformation(file);
    // Archives are put into such files when they are encrypted.
    facts.isEncrypted = file.has(u"EncryptedPackage");
    tell(facts);
    return plainText(documentOfWordBinary(file));
}

// What the head of an RTF document says and the model has no place for.
DocumentFacts factsOfRtf(std::string_view head, Dictionary attributes) {
    DocumentFacts facts;
    facts.attributes = std::move(attributes);
    constexpr auto kGenerator = "{\\*\\generator "sv;
    const std::size_t at = head.find(kGenerator);
    if (at != head.npos) {
        const std::string_view name = head.substr(at + kGenerator.size());
        facts.application = trimWhite(fromUtf8(name.substr(0, name.find_first_of(";}\\"))));
    }
    return facts;
}

std::optional<TextInParts> textOfRichDocument(std::optional<RichDocument> document,
                                              std::string_view head, const Tell& tell) {
    if (!document) return std::nullopt;
    tell(factsOfRtf(head, std::move(document->attributes)));
    return plainText(*document);
}

}  // namespace

std::optional<TextInParts> textOfDocument(const std::string& path, const Tell& tell) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return textOfRichDocument(readDocument(path, {}), {}, tell);
    }
    const auto bytes = contentsOfFile(pathFromBytes(path), {.most = kMaxDocumentFile});
    if (!bytes) return std::nullopt;
    if (isCompoundFile(*bytes)) {
        const auto file = CompoundFile::open(*bytes);
        return file ? textOfCompoundFile(*file, tell) : std::nullopt;
    }
    if (bytes->chars().starts_with("PK\x03\x04"sv)) {
        auto archive = ZipArchive::open(*bytes);
        return archive ? textOfArchive(*archive, tell) : std::nullopt;
    }
    constexpr std::size_t kHead = std::size_t{64} << 10;
    return textOfRichDocument(readDocument(*bytes, path, {}), bytes->chars().substr(0, kHead),
                              tell);
}

}  // namespace corvy::platform
