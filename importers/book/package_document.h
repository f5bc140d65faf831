// The package document of an electronic book: what it is called, and the order of its chapters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "importers/support/text_list.h"

namespace corvy {

struct PackageDocument {
    TextList titles, creators, contributors, languages, publishers, subjects, rights, identifiers;
    std::u16string description;
    std::u16string date;  // as they stand there
    std::u16string modified;
    // Names of files in the order of reading, in UTF-8, relative to the document, escapes resolved.
    std::vector<std::string> chapters;
};

// Of what is no package document everything is empty.
PackageDocument readPackageDocument(std::u16string_view source);

// The name of the package document, in UTF-8, as META-INF/container.xml tells it; empty when it
// does not.
std::string packageName(std::u16string_view container);

}  // namespace corvy
