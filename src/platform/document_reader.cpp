#include "platform/document_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "foundation/ascii_case.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "platform/document_readers/compound_file.h"
#include "platform/document_readers/encoding_numbers.h"
#include "platform/document_readers/open_document.h"
#include "platform/document_readers/word_binary.h"
#include "platform/document_readers/word_documents.h"
#include "platform/document_readers/zip_archive.h"
#include "platform/plain_text_file.h"
#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtfd.h"
#include "platform/rich_text/rtfd_package.h"

namespace corvy::platform {

namespace {

using namespace std::literals;

constexpr std::size_t kHead = 8192;  // bytes in which the marks of a format stand

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(asciiLower(static_cast<unsigned char>(c)));
    return lower;
}

// In lower case.
std::string extensionOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string() : lowerCase(name.substr(dot + 1));
}

// The text behind a byte-order mark, white space, comments, declarations of XML.
std::string_view skipPrologue(std::string_view head) {
    if (head.starts_with("\xEF\xBB\xBF")) head.remove_prefix(3);
    while (true) {
        head.remove_prefix(std::min(head.find_first_not_of(" \t\r\n\f"), head.size()));
        const std::string_view end = head.starts_with("<!--") ? "-->"sv
                                     : head.starts_with("<?") ? "?>"sv
                                                              : ""sv;
        const std::size_t at = end.empty() ? std::string_view::npos : head.find(end, 2);
        if (at == std::string_view::npos) return head;
        head.remove_prefix(at + end.size());
    }
}

bool startsHtml(std::string_view head) {
    static constexpr std::string_view kMarks[] = {"<!doctype html", "<html", "<head", "<body"};
    const std::string start = lowerCase(skipPrologue(head).substr(0, 32));
    return std::ranges::any_of(kMarks,
                               [&](std::string_view mark) { return start.starts_with(mark); });
}

DocumentKind kindOfArchive(const Bytes& bytes) {
    auto archive = ZipArchive::open(bytes);
    if (!archive) return DocumentKind::unknown;
    if (isWordPackage(*archive)) return DocumentKind::wordPackage;
    if (isOpenDocument(*archive, "text")) return DocumentKind::openDocument;
    return DocumentKind::unknown;
}

}  // namespace

DocumentKind kindOfDocument(const Bytes& bytes, std::string_view path) {
    const std::string_view chars = bytes.chars();
    const std::string_view head = chars.substr(0, kHead);
    if (isFlatRtfd(bytes)) return DocumentKind::flatRtfd;
    if (isRtf(bytes)) return DocumentKind::rtf;
    if (isCompoundFile(bytes)) {
        const auto file = CompoundFile::open(bytes);
        return file && isWordBinary(*file) ? DocumentKind::wordBinary : DocumentKind::unknown;
    }
    if (head.starts_with("PK\x03\x04"sv)) return kindOfArchive(bytes);
    constexpr auto kArchiveKey = "WebMainResource"sv;
    if (head.starts_with("bplist0")) {
        return chars.find(kArchiveKey) != std::string_view::npos ? DocumentKind::webArchive
                                                                 : DocumentKind::unknown;
    }
    if (head.starts_with("%PDF-")) return DocumentKind::unknown;
    const std::string_view start = skipPrologue(head);
    if (start.starts_with("<")) {
        if (isWordXml(head)) return DocumentKind::wordXml;
        if (isFlatOpenDocument(head)) return DocumentKind::flatOpenDocument;
        if (head.find("<plist") != std::string_view::npos &&
            chars.find(kArchiveKey) != std::string_view::npos) {
            return DocumentKind::webArchive;
        }
    }
    if (startsHtml(head)) return DocumentKind::html;
    if (!looksLikePlainText(bytes)) return DocumentKind::unknown;
    static constexpr std::string_view kPages[] = {"htm", "html", "shtml", "xht", "xhtml"};
    const bool isPage = std::ranges::binary_search(kPages, extensionOf(path));
    return isPage ? DocumentKind::html : DocumentKind::plainText;
}

namespace {

RichDocument documentOfPlainText(const Bytes& bytes) {
    PlainTextFile file = readPlainText(bytes);
    // Lines end in one way in the model.
    std::u16string& text = file.text;
    std::size_t length = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
        text[length++] = text[i] == u'\r' ? u'\n' : text[i];
    }
    text.resize(length);
    RichDocument document;
    document.text.append(text, {});
    document.text.setParagraphStyle({});
    document.attributes.set(document_attribute::kType, document_type::kPlainText);
    document.attributes.set(document_attribute::kCharacterEncoding,
                            numberOfEncoding(file.encoding));
    return document;
}

std::optional<RichDocument> readPackageDocument(const std::string& path) {
    const std::optional<FileNode> folder = readPackage(path);
    return folder ? documentOfRtfdFolder(*folder) : std::nullopt;
}

// A document that another program made RTF of.
std::optional<RichDocument> convertedDocument(const std::string& path,
                                              const DocumentReaders& readers) {
    if (!readers.converter) return std::nullopt;
    const std::optional<Bytes> rtf = readers.converter(path);
    if (!rtf) return std::nullopt;
    std::optional<RichDocument> document = documentOfRtf(*rtf);
    if (document) document->attributes.set(document_attribute::kConverted, 1);
    return document;
}

}  // namespace

std::optional<RichDocument> readDocument(const Bytes& bytes, const std::string& path,
                                         const DocumentReaders& readers) {
    const auto inArchive = [&](auto read) -> std::optional<RichDocument> {
        std::optional<ZipArchive> archive = ZipArchive::open(bytes);
        return archive ? read(*archive) : std::nullopt;
    };
    switch (kindOfDocument(bytes, path)) {
        case DocumentKind::plainText: return documentOfPlainText(bytes);
        case DocumentKind::rtf:
        case DocumentKind::flatRtfd: return documentOfRtfd(bytes);
        case DocumentKind::html: return readers.html ? readers.html(bytes, path) : std::nullopt;
        case DocumentKind::webArchive:
            return readers.webArchive ? readers.webArchive(bytes) : std::nullopt;
        case DocumentKind::wordPackage: return inArchive(documentOfWordPackage);
        case DocumentKind::openDocument: return inArchive(documentOfOpenDocument);
        case DocumentKind::flatOpenDocument: return documentOfFlatOpenDocument(bytes);
        case DocumentKind::wordBinary: {
            const auto file = CompoundFile::open(bytes);
            return file ? documentOfWordBinary(*file) : std::nullopt;
        }
        case DocumentKind::wordXml: return documentOfWordXml(bytes);
        default: return convertedDocument(path, readers);
    }
}

std::optional<RichDocument> readDocument(const std::string& path, const DocumentReaders& readers) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return readPackageDocument(path);
    }
    const std::optional<Bytes> bytes =
        contentsOfFile(pathFromBytes(path), {.most = kMaxDocumentFile});
    return bytes ? readDocument(*bytes, path, readers) : std::nullopt;
}

}  // namespace corvy::platform
