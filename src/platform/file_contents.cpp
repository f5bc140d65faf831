#include "platform/file_contents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/descriptor.h"

namespace corvy::platform {

namespace {

struct RegularFile {
    Descriptor descriptor;
    std::uint64_t size = 0;
};

std::optional<RegularFile> openRegularFile(std::u16string_view path) {
    const auto name = bytesOfPath(path);
    if (!name) return std::nullopt;
    Descriptor file(::open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return RegularFile{std::move(file), static_cast<std::uint64_t>(status.st_size)};
}

std::optional<Bytes> readBeginning(const RegularFile& file, std::uint64_t most) {
    std::vector<std::byte> content(static_cast<std::size_t>(std::min(file.size, most)));
    std::size_t length = 0;
    while (length < content.size()) {
        const ssize_t count =
            ::read(file.descriptor.get(), content.data() + length, content.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return Bytes(std::move(content));
}

}  // namespace

std::optional<Bytes> contentsOfFile(std::u16string_view path, std::uint64_t longest) {
    const auto file = openRegularFile(path);
    if (!file || file->size > longest) return std::nullopt;
    return readBeginning(*file, longest);
}

std::optional<Bytes> beginningOfFile(std::u16string_view path, std::uint64_t most) {
    const auto file = openRegularFile(path);
    return file ? readBeginning(*file, most) : std::nullopt;
}

}  // namespace corvy::platform
