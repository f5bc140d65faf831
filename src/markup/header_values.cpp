#include "markup/header_values.h"

#include <algorithm>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "markup/charset_names.h"
#include "markup/entities.h"

namespace corvy {

Range rangeOfHeaderParameter(std::u16string_view header, std::u16string_view name,
                             std::u16string_view terminators) {
    const auto sameLetter = [](char16_t a, char16_t b) { return toUpper(a) == toUpper(b); };
    const auto skipWhite = [header](std::size_t i) {
        while (i < header.size() && isWhite(header[i])) ++i;
        return i;
    };
    for (auto from = header.begin();; ++from) {
        from = std::search(from, header.end(), name.begin(), name.end(), sameLetter);
        if (from == header.end()) return kNotFoundRange;
        std::size_t i = skipWhite(static_cast<std::size_t>(from - header.begin()) + name.size());
        if (i == header.size() || header[i] != u'=') continue;
        i = skipWhite(i + 1);
        std::size_t end = 0;
        if (i < header.size() && (header[i] == u'"' || header[i] == u'\'')) {
            end = header.find(header[i], i + 1);
            ++i;
        } else {
            end = header.find_first_of(terminators, i);
        }
        end = std::min(end, header.size());
        i = std::min(skipWhite(i), end);
        const std::u16string_view value = trimWhite(header.substr(i, end - i));
        if (value.empty()) return kNotFoundRange;
        return {i, value.size()};
    }
}

std::optional<std::u16string> headerCharset(std::u16string_view contentType) {
    const Range range = rangeOfHeaderParameter(contentType, u"CHARSET", u";");
    if (!range.found()) return std::nullopt;
    return stringByConvertingEntitiesToCharacters(contentType.substr(range.location, range.length));
}

Encoding headerEncoding(std::u16string_view contentType) {
    const std::optional<std::u16string> charset = headerCharset(contentType);
    return charset ? CFEncodingFromName(*charset) : Encoding::kInvalid;
}

std::optional<std::u16string> headerRefresh(std::u16string_view refresh) {
    const Range range = rangeOfHeaderParameter(refresh, u"URL", u"");
    if (!range.found()) return std::nullopt;
    return std::u16string(refresh.substr(range.location, range.length));
}

std::int64_t refreshInterval(std::u16string_view refresh) {
    return integerValue(refresh);
}

}  // namespace corvy
