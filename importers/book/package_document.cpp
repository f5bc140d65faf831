#include "importers/book/package_document.h"

#include <unordered_map>
#include <utility>

#include "foundation/text.h"
#include "markup/entities.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scanner.h"

namespace corvy {

namespace {

constexpr std::size_t kMostChapters = 10'000;

struct PackageContext {
    PackageDocument document;
    std::unordered_map<std::u16string, std::string> manifest;  // names by identifier
    std::u16string property;                                   // of the last `meta` that began
};

std::u16string attribute(const TagCall& call, std::u16string_view name) {
    return stringByConvertingEntitiesToCharacters(attributeViewOfTag(call, name));
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The file of a reference: escapes are its bytes, and a fragment is a place in it.
std::string fileOfReference(std::u16string_view reference) {
    const std::string written = toUtf8(reference.substr(0, reference.find(u'#')));
    std::string name;
    for (std::size_t i = 0; i < written.size(); ++i) {
        const bool isEscape = written[i] == '%' && i + 2 < written.size() &&
                              hexDigit(written[i + 1]) >= 0 && hexDigit(written[i + 2]) >= 0;
        if (!isEscape) {
            name += written[i];
            continue;
        }
        name += static_cast<char>(hexDigit(written[i + 1]) * 16 + hexDigit(written[i + 2]));
        i += 2;
    }
    return name;
}

void readStart(PackageContext& context, const TagCall& call) {
    if (isNamed(call, u"META") || isNamed(call, u"OPF:META")) {
        context.property = attribute(call, u"PROPERTY");
    } else if (isNamed(call, u"ITEM") || isNamed(call, u"OPF:ITEM")) {
        context.manifest.emplace(attribute(call, u"ID"), fileOfReference(attribute(call, u"HREF")));
    } else if (isNamed(call, u"ITEMREF") || isNamed(call, u"OPF:ITEMREF")) {
        const auto item = context.manifest.find(attribute(call, u"IDREF"));
        auto& chapters = context.document.chapters;
        if (item != context.manifest.end() && chapters.size() < kMostChapters) {
            chapters.push_back(item->second);
        }
    }
}

void readElement(PackageContext& context, std::u16string_view name, const std::u16string& value) {
    PackageDocument& document = context.document;
    struct Element {
        std::u16string_view name;
        TextList& list;
    };
    const Element lists[] = {
        {u"DC:TITLE", document.titles},
        {u"DC:CREATOR", document.creators},
        {u"DC:CONTRIBUTOR", document.contributors},
        {u"DC:LANGUAGE", document.languages},
        {u"DC:PUBLISHER", document.publishers},
        {u"DC:SUBJECT", document.subjects},
        {u"DC:RIGHTS", document.rights},
        {u"DC:IDENTIFIER", document.identifiers},
    };
    for (const Element& element : lists) {
        if (equalNoCase(name, element.name)) return element.list.add(value);
    }
    if (equalNoCase(name, u"DC:DESCRIPTION")) {
        if (document.description.empty()) document.description = value;
    } else if (equalNoCase(name, u"DC:DATE")) {
        if (document.date.empty()) document.date = value;
    } else if (equalNoCase(name, u"META") && context.property == u"dcterms:modified") {
        document.modified = value;
    }
}

bool packageHandler(const TagCall& call) {
    if (call.tagKind != TagKindElement) return false;
    auto& context = *static_cast<PackageContext*>(call.context);
    if (isStartTag(call)) {
        readStart(context, call);
    } else if (const auto text = trimWhite(call.text()); !text.empty()) {
        readElement(context, call.name(), stringByConvertingEntitiesToCharacters(text));
    }
    return false;
}

bool containerHandler(const TagCall& call) {
    if (!isStartTag(call) || !isNamed(call, u"ROOTFILE")) return false;
    *static_cast<std::string*>(call.context) = toUtf8(attribute(call, u"FULL-PATH"));
    return true;
}

}  // namespace

PackageDocument readPackageDocument(std::u16string_view source) {
    PackageContext context;
    GetTagsOfString(source, packageHandler, &context);
    return std::move(context.document);
}

std::string packageName(std::u16string_view container) {
    std::string name;
    GetTagsOfString(container, containerHandler, &name);
    return name;
}

}  // namespace corvy
