#include "platform/rich_text/rtfd_package.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/rich_text/flat_rtfd.h"

namespace corvy::platform {

namespace {

constexpr int kDeepest = 16;
constexpr std::size_t kMostEntries = 65536;
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

class PackageReader {
public:
    // False when the folder cannot be read, or there is too much.
    bool read(Descriptor descriptor, int depth, FileNode& folder) {
        folder.isFolder = true;
        const std::unique_ptr<DIR, FolderCloser> listing(::fdopendir(descriptor.get()));
        if (!listing || depth > kDeepest) return false;
        const int number = descriptor.release();
        while (const dirent* entry = ::readdir(listing.get())) {
            FileNode node;
            node.name = pathFromBytes(entry->d_name);
            if (!isEntryName(node.name)) continue;
            if (++entries_ > kMostEntries) return false;
            // Does not wait for a pipe, nor follow a link.
            Descriptor file(
                ::openat(number, entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
            struct stat status {};
            if (!file || ::fstat(file.get(), &status) != 0) continue;
            if (S_ISDIR(status.st_mode)) {
                if (!read(std::move(file), depth + 1, node)) return false;
            } else if (!S_ISREG(status.st_mode)) {
                continue;
            } else if (!readFile(file.get(), static_cast<std::uint64_t>(status.st_size), node)) {
                return false;
            }
            folder.entries.push_back(std::move(node));
        }
        // The order in which a disk lists is no order.
        std::ranges::sort(folder.entries, {}, &FileNode::name);
        return true;
    }

private:
    bool readFile(int file, std::uint64_t size, FileNode& node) {
        if (size > kMostBytes - bytes_) return false;
        bytes_ += size;
        std::vector<std::byte> buffer(size);
        std::size_t used = 0;
        while (used < buffer.size()) {
            const ssize_t count = ::read(file, buffer.data() + used, buffer.size() - used);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return false;
            if (count == 0) break;
            used += static_cast<std::size_t>(count);
        }
        buffer.resize(used);
        node.contents = Bytes(std::move(buffer));
        return true;
    }

    std::size_t entries_ = 0;
    std::uint64_t bytes_ = 0;
};

int writeFile(int folder, const std::string& name, std::string_view bytes) {
    Descriptor file(::openat(folder, name.c_str(),
                             O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file) return errno;
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::close(file.release()) == 0 ? 0 : errno;
}

int makeFolder(int parent, const std::string& path) {
    return ::mkdirat(parent, path.c_str(), 0777) == 0 || errno == EEXIST ? 0 : errno;
}

int writeEntries(int parent, const std::string& path, int depth, const FileNode& folder) {
    if (depth > kDeepest) return ELOOP;
    if (const int error = makeFolder(parent, path)) return error;
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (depth > 1 ? O_NOFOLLOW : 0);
    const Descriptor descriptor(::openat(parent, path.c_str(), flags));
    if (!descriptor) return errno;
    for (const FileNode& entry : folder.entries) {
        const auto name = isEntryName(entry.name) ? bytesOfPath(entry.name) : std::nullopt;
        if (!name) return EINVAL;
        const int error = entry.isFolder
                              ? writeEntries(descriptor.get(), *name, depth + 1, entry)
                              : writeFile(descriptor.get(), *name, entry.contents.chars());
        if (error != 0) return error;
    }
    return 0;
}

// A folder that holds something else than a package.
bool isForeign(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error) && !std::filesystem::is_empty(path, error) &&
           !std::filesystem::exists(path / "TXT.rtf", error);
}

void removeOthers(const std::filesystem::path& path, const FileNode& folder) {
    std::set<std::string> names;
    for (const FileNode& entry : folder.entries) names.insert(*bytesOfPath(entry.name));
    std::error_code error;
    std::vector<std::filesystem::path> others;
    for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
        if (!names.contains(entry.path().filename().string())) others.push_back(entry.path());
    }
    for (const auto& other : others) std::filesystem::remove_all(other, error);
}

}  // namespace

std::optional<FileNode> readPackage(const std::string& path) {
    Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    FileNode folder;
    if (!descriptor || !PackageReader().read(std::move(descriptor), 1, folder)) return std::nullopt;
    return folder;
}

int writePackage(const std::string& path, const FileNode& folder) {
    if (isForeign(path)) return ENOTEMPTY;
    if (const int error = writeEntries(AT_FDCWD, path, 1, folder)) return error;
    removeOthers(path, folder);
    return 0;
}

}  // namespace corvy::platform
