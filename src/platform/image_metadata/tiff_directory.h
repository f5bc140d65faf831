// Directories of TIFF files, which Exif blocks and most camera raw files are too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/property_list.h"
#include "platform/byte_view.h"

namespace corvy::platform {

struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;   // 1 to 18, as TIFF and its 64-bit form number them
    std::uint64_t count = 0;  // values
    std::uint64_t place = 0;  // of the values, from the start of the block
    ByteView values;          // all of them; they lie within the block

    // Of rationals and floating-point numbers.
    bool isReal() const;
    // The value at the index of another type; none for what is not there or too large.
    std::optional<std::int64_t> integer(std::uint64_t index = 0) const;
    // Of every type; none for what is not there, and for a rational without a finite value.
    std::optional<double> real(std::uint64_t index = 0) const;
    // A place, a length or a code: 0 where there is none.
    std::uint64_t whole(std::uint64_t index = 0) const;
};

struct TiffDirectory {
    std::vector<TiffEntry> entries;
    std::uint64_t next = 0;  // place of the next directory; 0: there is none

    const TiffEntry* find(std::uint16_t tag) const;
    // The first value of an entry; 0 when it is missing.
    std::uint64_t whole(std::uint16_t tag) const;
};

// A block: its byte order and form are told by its first bytes.
class TiffBlock {
public:
    // None when the bytes do not begin with a header; that of some raw files has another number
    // in place of 42.
    static std::optional<TiffBlock> open(ByteView bytes);

    ByteView view() const { return view_; }
    std::uint64_t firstDirectory() const { return first_; }
    // Entries that leave the block are left out. Empty when there is no directory at the place.
    TiffDirectory directoryAt(std::uint64_t place) const;
    // The directory at the place with places counted from `base` (maker notes count from their
    // own start).
    TiffDirectory directoryAt(std::uint64_t place, std::uint64_t base) const;

private:
    ByteView view_;
    std::uint64_t first_ = 0;
    bool isBig_ = false;  // the 64-bit form
};

}  // namespace corvy::platform
