#include "tools/import/walk.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <memory>
#include <utility>

namespace corvy::tools {

namespace {

std::string_view nameOf(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

// The names in the folder, backwards. None when it cannot be read.
std::optional<std::vector<std::string>> namesInFolder(const std::string& path) {
    struct Closer {
        void operator()(DIR* folder) const { ::closedir(folder); }
    };
    const std::unique_ptr<DIR, Closer> folder(::opendir(path.c_str()));
    if (!folder) return std::nullopt;
    std::vector<std::string> names;
    while (true) {
        errno = 0;
        const dirent* entry = ::readdir(folder.get());
        if (!entry) break;
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    if (errno != 0) return std::nullopt;
    std::sort(names.begin(), names.end(), std::greater<>());
    return names;
}

}  // namespace

Walk::Walk(std::vector<std::string> paths, WalkOptions options)
    : given_(std::move(options.listed)), listed_(given_.size()), options_(std::move(options)) {
    std::ranges::reverse(given_);
    given_.insert(given_.end(), std::make_move_iterator(paths.rbegin()),
                  std::make_move_iterator(paths.rend()));
}

std::optional<FoundFile> Walk::next() {
    while (!open_.empty() || !given_.empty()) {
        std::optional<FoundFile> found;
        if (open_.empty()) {
            std::string path = std::move(given_.back());
            given_.pop_back();
            const std::string name(nameOf(path));
            found = take(std::move(path), name, true);
            if (found) found->given = given_.size() >= listed_;
        } else if (Folder& folder = open_.back(); folder.names.empty()) {
            open_.pop_back();
        } else {
            const std::string name = std::move(folder.names.back());
            folder.names.pop_back();
            found = take(folder.path + name, name, false);
        }
        if (found) return found;
    }
    return std::nullopt;
}

// None for a folder that was entered or left out.
std::optional<FoundFile> Walk::take(std::string path, std::string_view name, bool given) {
    FoundFile file;
    file.path = std::move(path);
    file.given = given;
    struct stat own {
    }, target{};
    if (::lstat(file.path.c_str(), &own) != 0 || ::stat(file.path.c_str(), &target) != 0) {
        file.error = errno == ENOENT || errno == ENOTDIR ? "notFound" : "notReadable";
        return file;
    }
    file.modified = target.st_mtim;
    file.isFolder = S_ISDIR(target.st_mode);
    if (!file.isFolder) {
        file.size = static_cast<std::uint64_t>(target.st_size);
        if (!S_ISREG(target.st_mode)) file.error = "specialFile";
        return file;
    }
    if (options_.isPackage && options_.isPackage(name)) return file;
    if (given) return enter(std::move(file));
    // A link to a folder may lead back to where the walk has been, so none is followed.
    if (S_ISLNK(own.st_mode)) {
        file.error = "linkToFolder";
        return file;
    }
    if (options_.recursive) return enter(std::move(file));
    ++foldersLeftOut_;
    return std::nullopt;
}

std::optional<FoundFile> Walk::enter(FoundFile folder) {
    auto names = namesInFolder(folder.path);
    if (!names) {
        folder.error = "notReadable";
        return folder;
    }
    if (!folder.path.ends_with('/')) folder.path += '/';
    open_.push_back({std::move(folder.path), std::move(*names)});
    return std::nullopt;
}

}  // namespace corvy::tools
