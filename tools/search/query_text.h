// What a person types into a search, as an expression of SQLite's full-text search.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy::tools {

// Words must all occur; "several words" in quotation marks stand together, word* begins with it,
// -word must not occur, and OR between two of them lets either do. Whatever else stands there is
// taken as text: no query is a syntax error. None when there is nothing to look for.
std::optional<std::string> matchExpression(std::u16string_view query);

}  // namespace corvy::tools
