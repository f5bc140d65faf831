// RTF: styles cover the text, files stand at their characters, tables have cells, and a document
// that was written once comes back with the same text, but for the empty cells that fill gaps in
// rows.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtf_writer.h"

using namespace corvy::platform;

namespace {

void check(const AttributedText& text, std::size_t size) {
    // The number of a footnote and a tab before a marker are more than what stands for them.
    if (text.length() > 4 * size) std::abort();
    if ((text.runs().empty() ? 0 : text.runs().back().end) != text.length()) std::abort();
    if (text.unstyledStart() > text.length()) std::abort();
    for (const Attachment& attachment : text.attachments()) {
        if (text.string().at(attachment.location) != kAttachmentCharacter) std::abort();
    }
    for (const ParagraphStyle& style : text.paragraphStyles()) {
        for (const TableCell& cell : style.cells) {
            if (cell.table >= text.tables().size() || cell.rowSpan < 1) std::abort();
            if (cell.columnSpan < 1) std::abort();
        }
        for (const std::uint32_t list : style.lists) {
            if (list >= text.lists().size()) std::abort();
        }
    }
}

RichDocument again(const RichDocument& document) {
    const std::string rtf = rtfOf(document);
    const auto read = documentOfRtf(std::as_bytes(std::span(rtf)));
    if (!read) std::abort();
    check(read->text, rtf.size());
    return *read;
}

std::u16string withoutEnds(const RichDocument& document) {
    std::u16string text = document.text.string();
    std::erase(text, u'\n');
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto document = documentOfRtf(std::as_bytes(std::span(data, size)));
    if (!document) return 0;
    check(document->text, size);
    const RichDocument once = again(*document);
    if (withoutEnds(again(once)) != withoutEnds(once)) std::abort();
    return 0;
}
