// For the sources that call libtiff, and for no others: its types show here.
#pragma once

#include <tiffio.h>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace corvy::platform {

// A file in memory, as the library wants to read and write it.
class MemoryFile {
public:
    // To be read; the bytes outlive the file.
    explicit MemoryFile(std::span<const std::byte> contents) : contents_(contents) {}
    // To be written, and read again; `out` outlives the file and is changed by nobody else.
    explicit MemoryFile(std::vector<std::byte>& out) : contents_(out), out_(&out) {}

    std::size_t size() const { return contents_.size(); }
    // How much was read or written; -1 when there is no room.
    tmsize_t read(std::span<std::byte> data);
    tmsize_t write(std::span<const std::byte> data);
    toff_t seek(toff_t offset, int origin);

private:
    std::span<const std::byte> contents_;
    std::vector<std::byte>* out_ = nullptr;
    std::size_t position_ = 0;
};

struct TiffCloser {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

// `mode` as the library names them; `file` outlives the handle. What goes wrong is told by results,
// not on standard error.
TiffHandle openTiff(MemoryFile& file, const char* mode);

}  // namespace corvy::platform
