#include "platform/shared_libraries.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "foundation/file_contents.h"

namespace corvy::platform {

namespace {

constexpr std::uint64_t kLongestCache = std::uint64_t{64} << 20;

// The cache as the C library (2.2 and later) writes it, in this machine's byte order.
constexpr std::string_view kCacheMagic = "glibc-ld.so.cache1.1";
constexpr std::size_t kCacheHeader = 48;
constexpr std::size_t kCountOffset = 20;
struct CacheEntry {
    std::uint32_t flags;
    std::uint32_t name;  // offset in the file
    std::uint32_t path;
    std::uint32_t osVersion;
    std::uint64_t hardware;
};
static_assert(sizeof(CacheEntry) == 24);

// The kind of program that an entry is for.
constexpr std::uint32_t kKindMask = 0xFF00;
#if defined(__x86_64__)
constexpr std::uint32_t kOwnKind = 0x0300;
constexpr const char* kMachineFolders[] = {"/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu"};
#elif defined(__aarch64__)
constexpr std::uint32_t kOwnKind = 0x0A00;
constexpr const char* kMachineFolders[] = {"/lib/aarch64-linux-gnu", "/usr/lib/aarch64-linux-gnu"};
#else
#error "name the kind of this architecture in the loader's cache"
#endif

bool isReadable(const std::string& path) {
    return ::access(path.c_str(), R_OK) == 0;
}

bool isIn(const std::string& name, std::span<const std::string> folders) {
    return std::ranges::any_of(
        folders, [&name](const std::string& folder) { return isReadable(folder + '/' + name); });
}

std::vector<std::string> foldersOf(std::string_view list) {
    std::vector<std::string> folders;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(':'), list.size());
        if (end > 0) folders.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return folders;
}

}  // namespace

std::unordered_set<std::string> namesInLoaderCache(std::string_view bytes) {
    if (!bytes.starts_with(kCacheMagic) || bytes.size() < kCacheHeader) return {};
    std::uint32_t count = 0;
    std::memcpy(&count, bytes.data() + kCountOffset, sizeof count);
    if (count > (bytes.size() - kCacheHeader) / sizeof(CacheEntry)) return {};
    std::unordered_set<std::string> names;
    names.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        CacheEntry entry{};
        std::memcpy(&entry, bytes.data() + kCacheHeader + i * sizeof entry, sizeof entry);
        if ((entry.flags & kKindMask) != kOwnKind || entry.name >= bytes.size()) continue;
        const std::string_view rest = bytes.substr(entry.name);
        names.emplace(rest.substr(0, rest.find('\0')));
    }
    return names;
}

SharedLibraries SharedLibraries::ofThisMachine() {
    const char* variable = std::getenv("LD_LIBRARY_PATH");
    SharedLibraries libraries(foldersOf(variable ? variable : ""));
    libraries.folders_.insert(libraries.folders_.end(), std::begin(kMachineFolders),
                              std::end(kMachineFolders));
    for (const char* folder : {"/lib", "/usr/lib", "/lib64", "/usr/lib64"}) {
        libraries.folders_.emplace_back(folder);
    }
    if (const auto cache = contentsOfFile(u"/etc/ld.so.cache", {.most = kLongestCache})) {
        libraries.cached_ = namesInLoaderCache(cache->chars());
    }
    return libraries;
}

bool SharedLibraries::has(const std::string& name, std::span<const std::string> folders) const {
    if (name.find('/') != std::string::npos) return isReadable(name);
    return isIn(name, folders) || cached_.contains(name) || isIn(name, folders_);
}

}  // namespace corvy::platform
