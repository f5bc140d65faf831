#include "importers/web/page_attributes.h"

#include <initializer_list>
#include <optional>
#include <string>

#include "foundation/date.h"
#include "foundation/text.h"
#include "importers/support/text_list.h"
#include "markup/entities.h"
#include "markup/queries.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scanner.h"

namespace corvy {

namespace {

// The language of the root element, in front of the body.
bool languageHandler(const TagCall& call) {
    if (!isStartTag(call)) return false;
    if (isNamed(call, u"BODY")) return true;
    if (!isNamed(call, u"HTML")) return false;
    auto& language = *static_cast<std::u16string*>(call.context);
    language = attributeOfTag(call, u"LANG").value_or(u"");
    return true;
}

class PageMetas {
public:
    explicit PageMetas(std::u16string_view html) : metas_(htmlMetaAttributes(html)) {}

    // Of the first name that has one, references decoded.
    std::u16string valueOf(std::initializer_list<const char16_t*> names) const {
        for (const char16_t* name : names) {
            const auto value = stringOf(metas_, name);
            if (!value) continue;
            const std::u16string decoded = stringByConvertingEntitiesToCharacters(*value);
            if (const auto text = trimWhite(decoded); !text.empty()) return std::u16string(text);
        }
        return {};
    }
    std::vector<std::u16string> listOf(std::initializer_list<const char16_t*> names,
                                       std::u16string_view separators) const {
        TextList list;
        list.addSplit(valueOf(names), separators);
        return list.texts();
    }
    PropertyList dateOf(std::initializer_list<const char16_t*> names) const {
        const auto found = date(valueOf(names));
        return found ? PropertyList(*found) : PropertyList();
    }

private:
    Dictionary metas_;
};

}  // namespace

void setPageAttributes(Attributes& attributes, std::u16string_view html) {
    const PageMetas metas(html);
    std::u16string title = normalizedHtmlTitle(html);
    if (title.empty())
        title = metas.valueOf({u"title", u"og:title", u"dc.title", u"dcterms.title"});
    attributes.set("kMDItemTitle", title);
    attributes.set(
        "kMDItemAuthors",
        metas.listOf({u"author", u"dc.creator", u"dcterms.creator", u"article:author"}, u";"));
    attributes.set("kMDItemDescription", metas.valueOf({u"description", u"og:description",
                                                        u"dc.description", u"dcterms.abstract"}));
    attributes.set("kMDItemKeywords",
                   metas.listOf({u"keywords", u"dc.subject", u"dcterms.subject"}, u",;"));
    attributes.set("kMDItemCopyright", metas.valueOf({u"copyright", u"dc.rights", u"rights"}));
    attributes.set("kMDItemPublishers",
                   metas.listOf({u"publisher", u"dc.publisher", u"og:site_name"}, u";"));
    attributes.set("kMDItemCreator", metas.valueOf({u"generator"}));
    attributes.set("kMDItemContentCreationDate",
                   metas.dateOf({u"date", u"dc.date", u"dcterms.created", u"dcterms.date",
                                 u"article:published_time"}));
    attributes.set("kMDItemContentModificationDate",
                   metas.dateOf({u"article:modified_time", u"dcterms.modified", u"last-modified"}));

    std::u16string language;
    GetTagsOfString(html, languageHandler, &language);
    if (language.empty()) language = metas.valueOf({u"content-language", u"dc.language"});
    TextList languages;
    languages.addSplit(language, u",;");
    attributes.set("kMDItemLanguages", languages.texts());
    if (const auto url = htmlCanonicalURL(html)) attributes.set("kMDItemURL", *url);
}

}  // namespace corvy
