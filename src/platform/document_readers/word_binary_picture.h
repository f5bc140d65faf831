// Pictures in the data stream of a binary Word document.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/bytes.h"
#include "foundation/size_string.h"
#include "platform/document_readers/little_endian.h"

namespace corvy::platform {

struct WordBinaryPicture {
    Bytes contents;
    std::u16string name;
    Size size;  // points
};

// The picture at that place; none for kinds that are not kept as files of their own.
std::optional<WordBinaryPicture> wordBinaryPicture(LittleEndian data, std::uint32_t offset);

}  // namespace corvy::platform
