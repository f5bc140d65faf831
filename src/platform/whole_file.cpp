#include "platform/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/descriptor.h"

namespace corvy::platform {

namespace {

// As many bytes as the buffer holds, or the file has; false when reading fails.
bool readInto(std::vector<std::byte>& buffer, int file) {
    std::size_t length = 0;
    while (length < buffer.size()) {
        const ssize_t count = ::read(file, buffer.data() + length, buffer.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    buffer.resize(length);
    return true;
}

}  // namespace

std::optional<Bytes> bytesOfFile(std::u16string_view path, const FileReading& options) {
    const auto name = bytesOfPath(path);
    if (!name) return std::nullopt;
    const Descriptor file(::open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    try {
        std::vector<std::byte> buffer(static_cast<std::size_t>(status.st_size));
        const bool isRead = readInto(buffer, file.get());
        if (options.uncached) ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
        return isRead ? std::optional(Bytes(std::move(buffer))) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    } catch (const std::length_error&) {
        return std::nullopt;
    }
}

}  // namespace corvy::platform
