// AppleDouble sidecars: the file "._NAME" beside a file, with what does not fit into its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"

namespace corvy {

class AppleDouble {
public:
    static constexpr std::uint32_t kResourceFork = 2;
    static constexpr std::uint32_t kFinderInfo = 9;

    // None when the bytes are no sidecar of version 1 or 2, or an entry lies outside of them.
    static std::optional<AppleDouble> read(const Bytes& file);
    // A sidecar with a Finder info (its first 32 bytes; zeros where there are fewer) and an empty
    // resource fork.
    static AppleDouble make(std::string_view finderInfo);

    // The bytes of an entry; none when it is not there. Shares the file's storage.
    std::optional<Bytes> entry(std::uint32_t id) const;

    // The sidecar with another resource fork. The other entries keep their bytes and, as offsets
    // within them count from the start of the file, their places. None when that cannot be.
    std::optional<std::string> withResourceFork(std::string_view fork) const;

private:
    struct Entry {
        std::uint32_t id;
        std::uint32_t offset;  // in the file
        std::uint32_t length;
    };

    Bytes file_;
    std::vector<Entry> entries_;
};

}  // namespace corvy
