#include "importers/font/font_file.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include FT_FREETYPE_H
#include FT_SFNT_NAMES_H
#include FT_TRUETYPE_IDS_H

// Behind both, neither of which it includes.
#include <fontconfig/fcfreetype.h>

#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy {

namespace {

constexpr FT_Long kMostFaces = 100;

template <auto Function>
struct CallWith {
    template <typename T>
    void operator()(T* handle) const noexcept {
        Function(handle);
    }
};
using Library = std::unique_ptr<std::remove_pointer_t<FT_Library>, CallWith<FT_Done_FreeType>>;
using Face = std::unique_ptr<std::remove_pointer_t<FT_Face>, CallWith<FT_Done_Face>>;

// How well people who read English understand it; 0 for one that is not to be used.
int rankOf(const FT_SfntName& name) {
    if (name.platform_id == TT_PLATFORM_MICROSOFT) {
        return name.language_id == TT_MS_LANGID_ENGLISH_UNITED_STATES ? 4 : 1;
    }
    if (name.platform_id == TT_PLATFORM_APPLE_UNICODE) return 3;
    const bool isRoman = name.platform_id == TT_PLATFORM_MACINTOSH &&
                         name.encoding_id == TT_MAC_ID_ROMAN &&
                         name.language_id == TT_MAC_LANGID_ENGLISH;
    return isRoman ? 2 : 0;
}

std::u16string textOf(const FT_SfntName& name) {
    const auto bytes = std::as_bytes(std::span(name.string, name.string_len));
    if (name.platform_id == TT_PLATFORM_MACINTOSH) {
        const auto text = tryToCreateStringWithEncoding(bytes, Encoding::kMacRoman);
        return text ? text->text : std::u16string();
    }
    std::u16string text;  // in big-endian UTF-16
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text += static_cast<char16_t>(std::to_integer<unsigned>(bytes[i]) << 8 |
                                      std::to_integer<unsigned>(bytes[i + 1]));
    }
    return text;
}

// The best name of that kind; empty when the face has none.
std::u16string nameOf(FT_Face face, FT_UShort kind) {
    std::u16string best;
    int bestRank = 0;
    const FT_UInt count = ::FT_Get_Sfnt_Name_Count(face);
    for (FT_UInt i = 0; i < count; ++i) {
        FT_SfntName name;
        if (::FT_Get_Sfnt_Name(face, i, &name) != 0 || name.name_id != kind) continue;
        if (rankOf(name) <= bestRank) continue;
        best = textOf(name);
        bestRank = rankOf(name);
    }
    return best;
}

std::u16string firstOf(const std::u16string& a, const char* b) {
    return a.empty() && b ? fromUtf8(b) : a;
}

// Those whose letters the face has.
void addLanguages(TextList& list, FT_Face face, const char* path) {
    const std::unique_ptr<FcPattern, CallWith<FcPatternDestroy>> pattern(
        ::FcFreeTypeQueryFace(face, reinterpret_cast<const FcChar8*>(path), 0, nullptr));
    FcLangSet* set = nullptr;
    if (!pattern || ::FcPatternGetLangSet(pattern.get(), FC_LANG, 0, &set) != FcResultMatch) return;
    const std::unique_ptr<FcStrSet, CallWith<FcStrSetDestroy>> names(::FcLangSetGetLangs(set));
    const std::unique_ptr<FcStrList, CallWith<FcStrListDone>> entries(
        ::FcStrListCreate(names.get()));
    std::vector<std::string> languages;
    while (const FcChar8* language = ::FcStrListNext(entries.get())) {
        languages.emplace_back(reinterpret_cast<const char*>(language));
    }
    std::ranges::sort(languages);
    for (const std::string& language : languages) list.add(fromUtf8(language));
}

void readFirst(FontFile& font, FT_Face face, const char* path) {
    font.version = nameOf(face, TT_NAME_ID_VERSION_STRING);
    font.copyright = nameOf(face, TT_NAME_ID_COPYRIGHT);
    font.designer = nameOf(face, TT_NAME_ID_DESIGNER);
    font.manufacturer = nameOf(face, TT_NAME_ID_MANUFACTURER);
    font.description = nameOf(face, TT_NAME_ID_DESCRIPTION);
    font.glyphs = face->num_glyphs;
    addLanguages(font.languages, face, path);
}

}  // namespace

std::optional<FontFile> FontFile::read(const char* path) {
    FT_Library handle = nullptr;
    if (::FT_Init_FreeType(&handle) != 0) return std::nullopt;
    const Library library(handle);
    std::optional<FontFile> font;
    FT_Long count = 1;
    for (FT_Long i = 0; i < std::min(count, kMostFaces); ++i) {
        FT_Face opened = nullptr;
        if (::FT_New_Face(library.get(), path, i, &opened) != 0) break;
        const Face face(opened);
        count = face->num_faces;
        if (!font) readFirst(font.emplace(), face.get(), path);
        const auto family =
            firstOf(nameOf(face.get(), TT_NAME_ID_TYPOGRAPHIC_FAMILY), face->family_name);
        const auto style =
            firstOf(nameOf(face.get(), TT_NAME_ID_TYPOGRAPHIC_SUBFAMILY), face->style_name);
        font->families.add(family);
        font->styles.add(style);
        std::u16string fullName = nameOf(face.get(), TT_NAME_ID_FULL_NAME);
        if (fullName.empty()) {
            fullName = family;
            if (!style.empty()) fullName.append(u" ").append(style);
        }
        font->fullNames.add(fullName);
    }
    return font;
}

}  // namespace corvy
