// Files of fonts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "importers/support/text_list.h"

namespace corvy {

// What the faces of a file say together; single values are those of the first face.
struct FontFile {
    TextList fullNames, families, styles, languages;
    std::u16string version, copyright, designer, manufacturer, description;
    std::int64_t glyphs = 0;

    // None when it is no font that can be read.
    static std::optional<FontFile> read(const char* path);
};

}  // namespace corvy
