#include "service/status_properties.h"

#include <unistd.h>

namespace corvy {

std::map<std::string, platform::Connection::Property> statusProperties(CorvyStackHelper& helper) {
    return {
        {"Version", [] { return PropertyList(u"" CORVY_VERSION); }},
        {"ProcessId", [] { return PropertyList(static_cast<std::int32_t>(getpid())); }},
        {"Importers",
         [&helper] {
             Array paths;
             for (auto& path : helper.importer().importers()) paths.emplace_back(std::move(path));
             return PropertyList(std::move(paths));
         }},
        {"Libraries", [&helper] { return PropertyList(helper.libraries()); }},
    };
}

}  // namespace corvy
