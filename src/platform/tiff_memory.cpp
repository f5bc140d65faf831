#include "platform/tiff_memory.h"

#include <algorithm>
#include <cstdio>
#include <new>

namespace corvy::platform {

namespace {

// Twice the pixels of the largest picture that is opened.
constexpr tmsize_t kMostBytesAtOnce = tmsize_t{1} << 30;

MemoryFile& fileOf(thandle_t handle) {
    return *static_cast<MemoryFile*>(handle);
}

}  // namespace

tmsize_t MemoryFile::read(std::span<std::byte> data) {
    const std::size_t start = std::min(position_, contents_.size());
    const std::size_t count = std::min(data.size(), contents_.size() - start);
    std::ranges::copy(contents_.subspan(start, count), data.begin());
    position_ = start + count;
    return static_cast<tmsize_t>(count);
}

tmsize_t MemoryFile::write(std::span<const std::byte> data) {
    if (out_ == nullptr) return -1;
    try {
        const std::size_t end = position_ + data.size();
        if (end > out_->capacity()) out_->reserve(std::max(end, out_->capacity() * 2));
        if (end > out_->size()) out_->resize(end);
    } catch (const std::bad_alloc&) {
        return -1;
    }
    std::ranges::copy(data, out_->begin() + static_cast<std::ptrdiff_t>(position_));
    contents_ = *out_;
    position_ += data.size();
    return static_cast<tmsize_t>(data.size());
}

toff_t MemoryFile::seek(toff_t offset, int origin) {
    const std::size_t base =
        origin == SEEK_CUR ? position_ : (origin == SEEK_END ? contents_.size() : 0);
    position_ = base + offset;
    return position_;
}

TiffHandle openTiff(MemoryFile& file, const char* mode) {
    struct OptionsFreer {
        void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
    };
    const TIFFErrorHandlerExtR silent = [](TIFF*, void*, const char*, const char*, va_list) {
        return 1;
    };
    const std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(TIFFOpenOptionsAlloc());
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostBytesAtOnce);
    return TiffHandle(TIFFClientOpenExt(
        "memory", mode, &file,
        [](thandle_t handle, void* data, tmsize_t size) {
            return fileOf(handle).read(
                {static_cast<std::byte*>(data), static_cast<std::size_t>(size)});
        },
        [](thandle_t handle, void* data, tmsize_t size) {
            return fileOf(handle).write(
                {static_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
        },
        [](thandle_t handle, toff_t offset, int origin) {
            return fileOf(handle).seek(offset, origin);
        },
        [](thandle_t) { return 0; },
        [](thandle_t handle) { return static_cast<toff_t>(fileOf(handle).size()); }, nullptr,
        nullptr, options.get()));
}

}  // namespace corvy::platform
