#include "platform/html_import/page_fonts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "foundation/text.h"
#include "platform/html_import/css_tokens.h"

namespace corvy::platform {

namespace {

struct Alias {
    std::string_view name;
    std::u16string_view family;
};
// Generic families, and names that only some systems know.
constexpr Alias kAliases[] = {
    {"serif", u"Times"},
    {"ui-serif", u"Times"},
    {"sans-serif", u"Helvetica"},
    {"ui-sans-serif", u"Helvetica"},
    {"system-ui", u"Helvetica"},
    {"-apple-system", u"Helvetica"},
    {"blinkmacsystemfont", u"Helvetica"},
    {"-webkit-body", u"Times"},
    {"monospace", u"Courier"},
    {"ui-monospace", u"Courier"},
    {"cursive", u"Apple Chancery"},
    {"fantasy", u"Papyrus"},
    {"arial", u"Arial"},
    {"arial black", u"Arial Black"},
    {"avenir", u"Avenir"},
    {"baskerville", u"Baskerville"},
    {"calibri", u"Calibri"},
    {"cambria", u"Cambria"},
    {"comic sans ms", u"Comic Sans MS"},
    {"courier", u"Courier"},
    {"courier new", u"Courier New"},
    {"georgia", u"Georgia"},
    {"gill sans", u"Gill Sans"},
    {"helvetica", u"Helvetica"},
    {"helvetica neue", u"Helvetica Neue"},
    {"lucida grande", u"Lucida Grande"},
    {"menlo", u"Menlo"},
    {"palatino", u"Palatino"},
    {"tahoma", u"Tahoma"},
    {"times", u"Times"},
    {"times new roman", u"Times New Roman"},
    {"trebuchet ms", u"Trebuchet MS"},
    {"verdana", u"Verdana"},
};

}  // namespace

std::u16string fontFamilyOf(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const auto* found =
            std::find_if(std::begin(kAliases), std::end(kAliases),
                         [&](const Alias& alias) { return css::equalsNoCase(name, alias.name); });
        if (found != std::end(kAliases)) return std::u16string(found->family);
    }
    return names.empty() || names[0].empty() ? u"Times" : fromUtf8(names[0]);
}

}  // namespace corvy::platform
