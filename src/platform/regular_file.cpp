#include "platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/descriptor.h"

namespace corvy::platform {

std::optional<Bytes> readRegularFile(const std::string& path, std::uint64_t longest) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (static_cast<std::uint64_t>(status.st_size) > longest) return std::nullopt;
    std::vector<std::byte> content(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < content.size()) {
        const ssize_t count = ::read(file.get(), content.data() + length, content.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return Bytes(std::move(content));
}

}  // namespace corvy::platform
