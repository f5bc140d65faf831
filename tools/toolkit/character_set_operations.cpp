#include "foundation/converters.h"
#include "markup/charset_names.h"
#include "markup/header_values.h"
#include "markup/markup_charset.h"
#include "markup/markup_decoding.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;
using OptionalText = std::optional<Text>;

constexpr Operation kOperations[] = {
    method<CFEncodingFromName>("CFEncodingFromName"),
    method<macEncoding>("macEncoding"),
    method<headerCharset>("headerCharset"),
    method<headerRefresh>("headerRefresh"),
    method<headerEncoding>("headerEncoding"),
    method<refreshInterval>("refreshInterval"),
    method<markupCharset>("markupCharset"),
    method<markupCharsetRange>("markupCharsetRange"),
    method<markupEncoding>("markupEncoding"),
    method<defaultURLEncoding>("defaultURLEncoding"),
    method<[](Text markup) {
        const MarkupData data = markupData(markup);
        return Reply{Bytes::copyOf(data.bytes), {{u"encoding", resultOf(data.encoding)}}};
    }>("markupData:"),
    function<[](const Bytes& bytes, OptionalText name, Encoding encoding,
                const std::optional<Url>&) {
        return stringWithMarkupData(bytes, {.encodingName = name, .defaultEncoding = encoding});
    }>("stringWithMarkupData:encodingName:defaultEncoding:URL:"),
    function<[](const Bytes& bytes, Encoding encoding) {
        return stringWithMarkupData(bytes, {.defaultEncoding = encoding});
    }>("stringWithMarkupData:defaultEncoding:"),
    function<[](const Bytes& bytes, OptionalText contentType, Encoding encoding) {
        return stringWithMarkupData(bytes,
                                    {.contentType = contentType, .defaultEncoding = encoding});
    }>("stringWithMarkupData:contentType:defaultEncoding:"),
    function<[](const Bytes& bytes, Encoding encoding) {
        auto decoded = tryToCreateStringWithEncoding(bytes, encoding);
        if (!decoded) return Reply{Null(), {{u"replacements", std::int32_t{0}}}};
        return Reply{std::move(decoded->text),
                     {{u"replacements", static_cast<std::int64_t>(decoded->replacements)}}};
    }>("tryToCreateStringWithEncoding"),
    function<stringWithMarkupContentsOfFile>("stringWithMarkupContentsOfFile:defaultEncoding:"),
};

}  // namespace

std::span<const Operation> characterSetOperations() {
    return kOperations;
}

}  // namespace corvy::tools
