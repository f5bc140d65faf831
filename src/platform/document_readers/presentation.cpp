#include "platform/document_readers/presentation.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "platform/document_readers/office_package.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

// Whether a paragraph stands in a shape that every slide has.
bool isFurniture(Node paragraph) {
    constexpr std::string_view kKinds[] = {"sldNum", "dt", "ftr", "hdr"};
    int depth = 0;
    for (Node node = paragraph.parent(); node && depth < kMaxXmlDepth; node = node.parent()) {
        ++depth;
        if (node.name() != std::string_view("p:sp")) continue;
        const Node place = node.child("p:nvSpPr").child("p:nvPr").child("p:ph");
        const std::string_view kind = attributeOf(place, "type").value_or("");
        return std::ranges::find(kKinds, kind) != std::end(kKinds);
    }
    return false;
}

void addText(Node slide, std::u16string& out) {
    for (const Node paragraph : descendants(slide, "a:p")) {
        if (isFurniture(paragraph)) continue;
        const std::size_t start = out.size();
        for (const Node run : paragraph.children()) {
            if (run.name() == std::string_view("a:br")) out += u'\n';
            out += fromUtf8(run.child("a:t").text().get());
        }
        if (out.size() > start) out += u'\n';
        if (out.size() > kMostPartsText) return;
    }
}

}  // namespace

TextInParts textOfPresentation(ZipArchive& archive) {
    TextInParts out;
    const std::string main = mainPart(archive);
    const Relations relations = relationsOf(archive, main);
    const pugi::xml_document presentation = parseOfficePart(archive, main);
    const Node list = presentation.document_element().child("p:sldIdLst");
    for (const Node entry : list.children("p:sldId")) {
        ++out.partCount;
        const auto relation = relations.find(attributeOf(entry, "r:id").value_or(""));
        if (relation == relations.end() || out.text.size() > kMostPartsText) continue;
        const std::string& part = relation->second.target;
        if (!out.text.empty()) out.text += u'\n';
        addText(parseOfficePart(archive, part), out.text);
        const std::string notes = targetOfType(relationsOf(archive, part), "notesSlide");
        if (!notes.empty()) addText(parseOfficePart(archive, notes), out.text);
    }
    return out;
}

}  // namespace corvy::platform
