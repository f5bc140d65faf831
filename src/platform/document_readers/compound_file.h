// Compound files: streams inside one file, as older office programs write them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"

namespace corvy::platform {

bool isCompoundFile(std::span<const std::byte> bytes);

class CompoundFile {
public:
    // None for bytes without a readable directory.
    static std::optional<CompoundFile> open(const Bytes& bytes);

    bool has(std::u16string_view name) const { return streams_.contains(name); }
    // A stream of the outermost storage, up to where its chain of sectors breaks; empty when there
    // is none.
    Bytes stream(std::u16string_view name) const;

private:
    struct Stream {
        std::uint32_t start = 0;  // sector
        std::uint64_t size = 0;
    };

    explicit CompoundFile(Bytes bytes) : bytes_(std::move(bytes)) {}
    bool readTable();
    bool readDirectory();
    std::span<const std::byte> sector(std::uint32_t number) const;
    // At most `size` bytes.
    std::vector<std::byte> chain(std::uint32_t start, std::uint64_t size) const;
    std::vector<std::byte> smallChain(std::uint32_t start, std::uint64_t size) const;

    Bytes bytes_;
    std::size_t sectorSize_ = 512;
    std::vector<std::uint32_t> table_;       // the sector after each
    std::vector<std::uint32_t> smallTable_;  // likewise, of small sectors
    std::vector<std::byte> smallSectors_;
    std::map<std::u16string, Stream, std::less<>> streams_;
};

}  // namespace corvy::platform
