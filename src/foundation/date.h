// Dates found on the web: in HTTP headers, feeds and pages, and as people type them.
//
// Names of months and days are English; `date` knows German ones too. A text without a zone is in
// the machine's zone. Case does not count. Texts of more than 256 code units are no dates.
#pragma once

#include <optional>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// One of the three forms of HTTP and nothing else: "Thu, 15 Jan 2009 10:20:30 GMT",
// "Thursday, 15-Jan-09 10:20:30 GMT", "Thu Jan 15 10:20:30 2009". None when it is none of them.
std::optional<Date> dateFromHTTPHeaderValue(std::u16string_view text);

// The date that the text up to its first bracket or semicolon tells. Its punctuation says which
// pattern it has to follow, day before month where both are numbers; what has no pattern of its own
// is read leniently. None when it tells no date; unless the text is empty or white, that is logged
// as "Unknown date: TEXT".
std::optional<Date> date(std::u16string_view text);

}  // namespace corvy
