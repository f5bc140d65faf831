// Documents of word processors, spreadsheets and presentations.
#include <string>

#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"
#include "platform/document_text.h"
#include "platform/rich_text/rich_document.h"

namespace corvy {

namespace {

namespace attribute = platform::document_attribute;
using platform::DocumentFacts;

void setList(Attributes& attributes, const char* key, std::u16string_view text,
             std::u16string_view separators) {
    TextList list;
    list.addSplit(text, separators);
    attributes.set(key, list.texts());
}

void tell(Attributes& attributes, const DocumentFacts& facts) {
    const auto text = [&facts](const char16_t* key) {
        return stringOf(facts.attributes, key).value_or(u"");
    };
    attributes.set("kMDItemTitle", text(attribute::kTitle));
    attributes.set("kMDItemSubject", text(attribute::kSubject));
    setList(attributes, "kMDItemAuthors", text(attribute::kAuthor), u";");
    setList(attributes, "kMDItemEditors", text(attribute::kEditor), u";");
    setList(attributes, "kMDItemOrganizations", text(attribute::kCompany), u";");
    attributes.set("kMDItemComment", text(attribute::kComment));
    attributes.set("kMDItemCopyright", text(attribute::kCopyright));
    attributes.set("kMDItemCreator", facts.application);
    setList(attributes, "kMDItemLanguages", facts.language, u",;");
    const std::pair<const char*, const char16_t*> copied[] = {
        {"kMDItemKeywords", attribute::kKeywords},
        {"kMDItemContentCreationDate", attribute::kCreationTime},
        {"kMDItemContentModificationDate", attribute::kModificationTime}};
    for (const auto& [name, key] : copied) {
        if (const PropertyList* value = facts.attributes.find(key)) attributes.set(name, *value);
    }
    if (facts.pageCount.value_or(0) > 0) {
        attributes.set("kMDItemNumberOfPages", *facts.pageCount);
    }
    if (facts.isEncrypted) attributes.set("kMDItemSecurityMethod", u"Password Encrypted");
}

bool importDocument(CorvyAttributes* out, const char*, const char* path) {
    Attributes attributes(out);
    const auto text = platform::textOfDocument(
        path, [&attributes](const DocumentFacts& facts) { tell(attributes, facts); });
    if (!text) return false;
    if (text->partCount > 0) attributes.set(own_keys::kItemCount, text->partCount);
    attributes.setTextContent(trimWhite(text->text));
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importDocument)
