// A picture file in memory: what it says about itself, its pictures, and a thumbnail that costs no
// more than it has to.
//
// Drawn formats (SVG, PDF, PostScript) have no pixels and are no image source. Decoding belongs
// into a worker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "platform/icon_reader.h"
#include "platform/image_formats.h"
#include "platform/image_metadata.h"
#include "platform/picture_decoding.h"
#include "platform/raster.h"

namespace corvy::platform {

struct ThumbnailOptions {
    std::int64_t maxPixelSize = 0;  // of the longer side; 0 or less: as large as the picture
    bool fromImageIfAbsent = true;  // scale the picture when the file carries no thumbnail
    bool fromImageAlways = false;   // and even when it does
    bool withTransform = false;     // turn it as the file's orientation says
};

class ImageSource {
public:
    // None when the bytes are in no format with pixels, or hold no picture, or one beyond the
    // limits. `extension` is that of the file's name, and may be empty.
    static std::optional<ImageSource> create(Bytes bytes, std::u16string_view extension);

    ImageFormat format() const { return format_; }
    const Bytes& bytes() const { return bytes_; }
    const ImageMetadata& metadata() const { return metadata_; }

    struct Picture {
        PixelSize size;  // as it is to be seen; 0 x 0 when only decoding tells
        std::uint32_t scale = 1;
        bool hasAlpha = false;
    };
    // The pages of a TIFF file and the entries of an icon file; one picture in all others.
    const std::vector<Picture>& pictures() const { return pictures_; }

    // In sRGB, as it is to be seen. None when it cannot be decoded. index < pictures().size()
    std::optional<Raster> picture(std::size_t index, const DecodeTarget& target = {}) const;

    // A thumbnail that the file carries is taken when it shows the whole picture and has at least
    // half of the pixels that are wanted in a row; of several, the smallest that has them all.
    // Never larger than the picture or what is carried.
    std::optional<Raster> thumbnail(const ThumbnailOptions& options) const;

private:
    ImageSource() = default;
    std::size_t thumbnailPicture(std::uint32_t longest) const;
    std::optional<Raster> stored(std::size_t index, const DecodeTarget& target) const;
    std::optional<Raster> largestPreview(const DecodeTarget& target) const;
    std::optional<Raster> embedded(const EmbeddedImage& image, std::uint32_t longest) const;
    std::optional<Raster> carriedThumbnail(std::uint32_t longest) const;

    Bytes bytes_;
    ImageFormat format_ = ImageFormat::unknown;
    ImageMetadata metadata_;
    std::vector<IconEntry> icons_;  // views into the bytes
    std::vector<Picture> pictures_;
};

}  // namespace corvy::platform
