// What the bundled importers tell of a file, loaded into the test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "metadata/importer_registry.h"

namespace corvy::test {

const ImporterRegistry& bundledImporters();

// By the importer that the registry has for the file's type; empty without one.
Dictionary attributesOf(const std::string& path);

class Imported {
public:
    explicit Imported(const std::string& path) : attributes_(attributesOf(path)) {}
    Imported(std::string_view fileName, std::string_view content);

    // The attribute as JSON, dates as seconds; empty without it.
    std::string operator[](std::u16string_view key) const;
    std::string text() const;
    bool empty() const { return attributes_.empty(); }

private:
    Dictionary attributes_;
};

struct ImportCase {
    const char* fileName;
    std::string content;
    const char16_t* key;
    const char* value;  // as Imported has it
};
void expectImported(const std::vector<ImportCase>& cases);

}  // namespace corvy::test
