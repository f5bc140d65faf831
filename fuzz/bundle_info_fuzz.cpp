// The Info.plist of an importer, as the registry and the plug-in host read it.
#include <corvystack/importer.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "foundation/system_log.h"
#include "foundation/text.h"
#include "fuzz/fuzz_text.h"
#include "metadata/importer_registry.h"
#include "platform/plugin_host.h"

using namespace corvy;

namespace {

// A folder with one bundle, whose executable can be loaded as far as can be told: it is a library
// of the system.
struct Place {
    Place() {
        char name[] = "/tmp/corvystack-fuzz-XXXXXX";
        root = mkdtemp(name);
        std::filesystem::create_directories(bundle() + "/Contents/Linux");
        std::filesystem::create_symlink(std::filesystem::read_symlink("/proc/self/exe"),
                                        bundle() + "/Contents/Linux/A");
    }
    ~Place() { std::filesystem::remove_all(root); }
    std::string bundle() const { return root + "/Library/Spotlight/A.mdimporter"; }

    std::string root;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Place place;
    std::ofstream(place.bundle() + "/Contents/Info.plist", std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const LogCapture silence;
    const ImporterRegistry registry = loadMDImporters({.root = fromUtf8(place.root)});
    const auto bundle = platform::Bundle::open(fromUtf8(place.bundle()));
    require(bundle.has_value());
    const bool isDynamic = bundle->flag(u"CFPlugInDynamicRegistration");
    require(registry.MDImporterArray.size() == (isDynamic ? 0 : 1));
    require(registry.contentTypesForMDImporter.size() + registry.skippedImporters.size() == 1);
    for (const auto& [path, types] : registry.contentTypesForMDImporter) {
        for (const std::u16string& type : types) {
            require(registry.importerForType(type) != nullptr);
        }
    }
    if (const auto executable = bundle->executable()) {
        const std::u16string folder = bundle->path() + u"/Contents/Linux/";
        require(executable->starts_with(folder) &&
                executable->find(u'/', folder.size()) == std::u16string::npos);
    }
    // One that registers itself would be loaded.
    if (isDynamic) return 0;
    const auto plugIn = platform::PlugIn::create(bundle->path());
    require(plugIn.has_value());
    plugIn->factoriesForType(CORVY_IMPORTER_TYPE);
    return 0;
}
