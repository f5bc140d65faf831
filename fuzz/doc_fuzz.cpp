// A compound file as a Word document: what comes of it is bounded by the file, and its runs cover
// the text.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/document_readers/compound_file.h"
#include "platform/document_readers/word_binary.h"

using namespace corvy::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = corvy::Bytes::copyOf(std::as_bytes(std::span(data, size)));
    const auto file = CompoundFile::open(bytes);
    if (!file) return 0;
    const auto document = documentOfWordBinary(*file);
    if (!document) return 0;
    const AttributedText& text = document->text;
    // Markers of lists and numbers of notes are added to what stands in the file.
    constexpr std::size_t kMostAdded = 400;
    if (text.length() > (size + 1) * kMostAdded) std::abort();
    if (text.length() > 0 && text.runs().back().end != text.length()) std::abort();
    if (text.unstyledStart() > text.length()) std::abort();
    for (const auto& style : text.paragraphStyles()) {
        for (const TableCell& cell : style.cells) {
            if (cell.table >= text.tables().size()) std::abort();
        }
        for (const std::uint32_t list : style.lists) {
            if (list >= text.lists().size()) std::abort();
        }
    }
    return 0;
}
