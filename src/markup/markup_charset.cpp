#include "markup/markup_charset.h"

#include <optional>

#include "foundation/converters.h"
#include "foundation/text.h"
#include "markup/charset_names.h"
#include "markup/entities.h"
#include "markup/header_values.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scanner.h"

namespace corvy {

namespace {

struct CharsetOfTag {
    bool stop = false;             // nothing behind this tag counts
    Range range = kNotFoundRange;  // of the name
    bool inMeta = false;           // where references are decoded
};

CharsetOfTag charsetOfTag(const TagCall& call) {
    if (call.tagKind != TagKindElement) return {};
    const auto attribute = [&call](std::u16string_view name, bool tolerant) {
        return rangeOfAttributeOfTagCharacters(call.characters, call.tagRange(), name, tolerant);
    };
    if (isNamed(call, u"XML") && call.characters[call.tagLocation + 1] == u'?') {
        const Range encoding = attribute(u"ENCODING", false);
        return {encoding.found(), encoding, false};
    }
    if (isNamed(call, u"BODY")) return {.stop = true};
    if (!isNamed(call, u"META") || !isStartTag(call)) return {};
    const Range content = attribute(u"CONTENT", true);
    if (content.found()) {
        Range parameter = rangeOfHeaderParameter(
            call.characters.substr(content.location, content.length), u"CHARSET", u";");
        if (parameter.found()) {
            parameter.location += content.location;
            return {true, parameter, true};
        }
    }
    const Range charset = attribute(u"CHARSET", false);
    return {charset.found(), charset, true};
}

}  // namespace

bool RetrieveEncodingHandler(const TagCall& call) {
    const CharsetOfTag found = charsetOfTag(call);
    if (found.range.found()) {
        const std::u16string_view name =
            call.characters.substr(found.range.location, found.range.length);
        *static_cast<std::u16string*>(call.context) =
            found.inMeta ? stringByConvertingEntitiesToCharacters(name) : std::u16string(name);
    }
    return found.stop;
}

bool RetrieveEncodingRangeHandler(const TagCall& call) {
    const CharsetOfTag found = charsetOfTag(call);
    if (found.range.found()) *static_cast<Range*>(call.context) = found.range;
    return found.stop;
}

std::u16string markupCharset(std::u16string_view markup) {
    std::u16string name;
    GetTagsOfString(markup, RetrieveEncodingHandler, &name);
    return name;
}

Range markupCharsetRange(std::u16string_view markup) {
    Range range = kNotFoundRange;
    GetTagsOfString(markup, RetrieveEncodingRangeHandler, &range);
    return range;
}

Encoding markupEncoding(std::u16string_view markup) {
    return CFEncodingFromName(markupCharset(markup));
}

Encoding defaultURLEncoding(std::u16string_view markup) {
    return markupEncoding(markup) == Encoding::kISO8859_1 ? Encoding::kISO8859_1 : Encoding::kUTF8;
}

MarkupData markupData(std::u16string_view markup) {
    if (markup.empty()) return {};
    const Encoding encoding = markupEncoding(markup);
    if (std::optional<std::string> bytes = dataUsingEncoding(markup, encoding)) {
        return {std::move(*bytes), encoding};
    }
    return {toUtf8(stringByConvertingCharactersToEntities(markup)), Encoding::kASCII};
}

}  // namespace corvy
