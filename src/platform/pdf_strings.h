// Strings of PDF documents: text in its three encodings, and dates.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::platform {

// The text of a text string: UTF-16 with its byte order mark (big endian; little endian is
// understood as well), UTF-8 with its mark, or else the document encoding. Language marks inside
// it and zeros at its end are left out.
std::u16string textOfPdfString(std::string_view bytes);

// A date such as D:20240131235959+01'00'. "D:" may be missing, as may everything behind the year;
// without a zone it is universal time. None for anything else.
std::optional<Date> dateOfPdfText(std::u16string_view text);

}  // namespace corvy::platform
