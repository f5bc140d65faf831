// Resource forks on disk: where the fork of a file lies, and how it is changed.
//
// Forks are written to the AppleDouble sidecar "._NAME" beside the file. Where there is no fork in
// one, it is read from the attribute user.com.apple.ResourceFork, from NAME/..namedfork/rsrc, or
// from NAME.rsrc, in this order. A fork that lies there and is changed moves to the sidecar, which
// wins from then on.
#pragma once

#include <optional>
#include <string>

#include "foundation/bytes.h"
#include "foundation/resource_map.h"

namespace corvy {

// Result codes, as resource files are known to give them.
enum class ResourceError {
    none = 0,
    io = -36,
    endOfFile = -39,  // the file has no fork
    fileNotFound = -43,
    duplicateFileName = -48,
    alreadyOpen = -49,  // for writing, by this process or another
    permission = -54,
    badMap = -199,
};

// The Finder info of a file: at least 32 bytes, the type code and the creator code first. From the
// sidecar, else from the attribute user.com.apple.FinderInfo; none when neither has one.
std::optional<Bytes> finderInfoOfFile(const std::string& path);

class ResourceFile {
public:
    enum class Access { read, write };

    // Makes a file with an empty fork, or an empty fork for a file that has none.
    // duplicateFileName: there is a fork.
    static ResourceError create(const std::string& path);
    // Reads the fork. An open for writing is the only one, among all processes, until the file is
    // closed. `file` is set when the result is `none`.
    static ResourceError open(const std::string& path, Access access,
                              std::optional<ResourceFile>& file);

    ResourceFile(ResourceFile&& other) noexcept;
    ResourceFile& operator=(ResourceFile&& other) noexcept;
    ~ResourceFile();

    const ResourceMap& map() const { return map_; }
    // Puts another fork in place of the old one, on disk at once: whoever reads, or a crash, finds
    // the one or the other. On failure the old one stays.
    ResourceError replace(ResourceMap map);

private:
    ResourceFile(std::string path, int lock) : path_(std::move(path)), lock_(lock) {}

    std::string path_;  // of the file itself, links resolved
    int lock_ = -1;     // descriptor of the file, locked; -1 when open for reading
    ResourceMap map_;
};

}  // namespace corvy
