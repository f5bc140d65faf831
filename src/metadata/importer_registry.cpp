#include "metadata/importer_registry.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "foundation/property_list.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "metadata/importer_tool.h"
#include "platform/bundle.h"

namespace corvy {

namespace {

using platform::Bundle;
using platform::ExecutableCheck;
using Paths = std::vector<std::u16string>;

constexpr std::u16string_view kDynamicRegistration = u"CFPlugInDynamicRegistration";
// Tags of e-mails, whose importers answer for files that the system's mail importer reads better.
constexpr std::u16string_view kMailTagsIdentifier = u"org.tagsmail.importer";
constexpr std::u16string_view kMailTagsNames[] = {u"TagsMail.mdimporter", u"_TagsMail.mdimporter"};
// Importers of Compiled HTML Help may have been made where nobody declared the type.
constexpr std::u16string_view kUndeclaredHtmlHelp = u"dyn.ah62d4rv4ge80g4dr";
constexpr std::u16string_view kHtmlHelp = u"com.microsoft.compiled-html-help";

constexpr std::size_t kMostEntriesOfFolder = 100'000;

std::u16string lowerCased(std::u16string_view text) {
    std::u16string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    });
    return lower;
}

bool registersDynamically(std::u16string_view path) {
    const auto bundle = Bundle::open(path);
    return bundle && bundle->flag(kDynamicRegistration);
}

// Empty for what is no folder.
Paths namesIn(std::u16string_view folder) {
    Paths names;
    const auto path = bytesOfPath(folder);
    std::error_code error;
    if (!path || path->empty()) return names;
    std::filesystem::directory_iterator entry(*path, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (names.size() == kMostEntriesOfFolder) break;
        names.push_back(pathFromBytes(entry->path().filename().string()));
    }
    std::ranges::sort(names);
    return names;
}

bool exists(std::u16string_view path) {
    const auto name = bytesOfPath(path);
    std::error_code error;
    return name && std::filesystem::exists(*name, error);
}

bool isFolder(std::u16string_view path) {
    const auto name = bytesOfPath(path);
    std::error_code error;
    return name && std::filesystem::is_directory(*name, error);
}

std::u16string reasonOf(const ExecutableCheck& check) {
    switch (check.outcome) {
        case ExecutableCheck::Outcome::missing: return u"has no executable";
        case ExecutableCheck::Outcome::notLoadable: return u"its executable is no shared object";
        case ExecutableCheck::Outcome::otherMachine: return u"made for another machine";
        case ExecutableCheck::Outcome::missingLibrary:
            return u"needs " + pathFromBytes(check.library) + u", which is not installed";
        case ExecutableCheck::Outcome::loadable: break;
    }
    return {};
}

bool isMailTagsImporter(const Bundle& bundle) {
    return stringOf(bundle.info(), u"CFBundleIdentifier") == kMailTagsIdentifier ||
           std::ranges::find(kMailTagsNames, lastPathComponent(bundle.path())) !=
               std::end(kMailTagsNames);
}

// The types of one entry of CFBundleDocumentTypes; none for an entry that is not for importers.
std::optional<Paths> typesOf(const PropertyList& entry) {
    const Dictionary* dictionary = entry.dictionary();
    if (!dictionary || stringOf(*dictionary, u"CFBundleTypeRole") != u"MDImporter") {
        return std::nullopt;
    }
    const PropertyList* types = dictionary->find(u"LSItemContentTypes");
    if (!types || !types->array()) return std::nullopt;
    Paths list;
    for (const PropertyList& type : *types->array()) {
        if (!type.string()) continue;
        std::u16string lower = lowerCased(*type.string());
        list.push_back(lower == kUndeclaredHtmlHelp ? std::u16string(kHtmlHelp) : std::move(lower));
    }
    return list;
}

class RegistryLoader {
public:
    explicit RegistryLoader(const ImporterPlaces& places) : places_(places) {}

    ImporterRegistry load() {
        discover();
        for (const std::u16string& path : registry_.MDImporterArray) readTypes(path);
        return std::move(registry_);
    }

private:
    Paths& paths() { return registry_.MDImporterArray; }

    void discover() {
        if (exists(places_.tool())) {
            ImporterListing listing = listedImporters(places_.tool());
            if (!listing.isText) return;
            if (!listing.paths.empty()) return order(std::move(listing.paths));
        }
        Paths dynamic;
        for (const std::u16string& folder :
             {std::u16string(u"~/Applications"), places_.root + u"/Applications",
              places_.root + u"/Developer/Applications"}) {
            loadPluginsFromApplicationsDirectory(paths(), folder, places_.home, &dynamic);
        }
        for (const std::u16string& folder :
             {places_.userSpotlight(), places_.librarySpotlight(), places_.systemSpotlight()}) {
            loadPluginsFromFolder(paths(), folder, &dynamic);
        }
        for (const std::u16string& path : dynamic) skipDynamic(path);
    }

