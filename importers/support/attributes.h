// The attributes that a bundled importer tells, in the values of the foundation.
#pragma once

#include <corvystack/importer.h>

#include <string>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

class Attributes {
public:
    explicit Attributes(CorvyAttributes* attributes) : attributes_(attributes) {}

    // Tells an attribute, such as "kMDItemTitle". Empty texts, lists and dictionaries say nothing
    // and are left out, and so are null placeholders.
    void set(const char* key, const PropertyList& value);
    void set(const char* key, const std::vector<std::u16string>& texts);

private:
    CorvyAttributes* attributes_;
};

}  // namespace corvy
