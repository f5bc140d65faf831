#include "platform/sealed_memory.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cerrno>
#include <memory>

namespace corvy::platform {

namespace {

constexpr int kOurSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
constexpr int kNeededSeals = F_SEAL_SHRINK | F_SEAL_WRITE;

// Keeps a mapping, and the descriptor where it is kept.
struct Mapping {
    void* address = nullptr;
    std::size_t length = 0;
    Descriptor file;

    Mapping(void* mapped, std::size_t size) : address(mapped), length(size) {}
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping() { ::munmap(address, length); }
};

}  // namespace

Descriptor sealedMemoryOf(std::span<const std::byte> bytes) {
    Descriptor file(::memfd_create("corvystack", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file) return {};
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return {};
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    if (::fcntl(file.get(), F_ADD_SEALS, kOurSeals) != 0) return {};
    return file;
}

std::optional<Bytes> bytesOfSealedMemory(Descriptor file, std::uint64_t length) {
    const int seals = ::fcntl(file.get(), F_GET_SEALS);
    if (seals < 0 || (seals & kNeededSeals) != kNeededSeals) return std::nullopt;
    // Huge-page files can be sealed too, but their mappings fault when the pool of pages is empty.
    struct statfs system {};
    if (::fstatfs(file.get(), &system) != 0 || system.f_type != TMPFS_MAGIC) return std::nullopt;
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || length > static_cast<std::uint64_t>(status.st_size)) {
        return std::nullopt;
    }
    if (length == 0) return Bytes();

    void* address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file.get(), 0);
    if (address == MAP_FAILED) return std::nullopt;
    const auto mapping = std::make_shared<Mapping>(address, length);
    if (length >= kDescriptorKeptFrom) mapping->file = std::move(file);
    return Bytes::sharing({static_cast<const std::byte*>(address), length}, mapping,
                          mapping->file.get());
}

}  // namespace corvy::platform
