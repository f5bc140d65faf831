#include "foundation/file_contents.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/text.h"

namespace corvy {

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

std::optional<Bytes> mapped(int file, std::size_t length) {
    if (length == 0) return Bytes();
    void* const address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, file, 0);
    if (address == MAP_FAILED) return std::nullopt;
    std::shared_ptr<const void> owner(
        address, [length](const void* start) { ::munmap(const_cast<void*>(start), length); });
    return Bytes::sharing({static_cast<const std::byte*>(address), length}, std::move(owner));
}

}  // namespace

std::optional<Bytes> contentsOfFile(std::u16string_view path, const FileReading& options) {
    const auto name = bytesOfPath(path);
    if (!name) return std::nullopt;
    const Descriptor file(::open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > options.most && !options.beginningSuffices) return std::nullopt;
    const auto length = static_cast<std::size_t>(std::min(size, options.most));
    if (options.mapped) return mapped(file.get(), length);
    try {
        std::vector<std::byte> buffer(length);
        const bool isRead = readInto(buffer, file.get());
        if (options.uncached) ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
        return isRead ? std::optional(Bytes(std::move(buffer))) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    } catch (const std::length_error&) {
        return std::nullopt;
    }
}

void letGo(const Bytes& mapped) {
    if (mapped.empty()) return;
    ::madvise(const_cast<std::byte*>(mapped.data()), mapped.size(), MADV_DONTNEED);
}

}  // namespace corvy
