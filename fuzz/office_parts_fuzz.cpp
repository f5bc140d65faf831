// The parts of spreadsheets and presentations: the input is cut at bytes 0xFF, which no part has.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "foundation/bytes.h"
#include "platform/document_readers/office_package.h"
#include "platform/document_readers/open_document_parts.h"
#include "platform/document_readers/presentation.h"
#include "platform/document_readers/spreadsheet.h"
#include "tests/importers/packed.h"

using namespace corvy::platform;

namespace {

const std::string kRelation = "<Relationship Type='x/";

void check(const TextInParts& text, std::size_t inputSize) {
    if (text.partCount < 0 || text.partCount > static_cast<std::int64_t>(inputSize)) std::abort();
    // A text may stand in every cell; the last one may be as long as the input.
    if (text.text.size() > kMostPartsText + 4 * inputSize + 100) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 100'000) return 0;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::array<std::string, 4> parts;
    for (std::string& part : parts) {
        part = rest.substr(0, rest.find('\xFF'));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    }
    const bool isSlides = parts[0].find("sldId") != std::string::npos;
    const std::string main = isSlides ? "ppt/m.xml" : "xl/m.xml";
    const std::string folder = main.substr(0, main.find('/'));
    const std::string bytes = corvy::test::zipped({
        {"_rels/.rels", "<R>" + kRelation + "officeDocument' Target='" + main + "'/>" + kRelation +
                            "extended-properties' Target='content.xml'/>" + kRelation +
                            "core-properties' Target='content.xml'/></R>"},
        {main, parts[0]},
        {folder + "/_rels/m.xml.rels", "<R>" + kRelation + "sheet' Id='a' Target='s.xml'/>" +
                                           kRelation + "sharedStrings' Target='t.xml'/></R>"},
        {folder + "/s.xml", parts[1]},
        {folder + "/_rels/s.xml.rels", "<R>" + kRelation + "comments' Target='c.xml'/>" +
                                           kRelation + "notesSlide' Target='c.xml'/></R>"},
        {folder + "/t.xml", parts[2]},
        {folder + "/c.xml", parts[3]},
        {"content.xml", parts[0]},
    });
    auto archive = ZipArchive::open(corvy::Bytes::copyOf(bytes));
    if (!archive) std::abort();
    check(isSlides ? textOfPresentation(*archive) : textOfSpreadsheet(*archive), size);
    check(textOfOpenDocumentParts(*archive), size);
    factsOfOfficePackage(*archive);
    return 0;
}
