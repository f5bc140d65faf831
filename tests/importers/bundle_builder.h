// Bundles for tests, as files.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace corvy::test {

inline const std::string kUnruly =
    CORVY_BUILD_DIR "/tests/importers/Unruly.mdimporter/Contents/Linux/Unruly";

inline void writeFile(const std::string& path, std::string_view content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

// An info in the old text form that declares one type for importers; `more` are further entries.
inline std::string infoFor(std::string_view type, std::string_view more = "") {
    return "{ CFBundleDocumentTypes = ({ CFBundleTypeRole = MDImporter; LSItemContentTypes = (\"" +
           std::string(type) + "\"); }); CFBundleExecutable = Unruly; " + std::string(more) + " }";
}

// Factories of the test's importer for the importer type, in this order; "-" is one that the
// bundle does not have.
inline std::string factoryEntries(std::initializer_list<std::string_view> names) {
    std::string factories = "CFPlugInFactories = {";
    std::string types = "CFPlugInTypes = { \"8b08c4bf-415b-11d8-b3f9-0003936726fc\" = (";
    char digit = '1';
    for (const std::string_view name : names) {
        const std::string id = std::string("\"00000000-0000-0000-0000-00000000000") + digit++ + '"';
        if (name != "-") factories += id + " = " + std::string(name) + ";";
        types += (types.ends_with('(') ? "" : ", ") + id;
    }
    return factories + "}; " + types + "); };";
}

// A bundle with this Info.plist whose executable is the test's importer.
inline void writeBundle(const std::string& path, std::string_view info) {
    writeFile(path + "/Contents/Info.plist", info);
    std::filesystem::create_directories(path + "/Contents/Linux");
    std::filesystem::create_symlink(kUnruly, path + "/Contents/Linux/Unruly");
}

}  // namespace corvy::test
