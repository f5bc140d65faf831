#include "platform/messaging/runtime_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "platform/messaging.h"

namespace corvy::platform {

namespace {

bool isOwnDirectory(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid();
}

}  // namespace

std::string runtimeDirectory() {
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    if (std::string chosen = variable("CORVYSTACK_RUNTIME_DIR"); !chosen.empty()) return chosen;
    if (const std::string session = variable("XDG_RUNTIME_DIR"); session.starts_with('/')) {
        return session + "/corvystack";
    }
    const std::string user = std::to_string(geteuid());
    if (isOwnDirectory("/run/user/" + user)) return "/run/user/" + user + "/corvystack";
    return std::string(P_tmpdir) + "/corvystack-" + user;
}

Descriptor openRuntimeDirectory(const std::string& path) {
    mkdir(path.c_str(), 0700);  // there already, or the next line tells
    Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!directory || fstat(directory.get(), &status) != 0) return {};
    const bool ours = status.st_uid == geteuid() && (status.st_mode & 0777) == 0700;
    return ours ? std::move(directory) : Descriptor();
}

std::optional<std::string> socketPath(const std::string& directory, std::string_view name) {
    if (name.empty() || name == "." || name == "..") return std::nullopt;
    if (name.find_first_of(std::string_view("/\0", 2)) != name.npos) return std::nullopt;
    std::string path = directory + "/" + std::string(name);
    if (path.size() + kTemporarySuffixLength >= sizeof(sockaddr_un::sun_path)) return std::nullopt;
    return path;
}

}  // namespace corvy::platform
