#include "platform/document_readers/spreadsheet.h"

#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "platform/document_readers/office_package.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

// Whatever prefix its name space has: to rename them all would take longer than to read them.
bool isNamed(Node node, std::string_view name) {
    const std::string_view whole = node.name();
    return whole.substr(whole.rfind(':') + 1) == name;
}

Node childOf(Node node, std::string_view name) {
    return node.find_child([name](Node child) { return isNamed(child, name); });
}

// A text that may be in runs; the reading aids of East Asian texts are left out.
std::u16string textOfRuns(Node text) {
    std::u16string all;
    for (const Node child : text.children()) {
        if (isNamed(child, "t")) all += textBelow(child);
        if (isNamed(child, "r")) all += textBelow(childOf(child, "t"));
    }
    return all;
}

// With the digits that are meant: "0.30000000000000004" is 0.3.
std::u16string textOfNumber(std::string_view digits) {
    double number = 0;
    const char* const end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, number).ptr != end) return fromUtf8(digits);
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%.15g", number);
    return std::u16string(text, text + length);
}

class SheetReader {
public:
    explicit SheetReader(ZipArchive& archive) : archive_(archive) {}

    TextInParts read() {
        const std::string main = mainPart(archive_);
        const Relations relations = relationsOf(archive_, main);
        const pugi::xml_document workbook = parseOfficePart(archive_, main);
        readSharedTexts(targetOfType(relations, "sharedStrings"));
        for (const Node sheet : childOf(workbook.document_element(), "sheets").children()) {
            if (!isNamed(sheet, "sheet")) continue;
            ++out_.partCount;
            out_.text += fromUtf8(attributeOf(sheet, "name").value_or("")) + u'\n';
            const auto relation = relations.find(attributeOf(sheet, "r:id").value_or(""));
            if (relation != relations.end()) addSheet(relation->second.target);
            if (isFull()) break;
        }
        return std::move(out_);
    }

private:
    bool isFull() const { return out_.text.size() > kMostPartsText; }

    pugi::xml_document parsePart(const std::string& name) {
        const auto bytes = name.empty() ? std::nullopt : archive_.read(name, kLongestSheet);
        return bytes ? parseXml(*bytes) : pugi::xml_document();
    }

    void readSharedTexts(const std::string& part) {
        const pugi::xml_document document = parsePart(part);
        for (const Node text : document.document_element().children()) {
            if (isNamed(text, "si")) sharedTexts_.push_back(textOfRuns(text));
        }
    }

    void addSheet(const std::string& part) {
        const pugi::xml_document document = parsePart(part);
        for (const Node row : childOf(document.document_element(), "sheetData").children()) {
            const std::size_t start = out_.text.size();
            for (const Node cell : row.children()) addCell(cell, start);
            if (out_.text.size() > start) out_.text += u'\n';
            if (isFull()) return;
        }
        addNotes(targetOfType(relationsOf(archive_, part), "comments"));
    }

    void addCell(Node cell, std::size_t rowStart) {
        // Many cells may share one long text.
        const std::u16string text = isFull() ? std::u16string() : textOfCell(cell);
        if (text.empty()) return;
        if (out_.text.size() > rowStart) out_.text += u'\t';
        out_.text += text;
    }

    std::u16string textOfCell(Node cell) const {
        const std::string_view type = attributeOf(cell, "t").value_or("n");
        if (type == "inlineStr") return textOfRuns(childOf(cell, "is"));
        const std::string_view value = childOf(cell, "v").text().get();
        if (value.empty() || type == "e") return {};
        if (type == "b") return value == "1" ? u"TRUE" : u"FALSE";
        if (type == "n") return textOfNumber(value);
        if (type != "s") return fromUtf8(value);
        std::size_t index = 0;
        const char* const end = value.data() + value.size();
        const bool isIndex = std::from_chars(value.data(), end, index).ptr == end;
        return isIndex && index < sharedTexts_.size() ? sharedTexts_[index] : std::u16string();
    }

    void addNotes(const std::string& part) {
        const pugi::xml_document document = parsePart(part);
        for (const Node note : childOf(document.document_element(), "commentList").children()) {
            const std::u16string text = textOfRuns(childOf(note, "text"));
            if (!text.empty()) out_.text += text + u'\n';
            if (isFull()) return;
        }
    }

    ZipArchive& archive_;
    std::vector<std::u16string> sharedTexts_;
    TextInParts out_;
};

}  // namespace

TextInParts textOfSpreadsheet(ZipArchive& archive) {
    return SheetReader(archive).read();
}

}  // namespace corvy::platform
