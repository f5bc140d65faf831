#include "tools/files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>
#include <vector>

#include "foundation/descriptor.h"
#include "platform/sealed_memory.h"

namespace corvy::tools {

namespace {

FileContents readToEnd(int fd, std::uint64_t sizeHint, std::uint64_t longest) {
    std::vector<std::byte> buffer(std::min(sizeHint, longest) + 1);
    std::size_t used = 0;
    while (true) {
        if (used == buffer.size()) buffer.resize(std::max<std::size_t>(used * 2, 65536));
        const ssize_t count = ::read(fd, buffer.data() + used, buffer.size() - used);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return {{}, errno};
        if (count == 0) break;
        used += static_cast<std::size_t>(count);
        if (used > longest) return {{}, EFBIG};
    }
    buffer.resize(used);
    return {Bytes(std::move(buffer)), 0};
}

// Copies the file inside the kernel; what a file loses or gains meanwhile does not matter.
FileContents readSealed(int fd, std::uint64_t longest) {
    Descriptor memory(::memfd_create("corvystack-file", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (memory.get() < 0) return {{}, errno};
    std::uint64_t length = 0;
    while (true) {
        const ssize_t count = ::sendfile(memory.get(), fd, nullptr, std::size_t{1} << 30);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return {{}, errno};
        if (count == 0) break;
        length += static_cast<std::uint64_t>(count);
        if (length > longest) return {{}, EFBIG};
    }
    if (length == 0) return {};
    if (::fcntl(memory.get(), F_ADD_SEALS,
                F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0) {
        return {{}, errno};
    }
    auto bytes = platform::bytesOfSealedMemory(std::move(memory), length);
    return bytes ? FileContents{*std::move(bytes)} : FileContents{{}, ENOMEM};
}

}  // namespace

FileContents readFile(const std::string& path, const ReadOptions& options) {
    if (path == "-" && !options.regularOnly) return readToEnd(STDIN_FILENO, 65536, options.longest);
    const Descriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | (options.regularOnly ? O_NONBLOCK : 0)));
    if (file.get() < 0) return {{}, errno};
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return {{}, errno};
    const bool regular = S_ISREG(status.st_mode);
    if (options.regularOnly && !regular) return {{}, ENOTSUP};
    const auto size = static_cast<std::uint64_t>(regular ? status.st_size : 0);
    if (size > options.longest) return {{}, EFBIG};
    if (size >= platform::kDescriptorKeptFrom) return readSealed(file.get(), options.longest);
    return readToEnd(file.get(), size, options.longest);
}

int errorOfOpening(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return errno;
    if (S_ISREG(status.st_mode)) return 0;
    return S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
}

int writeFile(const std::string& path, std::string_view contents) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (file.get() < 0) return errno;
    while (!contents.empty()) {
        const ssize_t count = ::write(file.get(), contents.data(), contents.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        contents.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::close(file.release()) == 0 ? 0 : errno;
}

int makeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) return error.value();
    return std::filesystem::is_directory(path, error) ? 0 : ENOTDIR;
}

}  // namespace corvy::tools
