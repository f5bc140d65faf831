#include "metadata/importer_places.h"

#include <cstdlib>
#include <filesystem>

#include "foundation/text.h"
#include "platform/isolation.h"

namespace corvy {

namespace {

// Empty as well for a path that would depend on the working directory.
std::string absolutePathIn(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value == '/' ? value : "";
}

std::string withoutSlashAtEnd(std::string path) {
    while (path.ends_with('/')) path.pop_back();
    return path;
}

// A build has its importers beside the programs, an installation in its library folder.
std::string installedRoot() {
    const std::filesystem::path programs = platform::programFolder();
    std::error_code error;
    std::filesystem::path beside = programs / "lib/corvystack";
    if (std::filesystem::is_directory(beside, error)) return beside.string();
    return (programs / CORVY_LIBRARY_FROM_PROGRAMS).lexically_normal().string();
}

}  // namespace

ImporterPlaces standardImporterPlaces() {
    const std::string home = absolutePathIn("HOME");
    const std::string data = absolutePathIn("XDG_DATA_HOME");
    const std::string root = absolutePathIn("CORVYSTACK_ROOT");
    ImporterPlaces places;
    places.root = pathFromBytes(withoutSlashAtEnd(root.empty() ? installedRoot() : root));
    places.home = pathFromBytes(home);
    if (!data.empty()) {
        places.userLibrary = pathFromBytes(data + "/corvystack");
    } else if (!home.empty()) {
        places.userLibrary = pathFromBytes(home + "/.local/share/corvystack");
    }
    return places;
}

}  // namespace corvy
