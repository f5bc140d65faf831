// The importer plug-ins that are installed, in the order in which they are asked, and the types
// that each declares.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/importer_places.h"

namespace corvy {

struct ImporterRegistry {
    // Paths of bundles; the first that declares a type reads its files.
    std::vector<std::u16string> MDImporterArray = {};
    // Types in lower case, as often as they are declared. Importers without a fitting declaration,
    // and those that cannot be loaded, have no entry.
    std::map<std::u16string, std::vector<std::u16string>> contentTypesForMDImporter = {};
    // Why each importer without an entry above has none; also for those that are not in the list.
    std::map<std::u16string, std::u16string> skippedImporters = {};

    // The importer for a type (in lower case); null when there is none. Valid as long as this.
    const std::u16string* importerForType(std::u16string_view contentType) const;
};

// Finds all importers, by the system's tool where there is one, else in the folders, and reads what
// they declare. Throws std::system_error when the tool is there and cannot be started.
ImporterRegistry loadMDImporters(const ImporterPlaces& places);

// The importers in a folder, in the order of their names. Adds them to `paths`, but
// to `dynamic`, if that is wanted, those whose factories are registered dynamically.
void loadPluginsFromFolder(std::vector<std::u16string>& paths, std::u16string_view folder,
                           std::vector<std::u16string>* dynamic = nullptr);
// The same for the applications in a folder, whose name may begin with "~" for `home`.
// kept: the folder's content is that of the expanded name, but importers are looked for below the
// name as it stands, so that those below "~" are not found.
void loadPluginsFromApplicationsDirectory(std::vector<std::u16string>& paths,
                                          std::u16string_view folder, std::u16string_view home,
                                          std::vector<std::u16string>* dynamic = nullptr);

}  // namespace corvy
