// Fonts: what they are called, and which languages they are for.
#include "importers/font/font_file.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"

namespace corvy {

namespace {

bool importFont(CorvyAttributes* out, const char*, const char* path) {
    const auto font = FontFile::read(path);
    if (!font) return false;
    const auto oneOf = [](const std::u16string& text) {
        TextList list;
        list.add(text);
        return list.texts();
    };
    Attributes attributes(out);
    const auto& fullNames = font->fullNames.texts();
    if (!fullNames.empty()) attributes.set("kMDItemTitle", fullNames.front());
    attributes.set("kMDItemFonts", fullNames);
    attributes.set(own_keys::kFontFamilies, font->families.texts());
    attributes.set(own_keys::kFontStyles, font->styles.texts());
    attributes.set("kMDItemVersion", font->version);
    attributes.set("kMDItemCopyright", font->copyright);
    attributes.set("kMDItemAuthors", oneOf(font->designer));
    attributes.set("kMDItemPublishers", oneOf(font->manufacturer));
    attributes.set("kMDItemDescription", font->description);
    attributes.set("kMDItemLanguages", font->languages.texts());
    attributes.set(own_keys::kGlyphCount, font->glyphs);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importFont)
