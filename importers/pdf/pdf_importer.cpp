// PDF documents.
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/deadline.h"
#include "importers/support/text_list.h"
#include "platform/pdf_document.h"
#include "platform/xmp_packet.h"

namespace corvy {

namespace {

using platform::PdfDocument;
using platform::XmpPacket;

// The library reads its tables and fonts once, before the program that holds the importer forks.
[[maybe_unused]] const bool kIsPrepared = (platform::preparePdfLibrary(), true);

// What the information dictionary says, or where it says nothing, the packet.
class PdfFacts {
public:
    PdfFacts(Dictionary info, XmpPacket packet)
        : info_(std::move(info)), packet_(std::move(packet)) {}

    std::u16string text(std::u16string_view key, std::string_view name) const {
        const std::u16string own = stringOf(info_, key).value_or(u"");
        const std::u16string_view trimmed = trimWhite(own);
        return trimmed.empty() ? packet_.text(name) : std::u16string(trimmed);
    }
    // The packet tells several where the dictionary has room for one text only.
    std::vector<std::u16string> list(std::u16string_view key, std::string_view name,
                                     std::u16string_view separators) const {
        TextList list;
        for (const std::u16string& value : packet_.values(name)) list.add(value);
        if (list.texts().empty()) list.addSplit(stringOf(info_, key).value_or(u""), separators);
        return list.texts();
    }
    PropertyList date(std::u16string_view key, std::string_view name) const {
        const PropertyList* own = info_.find(key);
        if (own && own->date()) return *own;
        const auto date = packet_.date(name);
        return date ? PropertyList(*date) : PropertyList();
    }
    const XmpPacket& packet() const { return packet_; }

private:
    Dictionary info_;
    XmpPacket packet_;
};

void tell(Attributes& attributes, const PdfFacts& facts) {
    attributes.set("kMDItemTitle", facts.text(u"Title", "dc:title"));
    attributes.set("kMDItemAuthors", facts.list(u"Author", "dc:creator", u";"));
    attributes.set("kMDItemSubject", facts.text(u"Subject", "dc:description"));
    attributes.set("kMDItemKeywords", facts.list(u"Keywords", "dc:subject", u",;"));
    attributes.set("kMDItemCreator", facts.text(u"Creator", "xmp:CreatorTool"));
    TextList producers;
    producers.add(facts.text(u"Producer", "pdf:Producer"));
    attributes.set("kMDItemEncodingApplications", producers.texts());
    attributes.set("kMDItemContentCreationDate", facts.date(u"CreationDate", "xmp:CreateDate"));
    attributes.set("kMDItemContentModificationDate", facts.date(u"ModDate", "xmp:ModifyDate"));
    attributes.set("kMDItemCopyright", facts.packet().text("dc:rights"));
    attributes.set("kMDItemPublishers", facts.packet().values("dc:publisher"));
    attributes.set("kMDItemLanguages", facts.packet().values("dc:language"));
}

// All or nothing: who asks for the text alone has a slower way of its own to all of it, which it
// goes when there is none here. As there, a line feed stands behind each page that has text.
std::optional<std::u16string> textOf(PdfDocument& document) {
    const Deadline deadline;
    std::u16string text;
    const std::size_t count = document.pageCount();
    for (std::size_t i = 0; i < count; ++i) {
        const std::u16string page = document.textOfPage(i);
        if (!page.empty()) text += page + u'\n';
        if (text.size() > kMostText || (i + 1 < count && deadline.hasPassed())) return std::nullopt;
    }
    return text;
}

bool importPdf(CorvyAttributes* out, const char*, const char* path) {
    const auto bytes = contentsOfFile(pathFromBytes(path), {.mapped = true});
    auto document = bytes ? PdfDocument::open(bytes->span()) : std::nullopt;
    if (!document) return false;
    Attributes attributes(out);
    attributes.set("kMDItemVersion", document->version());
    attributes.set("kMDItemSecurityMethod",
                   document->isEncrypted() ? u"Password Encrypted" : u"None");
    if (const std::size_t pages = document->pageCount(); pages > 0) {
        attributes.set("kMDItemNumberOfPages", static_cast<std::int64_t>(pages));
        if (const auto size = document->mediaBoxSize(0)) {
            attributes.set("kMDItemPageWidth", size->width);
            attributes.set("kMDItemPageHeight", size->height);
        }
    }
    const std::string packet = document->metadataPacket();
    tell(attributes, {document->documentAttributes().value_or(Dictionary()),
                      XmpPacket(std::as_bytes(std::span(packet)))});
    if (const auto text = textOf(*document)) attributes.setTextContent(*text);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importPdf)
