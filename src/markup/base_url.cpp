#include "markup/base_url.h"

#include "markup/entities.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

struct BasePlace {
    Range address = kNotFoundRange;  // of the first `base` tag that has one
    std::size_t insertion = 0;       // where a `base` tag belongs
};

bool FindBaseHandler(const TagCall& call) {
    auto& place = *static_cast<BasePlace*>(call.context);
    if (isNamed(call, u"BODY")) return true;
    if (!isStartTag(call)) return false;
    if (isNamed(call, u"BASE")) {
        place.address = rangeOfAttributeOfTagCharacters(call.characters, call.tagRange(), u"HREF");
        return place.address.found();
    }
    if (isNamed(call, u"DOCTYPE") || isNamed(call, u"HTML") || isNamed(call, u"HEAD")) {
        place.insertion = call.tagLocation + call.tagLength;
    }
    return false;
}

BasePlace placeOfBase(std::u16string_view html) {
    BasePlace place;
    GetTagsOfString(html, FindBaseHandler, &place);
    return place;
}

std::u16string replacing(std::u16string_view html, std::size_t location, std::size_t length,
                         std::u16string_view replacement) {
    return std::u16string(html).replace(location, length, replacement);
}

std::u16string addedAt(std::u16string_view html, std::size_t location, const Url& url) {
    const std::u16string address =
        stringByConvertingCharactersToStandardEntities(url.absoluteString);
    return replacing(html, location, 0, u"<base href=\"" + address + u"\">");
}

}  // namespace

std::u16string stringBySettingBaseURL(std::u16string_view html, const Url& url) {
    const BasePlace place = placeOfBase(html);
    if (!place.address.found()) return addedAt(html, place.insertion, url);
    // Quoted or not, the old value stands where an address without quotes and blanks fits.
    return replacing(html, place.address.location, place.address.length,
                     stringByConvertingCharactersToStandardEntities(url.absoluteString));
}

std::u16string stringByAddingBaseURL(std::u16string_view html, const Url& url) {
    const BasePlace place = placeOfBase(html);
    return place.address.found() ? std::u16string(html) : addedAt(html, place.insertion, url);
}

}  // namespace corvy
