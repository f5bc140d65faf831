#include "platform/rich_text/font_names.h"

#include <algorithm>
#include <iterator>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

struct FontFamily {
    std::u16string_view name;
    std::u16string_view faces[4];  // bold adds 1, italic 2
};

constexpr FontFamily kFamilies[] = {
#define FAMILY(name, regular, bold, italic, boldItalic) \
    {u"" name, {u"" regular, u"" bold, u"" italic, u"" boldItalic}},
#include "platform/rich_text/font_families.inc"
#undef FAMILY
};

}  // namespace

std::u16string postScriptName(std::u16string_view family, bool bold, bool italic) {
    for (const FontFamily& known : kFamilies) {
        if (equalNoCase(known.name, family)) {
            return std::u16string(known.faces[(bold ? 1 : 0) + (italic ? 2 : 0)]);
        }
    }
    return std::u16string(family);
}

std::u16string_view familyOfPostScriptName(std::u16string_view name) {
    for (const FontFamily& known : kFamilies) {
        if (std::ranges::find(known.faces, name) != std::end(known.faces)) return known.name;
    }
    return name;
}

}  // namespace corvy::platform
