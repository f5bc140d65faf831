#include "tools/search/query_text.h"

#include <algorithm>
#include <vector>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy::tools {

namespace {

struct Term {
    std::u16string_view text;
    bool quoted = false;
    bool excluded = false;
    bool prefix = false;
};

// The next term of the query, and moves past it.
Term takeTerm(std::u16string_view& query) {
    Term term;
    if (query.size() > 1 && query.front() == u'-' && !isWhite(query[1])) {
        term.excluded = true;
        query.remove_prefix(1);
    }
    std::size_t end = 0;
    if (query.front() == u'"') {
        term.quoted = true;
        query.remove_prefix(1);
        end = std::min(query.find(u'"'), query.size());
        term.text = query.substr(0, end);
        query.remove_prefix(std::min(end + 1, query.size()));
    } else {
        end = static_cast<std::size_t>(std::ranges::find_if(query, isWhite) - query.begin());
        term.text = query.substr(0, end);
        query.remove_prefix(end);
        term.prefix = term.text.ends_with(u'*');
    }
    if (query.starts_with(u'*')) {
        term.prefix = true;
        query.remove_prefix(1);
    }
    return term;
}

// Whether the search sees a word in it. Beyond the tables (ideographs and the like) anything may be
// one.
bool hasWord(std::u16string_view text) {
    return std::ranges::any_of(text,
                               [](char16_t unit) { return isAlphaNum(unit) || unit >= 0x370; });
}

std::string expressionOf(const Term& term) {
    std::string expression = "\"";
    for (const char unit : toUtf8(term.text)) {
        if (unit == '\0') continue;  // ends an expression
        if (unit == '"') expression += '"';
        expression += unit;
    }
    expression += '"';
    if (term.prefix) expression += '*';
    return expression;
}

}  // namespace

std::optional<std::string> matchExpression(std::u16string_view query) {
    std::string wanted, excluded;
    bool either = false;  // an OR was read
    while (true) {
        const auto start = std::ranges::find_if_not(query, isWhite);
        query.remove_prefix(static_cast<std::size_t>(start - query.begin()));
        if (query.empty()) break;
        const Term term = takeTerm(query);
        if (term.text == u"OR" && !term.quoted && !term.excluded) {
            either = !wanted.empty();
            continue;
        }
        if (!hasWord(term.text)) continue;
        if (term.excluded) {
            excluded += (excluded.empty() ? "" : " OR ") + expressionOf(term);
            continue;
        }
        // AND binds more tightly: each stretch between ORs is a list of words of its own.
        if (!wanted.empty()) wanted += either ? " OR " : " AND ";
        wanted += expressionOf(term);
        either = false;
    }
    if (wanted.empty()) return std::nullopt;
    std::string expression = "(" + wanted + ")";
    if (!excluded.empty()) expression += " NOT (" + excluded + ")";
    return expression;
}

}  // namespace corvy::tools
