// XML as a word processor's document: in WordprocessingML and in OpenDocument.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/document_readers/open_document.h"
#include "platform/document_readers/word_body.h"
#include "platform/document_readers/word_documents.h"
#include "platform/document_readers/xml_part.h"

using namespace corvy;
using namespace corvy::platform;

namespace {

void check(const AttributedText& text) {
    if (text.length() > 0 && text.runs().back().end != text.length()) std::abort();
    for (const auto& style : text.paragraphStyles()) {
        for (const TableCell& cell : style.cells) {
            if (cell.table >= text.tables().size() ||
                cell.column + cell.columnSpan > text.tables()[cell.table].columns + 256) {
                std::abort();
            }
        }
        for (const std::uint32_t list : style.lists) {
            if (list >= text.lists().size()) std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    if (const auto document = documentOfWordXml(bytes)) check(document->text);
    if (const auto document = documentOfFlatOpenDocument(bytes)) check(document->text);
    // The parts of a package, all of them in one document here.
    const pugi::xml_document parts = parseXml(bytes);
    const pugi::xml_node root = parts.child("w:document");
    WordSource source;
    source.body = root.child("w:body");
    source.styles = root.child("w:styles");
    source.numbering = root.child("w:numbering");
    source.footnotes = root.child("w:footnotes");
    source.link = [](std::string_view) { return u"http://a.org/"; };
    source.picture = [](std::string_view) { return WordPicture{Bytes::copyOf("x"), u"a.png"}; };
    Dictionary attributes;
    check(textOfWordDocument(source, attributes));
    return 0;
}
