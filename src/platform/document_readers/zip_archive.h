// Files in a ZIP archive, taken out by name.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/bytes.h"

namespace corvy::platform {

// Bytes of one file, and of all that are taken out of one archive together.
inline constexpr std::size_t kMaxZipFile = std::size_t{256} << 20;
inline constexpr std::size_t kMaxZipFiles = std::size_t{512} << 20;

class ZipArchive {
public:
    // None for bytes that are no archive.
    static std::optional<ZipArchive> open(const Bytes& bytes);

    bool has(const std::string& name) const;
    // None when it is not there, encrypted, damaged or larger than `most` bytes. Names are only
    // compared, in any case when none is equal; nothing is ever written.
    std::optional<Bytes> read(const std::string& name, std::size_t most = kMaxZipFile);

private:
    struct Closer {
        void operator()(void* archive) const noexcept;
    };
    explicit ZipArchive(Bytes bytes, void* archive) : bytes_(std::move(bytes)), archive_(archive) {}

    Bytes bytes_;
    std::unique_ptr<void, Closer> archive_;
    std::size_t taken_ = 0;
};

}  // namespace corvy::platform
