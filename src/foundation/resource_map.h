// A classic resource fork in memory: typed, numbered resources, read from and written in the
// standard format of a header, the data and a map.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/bytes.h"

namespace corvy {

// A four-character code, its first character in the most significant byte.
using ResourceType = std::uint32_t;

struct Resource {
    // Attribute bits.
    static constexpr std::uint8_t kProtected = 0x08;  // may be neither removed nor replaced

    ResourceType type = 0;
    std::int16_t id = 0;
    std::uint8_t attributes = 0;
    std::optional<std::string> name;  // up to 255 bytes in the Mac Roman encoding
    Bytes data;
};

class ResourceMap {
public:
    // Shares the storage of the bytes. None when they are no resource fork, or any offset leads out
    // of it.
    static std::optional<ResourceMap> read(const Bytes& fork);
    // None when the resources are too many or too large for the format: 16 MB of data, 64 KB of
    // map.
    std::optional<std::string> write() const;

    const Resource* find(ResourceType type, std::int16_t id) const;

    // Those of one type are together when they are written.
    std::vector<Resource> resources;
    std::uint16_t attributes = 0;
    // What stands between header and data, for the system and the application: 240 bytes or none.
    std::string reserved;
};

}  // namespace corvy
