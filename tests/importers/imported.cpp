#include "tests/importers/imported.h"

#include <gtest/gtest.h>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/content_type.h"
#include "platform/plugin_host.h"
#include "tests/support/temporary_folder.h"

namespace corvy::test {

namespace {

class DictionarySink final : public platform::AttributeSink {
public:
    bool set(std::u16string key, PropertyList value) override {
        attributes.set(key, std::move(value));
        return true;
    }
    bool remove(const std::u16string& key) override { return attributes.remove(key); }
    bool contains(const std::u16string& key) const override { return attributes.contains(key); }

    Dictionary attributes;
};

}  // namespace

const ImporterRegistry& bundledImporters() {
    static const ImporterRegistry registry =
        loadMDImporters({.root = fromUtf8(CORVY_BUILD_DIR "/lib/corvystack")});
    return registry;
}

Dictionary attributesOf(const std::string& path) {
    DictionarySink sink;
    const auto type = platform::contentTypeOfFile(pathFromBytes(path));
    const auto* importer = type ? bundledImporters().importerForType(*type) : nullptr;
    auto plugIn = importer ? platform::PlugIn::create(*importer) : std::nullopt;
    if (!plugIn) return {};
    const auto factories = plugIn->factoriesForType(CORVY_IMPORTER_TYPE);
    auto instance = plugIn->createInstance(*factories->front(), CORVY_IMPORTER_TYPE);
    void* interface = instance ? instance->queryInterface(CORVY_IMPORTER_INTERFACE) : nullptr;
    if (!interface) {
        ADD_FAILURE() << toUtf8(*importer) << " cannot be loaded";
        return {};
    }
    platform::importData(interface, sink, toUtf8(*type), path);
    return sink.attributes;
}

Imported::Imported(std::string_view fileName, std::string_view content) {
    const TemporaryFolder folder;
    attributes_ = attributesOf(folder.write(fileName, content));
}

std::string Imported::operator[](std::u16string_view key) const {
    const PropertyList* value = attributes_.find(key);
    if (!value) return {};
    return jsonOf(value->date() ? PropertyList(value->date()->seconds) : *value);
}

std::string Imported::text() const {
    return toUtf8(stringOf(attributes_, u"kMDItemTextContent").value_or(u""));
}

void expectImported(const std::vector<ImportCase>& cases) {
    for (const ImportCase& c : cases) {
        EXPECT_EQ(Imported(c.fileName, c.content)[c.key], c.value)
            << c.fileName << ' ' << toUtf8(c.key) << ": " << c.content.substr(0, 200);
    }
}

}  // namespace corvy::test
