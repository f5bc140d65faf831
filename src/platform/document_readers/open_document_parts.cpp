#include "platform/document_readers/open_document_parts.h"

#include <string>
#include <string_view>

#include "foundation/text.h"
#include "platform/document_readers/open_document.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

constexpr std::size_t kLongestContent = std::size_t{64} << 20;

bool isParagraph(Node node) {
    const std::string_view name = node.name();
    return name == "text:p" || name == "text:h";
}

// Text outside of paragraphs, and between the items of lists, is the white space of the file.
bool isWritten(Node text) {
    const std::string_view parent = text.parent().name();
    return parent.starts_with("text:") && !parent.starts_with("text:list");
}

// The paragraphs below the node, with a line feed behind each that has text. One that stands inside
// another begins a line of its own.
std::u16string textOfParagraphs(Node node) {
    std::string text;
    const auto endLine = [&text] {
        if (!text.empty() && text.back() != '\n') text += '\n';
    };
    visitBelow(node, [&](Node below) {
        const std::string_view name = below.name();
        if (isParagraph(below)) endLine();
        if (name == "text:s") text += ' ';
        if (name == "text:tab") text += '\t';
        if (name == "text:line-break") text += '\n';
        if (name.empty() && isWritten(below)) text += below.value();
        return false;
    });
    endLine();
    return fromUtf8(text);
}

void addSheet(Node table, std::u16string& out) {
    out += fromUtf8(attributeOf(table, "table:name").value_or("")) + u'\n';
    for (const Node row : descendants(table, "table:table-row")) {
        std::u16string line;
        for (const Node cell : row.children()) {
            const std::u16string text = textOfParagraphs(cell);
            if (text.empty()) continue;
            if (!line.empty()) line += u'\t';
            line += trimWhite(text);
        }
        if (!line.empty()) out += line + u'\n';
        if (out.size() > kMostPartsText) return;
    }
}

}  // namespace

TextInParts textOfOpenDocumentParts(ZipArchive& archive) {
    TextInParts out;
    const pugi::xml_document content =
        parseOpenDocumentPart(archive, "content.xml", kLongestContent);
    const Node body = content.document_element().child("office:body").first_child();
    for (const Node part : body.children()) {
        const bool isSheet = part.name() == std::string_view("table:table");
        if (!isSheet && part.name() != std::string_view("draw:page")) continue;
        ++out.partCount;
        if (out.text.size() > kMostPartsText) continue;
        if (!isSheet && !out.text.empty()) out.text += u'\n';
        if (isSheet) {
            addSheet(part, out.text);
        } else {
            out.text += textOfParagraphs(part);
        }
    }
    return out;
}

}  // namespace corvy::platform
