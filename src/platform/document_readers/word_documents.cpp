#include "platform/document_readers/word_documents.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/document_readers/office_package.h"
#include "platform/document_readers/word_body.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;
namespace attribute = document_attribute;

std::u16string latinFont(Node fonts) {
    return fromUtf8(attributeOf(fonts.child("a:latin"), "typeface").value_or(""));
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
    return isOfficePackage(archive) && kindOfMainPart(mainPart(archive)) == OfficeKind::text;
}

std::optional<RichDocument> documentOfWordPackage(ZipArchive& archive) {
    const std::string part = mainPart(archive);
    const pugi::xml_document main = parseOfficePart(archive, part);
    const Node root = main.child("w:document");
    if (!root) return std::nullopt;
    const Relations relations = relationsOf(archive, part);
    const auto related = [&](std::string_view type) {
        const std::string name = targetOfType(relations, type);
        return name.empty() ? pugi::xml_document() : parseOfficePart(archive, name);
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
    document.attributes.addEntries(factsOfOfficePackage(archive).attributes);
    return document;
}

bool isWordXml(std::string_view head) {
    return head.find(kWordNameSpace2003) != std::string_view::npos &&
           head.find("wordDocument") != std::string_view::npos;
}

std::optional<RichDocument> documentOfWordXml(std::span<const std::byte> bytes) {
    const pugi::xml_document main = parseOfficeXml(bytes);
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
