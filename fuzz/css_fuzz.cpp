// Style sheets: tokens cover the text, brackets match inwards, and whatever is read matches and
// computes without harm.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_text.h"
#include "platform/html_import/html_tree.h"
#include "platform/html_import/style_resolver.h"
#include "platform/html_import/style_sheets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvy::platform;
    using corvy::require;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const css::TokenList tokens(text);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        require(tokens[i].start < tokens[i + 1].start);
        require(!tokens[i].opens() || (tokens[i].match > i && tokens[i].match <= tokens.size()));
        require(tokens.next(i) > i);
    }

    AtomTable atoms;
    HtmlTree tree(atoms);
    HtmlTree::Builder builder(tree);
    builder.openElement("html");
    for (const char* name : {"p", "div", "a"}) {
        builder.openElement(name);
        builder.addAttribute("class", "a b");
        builder.addAttribute("id", "i");
        builder.addAttribute("style", text);
        builder.openElement("b");
        builder.closeElement();
    }
    for (int depth = 0; depth < 4; ++depth) builder.closeElement();
    css::StyleSheets sheets(atoms, size % 2 == 0,
                            [&](const std::string& reference, const std::string&) {
                                return std::optional(css::SheetText{reference, {}});
                            });
    sheets.add({text, {}}, css::Origin::author);
    css::StyleResolver styles(tree, sheets);
    styles.run();
    for (NodeIndex node = 0; node < tree.size(); ++node) {
        const css::ComputedStyle& style = styles.styleOf(node);
        require(style.fontSize >= 0 && style.fontSize <= 10000);
        require(style.fontWeight >= 1 && style.fontWeight <= 1000);
    }
    return 0;
}
