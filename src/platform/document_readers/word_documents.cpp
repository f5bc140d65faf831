#include "platform/document_readers/word_documents.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/document_readers/word_body.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;
namespace attribute = document_attribute;

constexpr std::string_view kNameSpace2003 = "http://schemas.microsoft.com/office/word/2003/wordml";

// The name spaces that the readers look into, in the usual and in the strict form.
constexpr XmlPrefix kPrefixes[] = {
    {"http://schemas.openxmlformats.org/wordprocessingml/2006/main", "w"},
    {"http://purl.oclc.org/ooxml/wordprocessingml/main", "w"},
    {kNameSpace2003, "w"},
    {"http://schemas.microsoft.com/office/word/2003/auxHint", "wx"},
    {"http://schemas.openxmlformats.org/officeDocument/2006/relationships", "r"},
    {"http://purl.oclc.org/ooxml/officeDocument/relationships", "r"},
    {"http://schemas.openxmlformats.org/drawingml/2006/main", "a"},
    {"http://purl.oclc.org/ooxml/drawingml/main", "a"},
    {"http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing", "wp"},
    {"http://purl.oclc.org/ooxml/drawingml/wordprocessingDrawing", "wp"},
    {"http://schemas.openxmlformats.org/officeDocument/2006/math", "m"},
    {"http://schemas.openxmlformats.org/markup-compatibility/2006", "mc"},
    {"http://schemas.openxmlformats.org/package/2006/metadata/core-properties", "cp"},
    {"http://purl.org/dc/elements/1.1/", "dc"},
    {"http://purl.org/dc/terms/", "dcterms"},
    {"urn:schemas-microsoft-com:vml", "v"},
    {"urn:schemas-microsoft-com:office:office", "o"},
};

struct Relation {
    std::string type;    // the last part of its address
    std::string target;  // a name in the archive, or an address
    bool isOutside = false;
};
using Relations = std::map<std::string, Relation, std::less<>>;

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

pugi::xml_document parsePart(ZipArchive& archive, const std::string& name) {
    const std::optional<Bytes> bytes = archive.read(name);
    return bytes ? parseXml(*bytes, kPrefixes) : pugi::xml_document();
}

// Of a part; of the archive itself for an empty name.
Relations relationsOf(ZipArchive& archive, const std::string& part) {
    const std::string_view folder = folderOf(part);
    std::string name(folder);
    if (!name.empty()) name += '/';
    name += "_rels/" + part.substr(part.rfind('/') + 1) + ".rels";
    Relations relations;
    const pugi::xml_document document = parsePart(archive, name);
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

// The part that another one is related to in that way; empty when there is none.
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

std::u16string latinFont(Node fonts) {
    return fromUtf8(attributeOf(fonts.child("a:latin"), "typeface").value_or(""));
}

void readCoreProperties(Node core, Dictionary& attributes) {
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
}

void readOldProperties(Node properties, Dictionary& attributes) {
    const auto set = [&](const char16_t* key, const char* name) {
        setTextAttribute(attributes, key, textBelow(properties.child(name)));
    };
    set(attribute::kTitle, "o:Title");
    set(attribute::kSubject, "o:Subject");
    set(attribute::kAuthor, "o:Author");
    set(attribute::kEditor, "o:LastAuthor");
    set(attribute::kManager, "o:Manager");
    set(attribute::kCompany, "o:Company");
    set(attribute::kCategory, "o:Category");
    set(attribute::kComment, "o:Description");
    set(attribute::kKeywords, "o:Keywords");
    setDateAttribute(attributes, attribute::kCreationTime,
                     properties.child("o:Created").text().get());
    setDateAttribute(attributes, attribute::kModificationTime,
                     properties.child("o:LastSaved").text().get());
}

void readSettings(Node settings, Node background, Dictionary& attributes) {
    const auto tab = pointsOf(attributeOf(settings.child("w:defaultTabStop"), "w:val"), kTwips);
    if (tab && *tab > 0) attributes.set(attribute::kDefaultTabInterval, *tab);
    if (isWordSwitchOn(settings.child("w:autoHyphenation"))) {
        attributes.set(attribute::kHyphenationFactor, 1.0);
    }
    const auto color = attributeOf(background, "w:color");
    if (colorOf(color)) attributes.set(attribute::kBackgroundColor, u"#" + fromUtf8(*color));
}

}  // namespace

bool isWordPackage(ZipArchive& archive) {
    return archive.has("[Content_Types].xml") && archive.has(mainPart(archive)) &&
           folderOf(mainPart(archive)) != "xl" && folderOf(mainPart(archive)) != "ppt";
}

