#include "foundation/encoding.h"

#include <algorithm>
#include <iterator>

namespace corvy {

namespace {

constexpr std::string_view kNames[] = {
#define ENCODING(identifier, name, converter) name,
#include "foundation/encodings.inc"
#undef ENCODING
};

}  // namespace

std::string_view nameOfEncoding(Encoding encoding) {
    const auto index = static_cast<std::size_t>(encoding);
    return index < std::size(kNames) ? kNames[index] : std::string_view();
}

std::optional<Encoding> encodingNamed(std::string_view name) {
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
    if (found == std::end(kNames)) return std::nullopt;
    return static_cast<Encoding>(found - std::begin(kNames));
}

}  // namespace corvy
