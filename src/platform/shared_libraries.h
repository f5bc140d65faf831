// The shared libraries that the dynamic loader of this machine finds by name.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace corvy::platform {

class SharedLibraries {
public:
    // Those of the loader's cache, LD_LIBRARY_PATH and the system's folders.
    static SharedLibraries ofThisMachine();
    // For tests: only what lies in these folders.
    explicit SharedLibraries(std::vector<std::string> folders) : folders_(std::move(folders)) {}

    // `folders`: where the one who needs the library has it looked for first.
    bool has(const std::string& name, std::span<const std::string> folders = {}) const;

private:
    std::unordered_set<std::string> cached_;
    std::vector<std::string> folders_;
};

// The names in a cache file of the loader, for programs like this one; empty when it is in another
// form.
std::unordered_set<std::string> namesInLoaderCache(std::string_view bytes);

}  // namespace corvy::platform
