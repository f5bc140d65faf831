// The attributes that a bundled importer tells, in the values of the foundation.
#pragma once

#include <corvystack/importer.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

// Units of a text that is told, and bytes of a document that is read as a whole.
inline constexpr std::size_t kMostText = std::size_t{32} << 20;
inline constexpr std::size_t kMostBytes = std::size_t{64} << 20;

class Attributes {
public:
    explicit Attributes(CorvyAttributes* attributes) : attributes_(attributes) {}

    // Tells an attribute, such as "kMDItemTitle". Empty texts, lists and dictionaries say nothing
    // and are left out, and so are null placeholders.
    void set(const char* key, const PropertyList& value);
    void set(const char* key, const std::vector<std::u16string>& texts);
    // Of a text longer than kMostText its beginning.
    void setTextContent(std::u16string_view text);

private:
    CorvyAttributes* attributes_;
};

}  // namespace corvy
