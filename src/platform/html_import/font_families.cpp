#include "platform/html_import/font_families.h"

#include "platform/html_import/css_tokens.h"

namespace corvy::platform::css {

FontFamilies::FontFamilies() {
    families_.emplace_back();
}

FontFamily FontFamilies::add(std::string_view list) {
    const auto [known, isNew] =
        indices_.emplace(list, static_cast<std::uint32_t>(families_.size()));
    if (!isNew) return {known->second};
    Entry& entry = families_.emplace_back();
    const TokenList tokens(list);
    TokenCursor in(tokens);
    in.skipSpace();
    bool isGeneric = false;
    for (bool isNext = true; !in.atEnd();) {
        const Token& token = in.take();
        if (token.kind == TokenKind::comma) {
            isNext = true;
        } else if (isNext) {
            entry.names.emplace_back(token.text);
            isGeneric = token.kind == TokenKind::ident;
            isNext = false;
        } else {
            (entry.names.back() += ' ') += token.text;
            isGeneric = false;
        }
    }
    entry.monospaceAlone =
        entry.names.size() == 1 && isGeneric && equalsNoCase(entry.names[0], "monospace");
    return {known->second};
}

}  // namespace corvy::platform::css
