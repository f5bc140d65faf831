#include "platform/messaging/registration.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <set>

#include "platform/messaging.h"
#include "platform/messaging/runtime_directory.h"

namespace corvy::platform {

namespace {

constexpr int kBacklog = 4096;

// The names that this process holds. Opening a lock file a second time and closing it again would
// drop the lock, so a name that is held must not even be tried.
struct HeldNames {
    std::mutex mutex;
    std::set<std::string> keys;
};

HeldNames& heldNames() {
    static HeldNames names;
    return names;
}

// Frees the key again unless it is kept.
class Claim {
public:
    explicit Claim(std::string key) : key_(std::move(key)) {
        HeldNames& names = heldNames();
        const std::lock_guard lock(names.mutex);
        ours_ = names.keys.insert(key_).second;
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;
    ~Claim() {
        if (ours_) free(key_);
    }
    explicit operator bool() const { return ours_; }
    std::string keep() {
        ours_ = false;
        return key_;
    }
    static void free(const std::string& key) {
        HeldNames& names = heldNames();
        const std::lock_guard lock(names.mutex);
        names.keys.erase(key);
    }

private:
    std::string key_;
    bool ours_ = false;
};

std::optional<std::string> keyOf(int directory, std::string_view name) {
    struct stat status = {};
    if (fstat(directory, &status) != 0) return std::nullopt;
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) + ":" +
           std::string(name);
}

Descriptor takeLock(int directory, const std::string& name) {
    constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    Descriptor file(openat(directory, (name + ".lock").c_str(), kFlags, 0600));
    if (!file) return {};
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return fcntl(file.get(), F_SETLK, &whole) == 0 ? std::move(file) : Descriptor();
}

// Removes the temporary sockets that starters left which died half way. Only the holder of the
// lock makes such sockets, so for the holder all of them are dead.
void removeLeftovers(int directory, const std::string& name) {
    const int copy = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) return;
    DIR* entries = fdopendir(copy);
    if (entries == nullptr) {
        close(copy);
        return;
    }
    const std::string prefix = name + ".";
    while (const dirent* entry = readdir(entries)) {
        const std::string_view file = entry->d_name;
        if (!file.starts_with(prefix) || file.size() == prefix.size()) continue;
        const std::string_view rest = file.substr(prefix.size());
        if (!std::all_of(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            continue;
        }
        struct stat status = {};
        // "Name.1" may be a name in its own right, beside "Name"; it has a lock file then.
        const bool isName =
            faccessat(directory, (std::string(file) + ".lock").c_str(), F_OK, 0) == 0;
        if (!isName && fstatat(directory, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISSOCK(status.st_mode)) {
            unlinkat(directory, entry->d_name, 0);
        }
    }
    closedir(entries);
}

// A socket that listens at the path; nothing is left at the temporary one.
Descriptor listenAt(const std::string& path) {
    const std::string temporary = path + "." + std::to_string(getpid());
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (temporary.size() >= sizeof address.sun_path) return {};
    std::memcpy(address.sun_path, temporary.c_str(), temporary.size() + 1);

    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return {};
    fchmod(socket.get(), 0600);  // what the file is made with; the folder keeps others out as well
    if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return {};
    }
    if (listen(socket.get(), kBacklog) != 0 || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return {};
    }
    return socket;
}

// The number of the first socket that the process was handed at its start; none when there is no
// such socket, or it has been used.
std::optional<int> handedSocket() {
    static bool asked = false;
    if (std::exchange(asked, true)) return std::nullopt;
    // Makes them close-on-exec, and forgets the variables so that no child takes them for its own.
    return sd_listen_fds(1) > 0 ? std::optional(SD_LISTEN_FDS_START) : std::nullopt;
}

Descriptor adopt(int handed) {
    Descriptor socket(handed);
    if (sd_is_socket_unix(handed, SOCK_STREAM, 1, nullptr, 0) <= 0) return {};
    const int flags = fcntl(handed, F_GETFL);
    if (flags < 0 || fcntl(handed, F_SETFL, flags | O_NONBLOCK) < 0) return {};
    return socket;
}

}  // namespace

std::unique_ptr<Registration> Registration::take(std::string_view name) {
    const std::string folder = runtimeDirectory();
    const std::optional<std::string> path = socketPath(folder, name);
    if (!path) return nullptr;
    const Descriptor directory = openRuntimeDirectory(folder);
    if (!directory) return nullptr;
    const std::optional<std::string> key = keyOf(directory.get(), name);
    if (!key) return nullptr;
    Claim claim(*key);
    if (!claim) return nullptr;

    const std::string file(name);
    std::unique_ptr<Registration> result(new Registration);
    result->lock_ = takeLock(directory.get(), file);
    const std::optional<int> handed = handedSocket();
    Descriptor given = handed ? adopt(*handed) : Descriptor();
    if (!result->lock_) return nullptr;
    if (handed) {
        result->socket_ = std::move(given);
    } else {
        removeLeftovers(directory.get(), file);
        result->socket_ = listenAt(*path);
        result->path_ = *path;
    }
    if (!result->socket_) {
        result->path_.clear();
        return nullptr;
    }
    result->key_ = claim.keep();
    return result;
}

Registration::~Registration() {
    if (!path_.empty()) unlink(path_.c_str());
    lock_.reset();
    if (!key_.empty()) Claim::free(key_);
}

}  // namespace corvy::platform
