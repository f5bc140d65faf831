// Files and folders as they are named, one file after the other.
//
// Names in a folder come in the order of their bytes. Names that begin with a dot are left out,
// unless they are given. A folder that is a document (a package) counts as one file.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvy::tools {

struct FoundFile {
    std::string path = {};   // as given, or the folder's path and the name; bytes
    bool given = false;      // named by the caller, not met in a folder or a list
    bool isFolder = false;   // a package, or a folder that could not be read
    std::uint64_t size = 0;  // bytes; of files only
    timespec modified = {};
    // Why there is nothing to import, in the words of records.md; empty for a file. Size and time
    // are not known when it was not found.
    std::string_view error = {};
};

struct WalkOptions {
    bool recursive = false;  // folders inside folders as well
    // Whether a folder of this name is one document.
    bool (*isPackage)(std::string_view name) = nullptr;
    // Paths that follow those that the caller names, such as the lines of a list.
    std::vector<std::string> listed = {};
};

class Walk {
public:
    Walk(std::vector<std::string> paths, WalkOptions options);

    // The next file; none at the end. Memory is bounded by the names in the folders from the given
    // one down to the present one.
    std::optional<FoundFile> next();
    // Folders that were left out for want of `recursive`.
    std::uint64_t foldersLeftOut() const { return foldersLeftOut_; }

private:
    struct Folder {
        std::string path;                // ends in "/"
        std::vector<std::string> names;  // sorted backwards: the next one is the last
    };

    std::optional<FoundFile> take(std::string path, std::string_view name, bool given);
    std::optional<FoundFile> enter(FoundFile folder);

    std::vector<std::string> given_;  // backwards, those of a list in front
    std::size_t listed_;              // how many of them are of a list
    std::vector<Folder> open_;
    WalkOptions options_;
    std::uint64_t foldersLeftOut_ = 0;
};

}  // namespace corvy::tools