    // The user's importers first, then the machine's, then the system's, each group from its end to
    // its start; what lies elsewhere follows in its order.
    void order(Paths candidates) {
        for (const std::u16string& folder :
             {places_.userSpotlight(), places_.librarySpotlight(), places_.systemSpotlight()}) {
            for (std::size_t i = candidates.size(); i > 0; --i) {
                const auto candidate = candidates.begin() + static_cast<std::ptrdiff_t>(i - 1);
                const bool isDynamic = registersDynamically(*candidate);
                // kept: names that only begin like the folder's count as well.
                const bool isInside = !folder.empty() && candidate->starts_with(folder);
                if (!isDynamic && !isInside) continue;
                if (isDynamic) {
                    skipDynamic(*candidate);
                } else {
                    paths().push_back(*candidate);
                }
                candidates.erase(candidate);
            }
        }
        paths().insert(paths().end(), candidates.begin(), candidates.end());
        const std::u16string mail = places_.systemSpotlight() + u"/Mail.mdimporter";
        if (std::ranges::find(paths(), mail) == paths().end() && exists(mail)) {
            paths().insert(paths().begin(), mail);
            systemLog(u"Added: " + mail);
        }
    }

    void readTypes(const std::u16string& path) {
        const auto bundle = Bundle::open(path);
        if (!bundle) return skip(path, u"no bundle");
        const ExecutableCheck check = bundle->preflight(libraries_);
        if (check.outcome != ExecutableCheck::Outcome::loadable) return skip(path, reasonOf(check));

        const PropertyList* documents = bundle->info().find(u"CFBundleDocumentTypes");
        const bool isExcluded = isMailTagsImporter(*bundle);
        if (!documents || !documents->array() || documents->array()->empty() || isExcluded) {
            systemLog(u"Skipped: " + path);
            return skip(path, isExcluded ? u"tags of e-mails are not imported"
                                         : u"declares no document types");
        }
        std::optional<Paths> all;
        for (const PropertyList& entry : *documents->array()) {
            const auto types = typesOf(entry);
            if (!types) continue;
            if (!all) all.emplace();
            all->insert(all->end(), types->begin(), types->end());
        }
        if (!all) return skip(path, u"declares no document type in the role of an importer");
        // A path that is listed twice has its types twice, too.
        Paths& known = registry_.contentTypesForMDImporter[path];
        known.insert(known.end(), all->begin(), all->end());
    }

    void skipDynamic(const std::u16string& path) { skip(path, u"registers its factories itself"); }
    void skip(const std::u16string& path, std::u16string reason) {
        registry_.skippedImporters[path] = std::move(reason);
    }

    const ImporterPlaces& places_;
    platform::SharedLibraries libraries_ = platform::SharedLibraries::ofThisMachine();
    ImporterRegistry registry_;
};

}  // namespace

const std::u16string* ImporterRegistry::importerForType(std::u16string_view contentType) const {
    for (const std::u16string& path : MDImporterArray) {
        const auto types = contentTypesForMDImporter.find(path);
        if (types != contentTypesForMDImporter.end() &&
            std::ranges::find(types->second, contentType) != types->second.end()) {
            return &path;
        }
    }
    return nullptr;
}

ImporterRegistry loadMDImporters(const ImporterPlaces& places) {
    return RegistryLoader(places).load();
}

void loadPluginsFromFolder(std::vector<std::u16string>& paths, std::u16string_view folder,
                           std::vector<std::u16string>* dynamic) {
    for (const std::u16string& name : namesIn(folder)) {
        if (!equalNoCase(pathExtension(name), u"mdimporter")) continue;
        std::u16string path = std::u16string(folder) + u"/" + name;
        if (!registersDynamically(path)) {
            paths.push_back(std::move(path));
        } else if (dynamic) {
            dynamic->push_back(std::move(path));
        }
    }
}

void loadPluginsFromApplicationsDirectory(std::vector<std::u16string>& paths,
                                          std::u16string_view folder, std::u16string_view home,
                                          std::vector<std::u16string>* dynamic) {
    std::u16string expanded(folder);
    if (expanded == u"~" || expanded.starts_with(u"~/")) expanded.replace(0, 1, home);
    for (const std::u16string& name : namesIn(expanded)) {
        const std::u16string inside =
            std::u16string(folder) + u"/" + name + u"/Contents/Library/Spotlight";
        if (isFolder(inside)) loadPluginsFromFolder(paths, inside, dynamic);
    }
}

}  // namespace corvy
