// A record as the page of a report shows it.
#pragma once

#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::tools {

// One JSON object, which may stand inside a script element of HTML whatever the record says. Beside
// what the record has, shortened where it is long, it holds "title", "snippet" (the beginning of
// the text, read from the folder where it lies there; "cut" when there is more), "length" and, in
// words for a person, "failure" or "remark".
std::string pageRecord(const Dictionary& record, const std::string& folder);

// JSON for a script element of HTML: nothing in it ends the element or begins a comment.
std::string scriptSafe(std::string json);

}  // namespace corvy::tools
