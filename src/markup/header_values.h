// Parameters of header values: "text/html; charset=UTF-8", "5; URL=page.html".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/encoding.h"
#include "foundation/range.h"

namespace corvy {

// Where the value of a parameter stands: behind the first `name` (ASCII, in any case) that a "="
// follows, in quotation marks of either kind or up to one of `terminators`, without white units
// around it. White units around the "=" do not count. kNotFoundRange without the parameter, and
// when its value is empty.
Range rangeOfHeaderParameter(std::u16string_view header, std::u16string_view name,
                             std::u16string_view terminators);

// The charset that a content type names, references decoded; none when it names none.
std::optional<std::u16string> headerCharset(std::u16string_view contentType);
// The same as an encoding.
Encoding headerEncoding(std::u16string_view contentType);
// The address of a refresh header, as it stands there; a ";" belongs to it.
std::optional<std::u16string> headerRefresh(std::u16string_view refresh);
// Its leading number of seconds; 0 when there is none.
std::int64_t refreshInterval(std::u16string_view refresh);

}  // namespace corvy
