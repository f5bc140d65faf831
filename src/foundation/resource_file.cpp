#include "foundation/resource_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/apple_double.h"
#include "foundation/descriptor.h"

namespace corvy {

namespace {

constexpr const char* kForkAttribute = "user.com.apple.ResourceFork";
constexpr const char* kFinderAttribute = "user.com.apple.FinderInfo";
constexpr std::string_view kNamedFork = "/..namedfork/rsrc";
constexpr std::string_view kForkSuffix = ".rsrc";
// Sidecars hold other entries too.
constexpr std::int64_t kLargestSidecar = std::int64_t{64} << 20;

ResourceError errorOf(int number) {
    switch (number) {
        case ENOENT:
        case ENOTDIR: return ResourceError::fileNotFound;
        case EACCES:
        case EPERM:
        case EROFS: return ResourceError::permission;
        case EWOULDBLOCK: return ResourceError::alreadyOpen;
        default: return ResourceError::io;
    }
}

// Never waits on a pipe.
int openForReading(const std::string& path) {
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

bool isRegular(int descriptor, struct stat& status) {
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// None when the file is not there, no regular one, or too large.
std::optional<Bytes> contentsOf(const std::string& path) {
    const Descriptor file(openForReading(path));
    struct stat status {};
    if (!file || !isRegular(file.get(), status) || status.st_size > kLargestSidecar) {
        return std::nullopt;
    }
    std::vector<std::byte> buffer(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < buffer.size()) {
        const ssize_t got = ::read(file.get(), buffer.data() + length, buffer.size() - length);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        length += static_cast<std::size_t>(got);
    }
    buffer.resize(length);
    return Bytes(std::move(buffer));
}

std::optional<Bytes> attributeOf(const std::string& path, const char* name) {
    const ssize_t size = ::getxattr(path.c_str(), name, nullptr, 0);
    if (size <= 0) return std::nullopt;
    std::vector<std::byte> buffer(static_cast<std::size_t>(size));
    const ssize_t got = ::getxattr(path.c_str(), name, buffer.data(), buffer.size());
    if (got < 0) return std::nullopt;
    buffer.resize(static_cast<std::size_t>(got));
    return Bytes(std::move(buffer));
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

std::string sidecarOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return folderOf(path) + "._" + name;
}

std::optional<AppleDouble> sidecarIn(const std::optional<Bytes>& contents) {
    return contents ? AppleDouble::read(*contents) : std::nullopt;
}

// The first fork that is not empty.
std::optional<Bytes> forkOf(const std::string& path) {
    if (const auto sidecar = sidecarIn(contentsOf(sidecarOf(path)))) {
        auto fork = sidecar->entry(AppleDouble::kResourceFork);
        if (fork && !fork->empty()) return fork;
    }
    if (auto fork = attributeOf(path, kForkAttribute)) return fork;
    for (const std::string_view suffix : {kNamedFork, kForkSuffix}) {
        auto fork = contentsOf(path + std::string(suffix));
        if (fork && !fork->empty()) return fork;
    }
    return std::nullopt;
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// Makes the file or replaces it as a whole, with the rights and the owner of `model`. Files are on
// disk when the names lead to them.
ResourceError replaceFile(const std::string& path, std::string_view bytes,
                          const struct stat& model) {
    std::string temporary = folderOf(path) + ".corvystack-XXXXXX";
    Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return errorOf(errno);
    constexpr mode_t kRights = 0666;
    bool done = ::fchmod(file.get(), model.st_mode & kRights) == 0 && writeAll(file.get(), bytes);
    // Only the superuser can give files away; others keep them.
    if (done && model.st_uid != ::geteuid()) {
        done = ::fchown(file.get(), model.st_uid, model.st_gid) == 0 || errno == EPERM;
    }
    done = done && ::fsync(file.get()) == 0 && ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!done) {
        const ResourceError error = errorOf(errno);
        ::unlink(temporary.c_str());
        return error;
    }
    const Descriptor folder(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) ::fsync(folder.get());
    return ResourceError::none;
}

// Replaces the fork in the sidecar as it is now, or makes a sidecar.
ResourceError writeFork(const std::string& path, const ResourceMap& map) {
    const auto fork = map.write();
    if (!fork) return ResourceError::badMap;
    const std::string sidecarPath = sidecarOf(path);
    struct stat model {};
    const bool exists = ::stat(sidecarPath.c_str(), &model) == 0;
    if (!exists && errno != ENOENT) return errorOf(errno);
    if (exists && ::access(sidecarPath.c_str(), W_OK) != 0) return errorOf(errno);
    if (!exists && ::stat(path.c_str(), &model) != 0) return errorOf(errno);

    std::optional<AppleDouble> sidecar;
    if (exists) {
        sidecar = sidecarIn(contentsOf(sidecarPath));
    } else {
        const auto finderInfo = attributeOf(path, kFinderAttribute);
        sidecar = AppleDouble::make(finderInfo ? finderInfo->chars() : std::string_view());
    }
    // Whatever else has that name is not ours to replace.
    const auto bytes = sidecar ? sidecar->withResourceFork(*fork) : std::nullopt;
    return bytes ? replaceFile(sidecarPath, *bytes, model) : ResourceError::badMap;
}

// The path of what is there, links resolved.
std::string resolved(const std::string& path) {
    char* real = ::realpath(path.c_str(), nullptr);
    std::string result = real ? real : path;
    ::free(real);
    return result;
}

// Locks an existing file for writing; `descriptor` is set when the result is `none`.
ResourceError lockForWriting(const std::string& path, int& descriptor) {
    Descriptor file(openForReading(path));
    if (!file) return errorOf(errno);
    struct stat status {};
    if (!isRegular(file.get(), status)) return ResourceError::fileNotFound;
    if (::access(path.c_str(), W_OK) != 0) return errorOf(errno);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return errorOf(errno);
    descriptor = file.release();
    return ResourceError::none;
}

}  // namespace

std::optional<Bytes> finderInfoOfFile(const std::string& givenPath) {
    constexpr std::size_t kLength = 32;
    const std::string path = resolved(givenPath);
    if (const auto sidecar = sidecarIn(contentsOf(sidecarOf(path)))) {
        auto info = sidecar->entry(AppleDouble::kFinderInfo);
        if (info && info->size() >= kLength) return info;
    }
    auto info = attributeOf(path, kFinderAttribute);
    return info && info->size() >= kLength ? info : std::nullopt;
}

ResourceError ResourceFile::create(const std::string& givenPath) {
    constexpr mode_t kRights = 0666;
    const int made =
        ::open(givenPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, kRights);
    if (made < 0 && errno != EEXIST) return errorOf(errno);
    if (made >= 0) ::close(made);

    const std::string path = resolved(givenPath);
    int descriptor = -1;
    ResourceError error = lockForWriting(path, descriptor);
    const Descriptor lock(descriptor);
    if (error == ResourceError::none) {
        error = forkOf(path) ? ResourceError::duplicateFileName : writeFork(path, {});
    }
    const bool isThere = error == ResourceError::none || error == ResourceError::duplicateFileName;
    if (made >= 0 && !isThere) ::unlink(path.c_str());
    return error;
}

ResourceError ResourceFile::open(const std::string& givenPath, Access access,
                                 std::optional<ResourceFile>& file) {
    const std::string path = resolved(givenPath);
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return errorOf(errno);
    if (!S_ISREG(status.st_mode)) return ResourceError::fileNotFound;
    int descriptor = -1;
    if (access == Access::write) {
        const ResourceError error = lockForWriting(path, descriptor);
        if (error != ResourceError::none) return error;
    }
    ResourceFile opened(path, descriptor);
    const auto fork = forkOf(path);
    if (!fork) return ResourceError::endOfFile;
    auto map = ResourceMap::read(*fork);
    if (!map) return ResourceError::badMap;
    opened.map_ = std::move(*map);
    file.emplace(std::move(opened));
    return ResourceError::none;
}

ResourceFile::ResourceFile(ResourceFile&& other) noexcept
    : path_(std::move(other.path_)),
      lock_(std::exchange(other.lock_, -1)),
      map_(std::move(other.map_)) {}

ResourceFile& ResourceFile::operator=(ResourceFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(lock_, other.lock_);
    std::swap(map_, other.map_);
    return *this;
}

ResourceFile::~ResourceFile() {
    if (lock_ >= 0) ::close(lock_);
}

ResourceError ResourceFile::replace(ResourceMap map) {
    if (lock_ < 0) return ResourceError::permission;
    const ResourceError error = writeFork(path_, map);
    if (error == ResourceError::none) map_ = std::move(map);
    return error;
}

}  // namespace corvy
