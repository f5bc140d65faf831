// Addresses as attributes give them, where "&" is written as a reference.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/url.h"
#include "markup/entities.h"

namespace corvy {

inline std::optional<std::u16string> normalizedAddress(std::u16string_view value) {
    return normalizedStringURL(stringByConvertingStandardEntitiesToCharacters(value));
}

inline std::optional<std::u16string> normalizedLinkAddress(std::u16string_view value) {
    return normalizedRelLink(stringByConvertingStandardEntitiesToCharacters(value));
}

}  // namespace corvy