std::optional<RichDocument> documentOfWordPackage(ZipArchive& archive) {
    const std::string part = mainPart(archive);
    const pugi::xml_document main = parsePart(archive, part);
    const Node root = main.child("w:document");
    if (!root) return std::nullopt;
    const Relations relations = relationsOf(archive, part);
    const auto related = [&](std::string_view type) {
        const std::string name = targetOfType(relations, type);
        return name.empty() ? pugi::xml_document() : parsePart(archive, name);
    };
    const pugi::xml_document styles = related("styles"), numbering = related("numbering"),
                             footnotes = related("footnotes"), endnotes = related("endnotes"),
                             theme = related("theme"), settings = related("settings");
    WordSource source;
    source.body = root.child("w:body");
    source.styles = styles.child("w:styles");
    source.numbering = numbering.child("w:numbering");
    source.footnotes = footnotes.child("w:footnotes");
    source.endnotes = endnotes.child("w:endnotes");
    const Node fonts = descendant(theme, "a:fontScheme");
    source.theme = {latinFont(fonts.child("a:majorFont")), latinFont(fonts.child("a:minorFont"))};
    source.link = [&](std::string_view identifier) -> std::optional<std::u16string> {
        const auto relation = relations.find(identifier);
        if (relation == relations.end() || !relation->second.isOutside) return std::nullopt;
        return fromUtf8(relation->second.target);
    };
    // What stands in the text several times is unpacked once.
    std::map<std::string, std::optional<Bytes>> pictures;
    source.picture = [&](std::string_view identifier) -> std::optional<WordPicture> {
        const auto relation = relations.find(identifier);
        if (relation == relations.end() || relation->second.isOutside) return std::nullopt;
        const std::string& name = relation->second.target;
        const auto [known, isNew] = pictures.try_emplace(name);
        if (isNew) known->second = archive.read(name);
        if (!known->second) return std::nullopt;
        return WordPicture{*known->second, fromUtf8(name)};
    };

    RichDocument document;
    document.attributes.set(attribute::kType, document_type::kOfficeOpenXml);
    document.text = textOfWordDocument(source, document.attributes);
    readSettings(settings.child("w:settings"), root.child("w:background"), document.attributes);
    const Relations top = relationsOf(archive, {});
    if (const std::string core = targetOfType(top, "core-properties"); !core.empty()) {
        const pugi::xml_document properties = parsePart(archive, core);
        readCoreProperties(properties.document_element(), document.attributes);
    }
    if (const std::string name = targetOfType(top, "extended-properties"); !name.empty()) {
        const pugi::xml_document properties = parsePart(archive, name);
        const Node extended = properties.document_element();
        setTextAttribute(document.attributes, attribute::kCompany,
                         textBelow(extended.child("Company")));
        setTextAttribute(document.attributes, attribute::kManager,
                         textBelow(extended.child("Manager")));
    }
    return document;
}

bool isWordXml(std::string_view head) {
    return head.find(kNameSpace2003) != std::string_view::npos &&
           head.find("wordDocument") != std::string_view::npos;
}

std::optional<RichDocument> documentOfWordXml(std::span<const std::byte> bytes) {
    const pugi::xml_document main = parseXml(bytes, kPrefixes);
    const Node root = main.child("w:wordDocument");
    if (!root) return std::nullopt;
    WordSource source;
    source.body = root.child("w:body");
    source.styles = root.child("w:styles");
    source.numbering = root.child("w:lists");
    source.keepsSpaces = attributeOf(root, "xml:space") == "preserve";
    source.link = [](std::string_view) { return std::nullopt; };
    // The data stand with the first picture that shows them.
    std::map<std::string, Bytes, std::less<>> pictures;
    for (const Node data : descendants(root, "w:binData")) {
        if (auto decoded = bytesOfBase64(data.text().get())) {
            pictures.try_emplace(std::string(attributeOf(data, "w:name").value_or("")),
                                 Bytes::copyOf(*decoded));
        }
    }
    source.picture = [&](std::string_view name) -> std::optional<WordPicture> {
        const auto known = pictures.find(name);
        if (known == pictures.end()) return std::nullopt;
        return WordPicture{known->second, fromUtf8(name)};
    };

    RichDocument document;
    document.attributes.set(attribute::kType, document_type::kWordML);
    document.text = textOfWordDocument(source, document.attributes);
    readSettings(root.child("w:docPr"), root.child("w:bgPict").child("w:background"),
                 document.attributes);
    readOldProperties(root.child("o:DocumentProperties"), document.attributes);
    return document;
}

}  // namespace corvy::platform
