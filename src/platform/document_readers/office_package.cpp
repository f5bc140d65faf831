#include "platform/document_readers/office_package.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;
namespace attribute = document_attribute;

constexpr double kMostPages = 1e9;

// The name spaces that the readers look into, in the usual and in the strict form.
constexpr XmlPrefix kPrefixes[] = {
    {"http://schemas.openxmlformats.org/wordprocessingml/2006/main", "w"},
    {"http://purl.oclc.org/ooxml/wordprocessingml/main", "w"},
    {kWordNameSpace2003, "w"},
    {"http://schemas.microsoft.com/office/word/2003/auxHint", "wx"},
    {"http://schemas.openxmlformats.org/officeDocument/2006/relationships", "r"},
    {"http://purl.oclc.org/ooxml/officeDocument/relationships", "r"},
    {"http://schemas.openxmlformats.org/drawingml/2006/main", "a"},
    {"http://purl.oclc.org/ooxml/drawingml/main", "a"},
    {"http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing", "wp"},
    {"http://purl.oclc.org/ooxml/drawingml/wordprocessingDrawing", "wp"},
    {"http://schemas.openxmlformats.org/presentationml/2006/main", "p"},
    {"http://purl.oclc.org/ooxml/presentationml/main", "p"},
    {"http://schemas.openxmlformats.org/officeDocument/2006/math", "m"},
    {"http://schemas.openxmlformats.org/markup-compatibility/2006", "mc"},
    {"http://schemas.openxmlformats.org/package/2006/metadata/core-properties", "cp"},
    {"http://purl.org/dc/elements/1.1/", "dc"},
    {"http://purl.org/dc/terms/", "dcterms"},
    {"urn:schemas-microsoft-com:vml", "v"},
    {"urn:schemas-microsoft-com:office:office", "o"},
};

// The name of a part as one of another part refers to it.
std::string partName(std::string_view folder, std::string_view target) {
    std::vector<std::string_view> names;
    const auto add = [&names](std::string_view path) {
        while (!path.empty()) {
            const std::string_view name = path.substr(0, path.find('/'));
            path.remove_prefix(std::min(name.size() + 1, path.size()));
            if (name == "..") {
                if (!names.empty()) names.pop_back();
            } else if (!name.empty() && name != ".") {
                names.push_back(name);
            }
        }
    };
    if (!target.starts_with('/')) add(folder);
    add(target);
    std::string joined;
    for (const std::string_view name : names) {
        if (!joined.empty()) joined += '/';
        joined += name;
    }
    return joined;
}

std::string_view folderOf(std::string_view part) {
    const std::size_t slash = part.rfind('/');
    return slash == std::string_view::npos ? "" : part.substr(0, slash);
}

void readCoreProperties(Node core, DocumentFacts& facts) {
    Dictionary& attributes = facts.attributes;
    const auto set = [&](const char16_t* key, const char* name) {
        setTextAttribute(attributes, key, textBelow(core.child(name)));
    };
    set(attribute::kTitle, "dc:title");
    set(attribute::kSubject, "dc:subject");
    set(attribute::kAuthor, "dc:creator");
    set(attribute::kEditor, "cp:lastModifiedBy");
    set(attribute::kCategory, "cp:category");
    set(attribute::kComment, "dc:description");
    set(attribute::kKeywords, "cp:keywords");
    setDateAttribute(attributes, attribute::kCreationTime,
                     core.child("dcterms:created").text().get());
    setDateAttribute(attributes, attribute::kModificationTime,
                     core.child("dcterms:modified").text().get());
    facts.language = trimWhite(textBelow(core.child("dc:language")));
}

void readExtendedProperties(Node extended, DocumentFacts& facts) {
    setTextAttribute(facts.attributes, attribute::kCompany, textBelow(extended.child("Company")));
    setTextAttribute(facts.attributes, attribute::kManager, textBelow(extended.child("Manager")));
    facts.application = trimWhite(textBelow(extended.child("Application")));
    if (const auto pages = numberOf(extended.child("Pages").text().get())) {
        facts.pageCount = static_cast<std::int64_t>(std::clamp(*pages, 0.0, kMostPages));
    }
}

}  // namespace

pugi::xml_document parseOfficeXml(std::span<const std::byte> bytes) {
    return parseXml(bytes, kPrefixes);
}

pugi::xml_document parseOfficePart(ZipArchive& archive, const std::string& name) {
    const std::optional<Bytes> bytes = archive.read(name);
    return bytes ? parseOfficeXml(*bytes) : pugi::xml_document();
}

Relations relationsOf(ZipArchive& archive, const std::string& part) {
    const std::string_view folder = folderOf(part);
    std::string name(folder);
    if (!name.empty()) name += '/';
    name += "_rels/" + part.substr(part.rfind('/') + 1) + ".rels";
    Relations relations;
    const pugi::xml_document document = parseOfficePart(archive, name);
    for (const Node node : document.document_element().children()) {
        Relation relation;
        const std::string_view type = attributeOf(node, "Type").value_or("");
        relation.type = type.substr(type.rfind('/') + 1);
        const std::string_view target = attributeOf(node, "Target").value_or("");
        relation.isOutside = attributeOf(node, "TargetMode").value_or("") == "External";
        relation.target = relation.isOutside ? std::string(target) : partName(folder, target);
        relations.try_emplace(std::string(attributeOf(node, "Id").value_or("")),
                              std::move(relation));
    }
    return relations;
}

std::string targetOfType(const Relations& relations, std::string_view type) {
    for (const auto& [identifier, relation] : relations) {
        if (relation.type == type && !relation.isOutside) return relation.target;
    }
    return {};
}

std::string mainPart(ZipArchive& archive) {
    std::string part = targetOfType(relationsOf(archive, {}), "officeDocument");
    if (part.empty()) part = "word/document.xml";
    return part;
}

OfficeKind kindOfMainPart(std::string_view part) {
    const std::string_view folder = folderOf(part);
    if (folder == "xl") return OfficeKind::spreadsheet;
    return folder == "ppt" ? OfficeKind::presentation : OfficeKind::text;
}

bool isOfficePackage(ZipArchive& archive) {
    return archive.has("[Content_Types].xml") && archive.has(mainPart(archive));
}

DocumentFacts factsOfOfficePackage(ZipArchive& archive) {
    DocumentFacts facts;
    const Relations relations = relationsOf(archive, {});
    if (const std::string core = targetOfType(relations, "core-properties"); !core.empty()) {
        const pugi::xml_document properties = parseOfficePart(archive, core);
        readCoreProperties(properties.document_element(), facts);
    }
    if (const std::string name = targetOfType(relations, "extended-properties"); !name.empty()) {
        const pugi::xml_document properties = parseOfficePart(archive, name);
        readExtendedProperties(properties.document_element(), facts);
    }
    return facts;
}

}  // namespace corvy::platform
