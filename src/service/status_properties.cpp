#include "service/status_properties.h"

#include <unistd.h>

namespace corvy {

namespace {

PropertyList arrayOf(const std::vector<std::u16string>& texts) {
    return Array(texts.begin(), texts.end());
}

}  // namespace

std::map<std::string, platform::Connection::Property> statusProperties(CorvyStackHelper& helper) {
    return {
        {"Version", [] { return PropertyList(u"" CORVY_VERSION); }},
        {"ProcessId", [] { return PropertyList(static_cast<std::int32_t>(getpid())); }},
        {"Importers", [&helper] { return arrayOf(helper.importer().registry().MDImporterArray); }},
        {"ImporterTypes",
         [&helper] {
             Dictionary types;
             const ImporterRegistry& registry = helper.importer().registry();
             for (const auto& [path, list] : registry.contentTypesForMDImporter) {
                 types.set(path, arrayOf(list));
             }
             return PropertyList(std::move(types));
         }},
        {"SkippedImporters",
         [&helper] {
             Dictionary reasons;
             for (const auto& [path, reason] : helper.importer().registry().skippedImporters) {
                 reasons.set(path, reason);
             }
             return PropertyList(std::move(reasons));
         }},
        {"Libraries", [&helper] { return PropertyList(helper.libraries()); }},
    };
}

}  // namespace corvy
