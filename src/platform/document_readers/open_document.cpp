#include "platform/document_readers/open_document.h"

#include <algorithm>
#include <map>
#include <string>

#include "foundation/text.h"
#include "platform/document_readers/open_document_body.h"
#include "platform/document_readers/open_document_styles.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;
namespace attribute = document_attribute;

constexpr std::string_view kOfficeNameSpace = "urn:oasis:names:tc:opendocument:xmlns:office:1.0";

constexpr XmlPrefix kPrefixes[] = {
    {kOfficeNameSpace, "office"},
    {"urn:oasis:names:tc:opendocument:xmlns:style:1.0", "style"},
    {"urn:oasis:names:tc:opendocument:xmlns:text:1.0", "text"},
    {"urn:oasis:names:tc:opendocument:xmlns:table:1.0", "table"},
    {"urn:oasis:names:tc:opendocument:xmlns:drawing:1.0", "draw"},
    {"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0", "fo"},
    {"urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0", "svg"},
    {"urn:oasis:names:tc:opendocument:xmlns:meta:1.0", "meta"},
    {"http://www.w3.org/1999/xlink", "xlink"},
    {"http://purl.org/dc/elements/1.1/", "dc"},
};

DocumentFacts readMeta(Node meta) {
    DocumentFacts facts;
    Dictionary& attributes = facts.attributes;
    const auto set = [&](const char16_t* key, const char* name) {
        setTextAttribute(attributes, key, textBelow(meta.child(name)));
    };
    set(attribute::kTitle, "dc:title");
    set(attribute::kSubject, "dc:subject");
    set(attribute::kComment, "dc:description");
    set(attribute::kAuthor, "meta:initial-creator");
    set(attribute::kEditor, "dc:creator");
    Array keywords;
    for (const Node keyword : meta.children("meta:keyword")) {
        std::u16string word(trimWhite(textBelow(keyword)));
        if (!word.empty()) keywords.push_back(std::move(word));
    }
    if (!keywords.empty()) attributes.set(attribute::kKeywords, std::move(keywords));
    setDateAttribute(attributes, attribute::kCreationTime,
                     meta.child("meta:creation-date").text().get());
    setDateAttribute(attributes, attribute::kModificationTime, meta.child("dc:date").text().get());
    facts.application = trimWhite(textBelow(meta.child("meta:generator")));
    facts.language = trimWhite(textBelow(meta.child("dc:language")));
    constexpr double kMostPages = 1e9;
    const auto pages =
        numberOf(attributeOf(meta.child("meta:document-statistic"), "meta:page-count"));
    if (pages) facts.pageCount = static_cast<std::int64_t>(std::clamp(*pages, 0.0, kMostPages));
    return facts;
}

// The name of the page that the text asks for where it begins.
std::optional<std::string_view> firstPageName(Node body, const OpenDocumentStyles& styles) {
    for (const Node node : body.children()) {
        const std::string_view name = node.name();
        const bool isTable = name == "table:table";
        if (!isTable && name != "text:p" && name != "text:h") continue;
        const auto style =
            attributeOf(node, isTable ? "table:style-name" : "text:style-name").value_or("");
        return attributeOf(styles.node(isTable ? "table" : "paragraph", style),
                           "style:master-page-name");
    }
    return std::nullopt;
}

// Of the page with that name, or else of the first kind of page.
void readPage(Node part, std::optional<std::string_view> pageName, Dictionary& attributes) {
    const Node pages = part.child("office:master-styles");
    Node page = pages.child("style:master-page");
    for (const Node named : pages.children("style:master-page")) {
        if (pageName && attributeOf(named, "style:name") == pageName) page = named;
    }
    const auto layout = attributeOf(page, "style:page-layout-name");
    Node properties;
    for (const Node node : part.child("office:automatic-styles").children("style:page-layout")) {
        if (attributeOf(node, "style:name") == layout) {
            properties = node.child("style:page-layout-properties");
        }
    }
    const auto width = pointsOf(attributeOf(properties, "fo:page-width"));
    const auto height = pointsOf(attributeOf(properties, "fo:page-height"));
    if (!width || !height || *width <= 0 || *height <= 0) return;
    attributes.set(attribute::kPaperSize, sizeString({*width, *height}));
    const auto all = pointsOf(attributeOf(properties, "fo:margin"));
    const auto set = [&](const char16_t* key, const char* name) {
        const auto own = pointsOf(attributeOf(properties, name));
        if (own || all) attributes.set(key, own ? *own : *all);
    };
    set(attribute::kLeftMargin, "fo:margin-left");
    set(attribute::kRightMargin, "fo:margin-right");
    set(attribute::kTopMargin, "fo:margin-top");
    set(attribute::kBottomMargin, "fo:margin-bottom");
}

// A document out of its parts, which are one in a flat file.
std::optional<RichDocument> documentOfParts(Node content, Node styleSheet, Node meta,
                                            const FindPicture& picture) {
    const Node body = content.child("office:body").child("office:text");
    if (!body) return std::nullopt;
    OpenDocumentStyles styles;
    // The names of the text's own styles stand above those of the sheet, which has them for
    // headers.
    styles.add(content);
    styles.add(styleSheet);
    RichDocument document;
    document.attributes.set(attribute::kType, document_type::kOpenDocument);
    document.text = textOfOpenDocument(body, styles, picture);
    readPage(styleSheet, firstPageName(body, styles), document.attributes);
    document.attributes.addEntries(readMeta(meta.child("office:meta")).attributes);
    return document;
}

}  // namespace

bool isOpenDocument(ZipArchive& archive, std::string_view kind) {
    const auto type = archive.read("mimetype");
    const std::string wanted = "application/vnd.oasis.opendocument." + std::string(kind);
    return type && trimWhite(fromUtf8(type->chars())).starts_with(fromUtf8(wanted));
}

pugi::xml_document parseOpenDocumentPart(ZipArchive& archive, const std::string& name,
                                         std::size_t most) {
    const std::optional<Bytes> bytes = archive.read(name, most);
    return bytes ? parseXml(*bytes, kPrefixes) : pugi::xml_document();
}

DocumentFacts factsOfOpenDocument(ZipArchive& archive) {
    const pugi::xml_document meta = parseOpenDocumentPart(archive, "meta.xml");
    return readMeta(meta.document_element().child("office:meta"));
}

std::optional<RichDocument> documentOfOpenDocument(ZipArchive& archive) {
    const auto parse = [&](const char* name) { return parseOpenDocumentPart(archive, name); };
    const pugi::xml_document content = parse("content.xml"), styles = parse("styles.xml"),
                             meta = parse("meta.xml");
    // What stands in the text several times is unpacked once.
    std::map<std::string, std::optional<Bytes>, std::less<>> pictures;
    const FindPicture picture = [&](std::string_view name) {
        const auto [known, isNew] = pictures.try_emplace(std::string(name));
        if (isNew) known->second = archive.read(known->first);
        return known->second;
    };
    return documentOfParts(content.document_element(), styles.document_element(),
                           meta.document_element(), picture);
}

bool isFlatOpenDocument(std::string_view head) {
    return head.find(kOfficeNameSpace) != std::string_view::npos &&
           head.find("opendocument.text") != std::string_view::npos;
}

std::optional<RichDocument> documentOfFlatOpenDocument(std::span<const std::byte> bytes) {
    const pugi::xml_document document = parseXml(bytes, kPrefixes);
    const Node root = document.document_element();
    return documentOfParts(root, root, root, [](std::string_view) { return std::nullopt; });
}

}  // namespace corvy::platform
