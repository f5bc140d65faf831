#include "platform/jpeg_eighth.h"

#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include <jpeglib.h>

#include "platform/image_metadata.h"

namespace corvy::platform {

namespace {

constexpr int kEighth = 8;
// Scans may have the averages of one colour each, and others in between.
constexpr int kMostScans = 16;

struct JpegError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Decompressor {
public:
    explicit Decompressor(std::span<const std::byte> bytes) {
        jpeg_.err = ::jpeg_std_error(&errors_);
        errors_.error_exit = [](j_common_ptr) { throw JpegError("no JPEG"); };
        errors_.emit_message = [](j_common_ptr, int) {};
        ::jpeg_create_decompress(&jpeg_);
        ::jpeg_mem_src(&jpeg_, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
    ~Decompressor() { ::jpeg_destroy_decompress(&jpeg_); }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    // False for what is not read here.
    bool start() {
        ::jpeg_read_header(&jpeg_, TRUE);
        const bool hasUsualColours = jpeg_.num_components == 1 || jpeg_.num_components == 3;
        if (!hasUsualColours || !isWithinLimits({jpeg_.image_width, jpeg_.image_height})) {
            return false;
        }
        jpeg_.buffered_image = jpeg_.progressive_mode;
        jpeg_.do_block_smoothing = FALSE;
        jpeg_.scale_num = 1;
        jpeg_.scale_denom = kEighth;
        jpeg_.out_color_space = JCS_EXT_RGBA;
        ::jpeg_start_decompress(&jpeg_);
        return true;
    }

    Raster output() {
        if (jpeg_.buffered_image != 0) {
            readAverages();
            ::jpeg_start_output(&jpeg_, jpeg_.input_scan_number);
        }
        Raster raster{jpeg_.output_width, jpeg_.output_height, {}, false};
        const std::size_t rowBytes = std::size_t{4} * raster.width;
        raster.rgba.resize(rowBytes * raster.height);
        while (jpeg_.output_scanline < jpeg_.output_height) {
            JSAMPROW row =
                reinterpret_cast<JSAMPROW>(raster.rgba.data()) + rowBytes * jpeg_.output_scanline;
            ::jpeg_read_scanlines(&jpeg_, &row, 1);
        }
        return raster;
    }

private:
    // Or as many as there are.
    void readAverages() {
        while (jpeg_.input_scan_number <= kMostScans) {
            const int state = ::jpeg_consume_input(&jpeg_);
            if (state == JPEG_SUSPENDED || state == JPEG_REACHED_EOI) return;
            if (state == JPEG_SCAN_COMPLETED && hasAverages()) return;
        }
    }

    // All colours have theirs, but for one bit.
    bool hasAverages() const {
        for (int i = 0; i < jpeg_.num_components; ++i) {
            const int missingBits = jpeg_.coef_bits[i][0];
            if (missingBits < 0 || missingBits > 1) return false;
        }
        return true;
    }

    jpeg_decompress_struct jpeg_{};
    jpeg_error_mgr errors_{};
};

}  // namespace

std::optional<Raster> eighthOfJpeg(std::span<const std::byte> bytes) {
    try {
        Decompressor jpeg(bytes);
        return jpeg.start() ? std::optional(jpeg.output()) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace corvy::platform
