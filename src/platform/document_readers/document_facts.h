// What a document says of itself, apart from its text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/property_list.h"

namespace corvy::platform {

struct DocumentFacts {
    Dictionary attributes;       // under the keys of document_attribute (rich_document.h)
    std::u16string application;  // that wrote it; empty when it does not tell
    std::u16string language;     // such as "en-GB"; likewise
    std::optional<std::int64_t> pageCount;
    bool isEncrypted = false;
};

// The texts of sheets or slides, one after the other, and how many of them there are.
struct TextInParts {
    std::u16string text;
    std::int64_t partCount = 0;
};

// Units of text from where on no more is read.
inline constexpr std::size_t kMostPartsText = std::size_t{32} << 20;

}  // namespace corvy::platform
