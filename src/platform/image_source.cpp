#include "platform/image_source.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "platform/codec_image.h"
#include "platform/image_signature.h"
#include "platform/mac_paint.h"
#include "platform/raster_operations.h"
#include "platform/tiff_decoder.h"
#include "platform/vips_image.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kMostPages = 64;
// Darker than this, in each colour, is a bar beside a picture.
constexpr std::uint8_t kDarkest = 40;

bool hasPixels(ImageFormat format) {
    if (format == ImageFormat::unknown) return false;
    switch (entryOf(format).decoder) {
        case ImageDecoder::vector:
        case ImageDecoder::pdf:
        case ImageDecoder::postScript: return false;
        default: return true;
    }
}

// Their decoder does itself what the orientation says.
bool turnsItself(ImageFormat format) {
    return format == ImageFormat::heif || format == ImageFormat::avif;
}

constexpr std::uint32_t longerSide(PixelSize size) {
    return std::max(size.width, size.height);
}

// A side that has the proportions of the picture may be off by the rounding of small numbers.
bool isAbout(double expected, std::uint32_t side) {
    return std::abs(expected - side) <= std::max(2.0, 0.02 * side);
}

bool isDark(const Raster& raster, const PixelRect& part) {
    for (std::size_t y = part.y; y < std::size_t{part.y} + part.size.height; ++y) {
        const std::byte* pixel = raster.rgba.data() + (y * raster.width + part.x) * 4;
        for (std::size_t i = 0; i < std::size_t{4} * part.size.width; ++i) {
            if (i % 4 != 3 && static_cast<std::uint8_t>(pixel[i]) > kDarkest) return false;
        }
    }
    return true;
}

// Cameras fill thumbnails of fixed proportions up with black bars. The picture between them; none
// when what is there has other proportions than the picture, and so does not show all of it.
std::optional<Raster> withoutBars(Raster raster, PixelSize picture) {
    const double height = static_cast<double>(raster.width) * picture.height / picture.width;
    if (isAbout(height, raster.height)) return raster;
    PixelRect inner{.size = sizeOf(raster)};
    PixelRect first = inner;
    PixelRect last = inner;
    if (height < raster.height) {
        inner.size.height = std::max(1U, static_cast<std::uint32_t>(std::lround(height)));
        inner.y = (raster.height - inner.size.height) / 2;
        first.size.height = inner.y > 0 ? inner.y - 1 : 0;  // colours run over by a pixel
        last.y = inner.y + inner.size.height + 1;
        last.size.height = last.y < raster.height ? raster.height - last.y : 0;
    } else {
        const double width = static_cast<double>(raster.height) * picture.width / picture.height;
        inner.size.width = std::max(1U, static_cast<std::uint32_t>(std::lround(width)));
        inner.x = (raster.width - inner.size.width) / 2;
        first.size.width = inner.x > 0 ? inner.x - 1 : 0;
        last.x = inner.x + inner.size.width + 1;
        last.size.width = last.x < raster.width ? raster.width - last.x : 0;
    }
    if (!isDark(raster, first) || !isDark(raster, last)) return std::nullopt;
    return cropped(raster, inner);
}

// What undoes an orientation.
constexpr int opposite(int orientation) {
    if (orientation == 6) return 8;
    return orientation == 8 ? 6 : orientation;
}

// How often a picture may be halved before the better filter takes over.
int halvings(const std::optional<PixelSize>& size, const DecodeTarget& target) {
    if (!size || size->width == 0 || size->height == 0) return 0;
    const PixelSize wanted = sizeFor(target, *size);
    int count = 0;
    while ((size->width >> (count + 2)) >= wanted.width &&
           (size->height >> (count + 2)) >= wanted.height) {
        ++count;
    }
    return count;
}

std::optional<Raster> fitted(std::optional<Raster> raster, PixelSize size) {
    return raster ? resampled(*raster, size) : std::nullopt;
}

}  // namespace

std::optional<ImageSource> ImageSource::create(Bytes bytes, std::u16string_view extension) {
    ImageSource source;
    source.format_ = imageFormatOf(bytes, extension);
    if (!hasPixels(source.format_)) return std::nullopt;
    source.bytes_ = std::move(bytes);
    source.metadata_ = imageMetadataOf(source.bytes_, source.format_);
    const ImageMetadata& metadata = source.metadata_;
    if (metadata.size && !isWithinLimits(*metadata.size)) return std::nullopt;

    const PixelSize size = metadata.size.value_or(PixelSize{});
    source.pictures_.push_back(
        {.size = turned(size, metadata.orientation), .hasAlpha = metadata.hasAlpha});
    if (source.format_ == ImageFormat::tiff) {
        const auto pages = pageSizesOfTiff(source.bytes_, kMostPages);
        for (std::size_t i = 1; i < pages.size(); ++i) {
            if (!isWithinLimits(pages[i])) break;
            source.pictures_.push_back(
                {.size = turned(pages[i], metadata.orientation), .hasAlpha = metadata.hasAlpha});
        }
    } else if (entryOf(source.format_).decoder == ImageDecoder::icon) {
        auto icons = readIcon(source.bytes_, source.format_);
        if (!icons) return std::nullopt;
        source.icons_ = *std::move(icons);
        source.pictures_.clear();
        for (const IconEntry& icon : source.icons_) {
            source.pictures_.push_back(
                {.size = {icon.width, icon.height}, .scale = icon.scale, .hasAlpha = true});
        }
        if (source.pictures_.empty()) return std::nullopt;
    }
    return source;
}

std::optional<ImageSource> ImageSource::ofFile(std::u16string_view path) {
    auto bytes = contentsOfFile(path, {.mapped = true});
    auto source = bytes ? create(*std::move(bytes), pathExtension(path)) : std::nullopt;
    if (source) {
        source->file_ = bytesOfPath(path).value();
        // What was looked at for the metadata need not stay in memory while pixels are decoded.
        letGo(source->bytes_);
    }
    return source;
}

std::optional<Raster> ImageSource::picture(std::size_t index, const DecodeTarget& target) const {
    if (turnsItself(format_)) return stored(index, target);
    DecodeTarget lying = target;
    if (lying.box) lying.box = turned(*lying.box, metadata_.orientation);
    auto raster = stored(index, lying);
    return raster ? std::optional(turned(*std::move(raster), metadata_.orientation)) : std::nullopt;
}

std::optional<Raster> ImageSource::stored(std::size_t index, const DecodeTarget& target) const {
    std::optional<Raster> whole;
    switch (entryOf(format_).decoder) {
        case ImageDecoder::vips: {
            const auto page = static_cast<std::uint32_t>(index);
            const bool isTiff = format_ == ImageFormat::tiff;
            if (!isTiff || !isLumaChromaTiff(bytes_, page)) {
                auto raster = decodeByVips(bytes_, format_,
                                           {.target = target,
                                            .file = file_.empty() ? nullptr : file_.c_str(),
                                            .page = page});
                if (raster || !isTiff) return raster;
            }
            whole = decodeTiff(bytes_, page);
            break;
        }
        case ImageDecoder::embedded: return largestPreview(target);
        case ImageDecoder::macPaint: whole = decodeMacPaint(bytes_); break;
        case ImageDecoder::codec:
            whole = decodeByCodec(bytes_, format_, halvings(metadata_.size, target));
            // The size that the target asks for is that of the whole picture.
            if (whole && metadata_.size)
                return fitted(std::move(whole), sizeFor(target, *metadata_.size));
            break;
        case ImageDecoder::icon: {
            const IconEntry& icon = icons_[index];
            switch (icon.kind) {
                case IconEntry::Kind::pixels: whole = icon.raster; break;
                case IconEntry::Kind::png:
                    return decodeByVips(icon.encoded, ImageFormat::png, {.target = target});
                case IconEntry::Kind::jpeg2000:
                    whole = decodeByCodec(icon.encoded, ImageFormat::jpeg2000);
                    break;
            }
            break;
        }
        default: return std::nullopt;
    }
    if (!whole) return std::nullopt;
    const PixelSize size = sizeFor(target, sizeOf(*whole));
    return fitted(std::move(whole), size);
}

std::optional<Raster> ImageSource::largestPreview(const DecodeTarget& target) const {
    // Those of known size come first, in growing order.
    std::vector<const EmbeddedImage*> previews;
    for (const EmbeddedImage& image : metadata_.embedded) previews.push_back(&image);
    std::ranges::stable_sort(previews, std::greater(), [](const EmbeddedImage* image) {
        return image->size ? std::uint64_t{image->size->width} * image->size->height : 0;
    });
    for (const EmbeddedImage* image : previews) {
        if (image->kind != EmbeddedImage::Kind::jpeg) continue;
        const auto bytes = bytes_.span().subspan(image->offset, image->length);
        if (auto raster = decodeByVips(bytes, ImageFormat::jpeg, {.target = target})) return raster;
    }
    return std::nullopt;
}

std::optional<Raster> ImageSource::embedded(const EmbeddedImage& image,
                                            std::uint32_t longest) const {
    const VipsDecoding options{.target = {.box = PixelSize{longest, longest}},
                               .heifThumbnail = image.kind == EmbeddedImage::Kind::heifItem};
    auto raster = options.heifThumbnail
                      ? decodeByVips(bytes_, format_, options)
                      : decodeByVips(bytes_.span().subspan(image.offset, image.length),
                                     ImageFormat::jpeg, options);
    if (!raster || !metadata_.size) return raster;
    const PixelSize whole =
        options.heifThumbnail ? turned(*metadata_.size, metadata_.orientation) : *metadata_.size;
    return withoutBars(*std::move(raster), whole);
}

std::optional<Raster> ImageSource::carriedThumbnail(std::uint32_t longest,
                                                    std::uint32_t least) const {
    const std::uint32_t wanted = wantedSide(longest);
    // The smallest that is large enough, then the largest of the others, then those that do not
    // tell.
    std::vector<const EmbeddedImage*> candidates;
    for (const EmbeddedImage& image : metadata_.embedded) {
        if (!image.size || longerSide(*image.size) >= least) candidates.push_back(&image);
    }
    std::ranges::stable_sort(candidates, {}, [wanted](const EmbeddedImage* image) {
        if (!image->size) return std::pair(2, std::int64_t{0});
        const std::int64_t side = longerSide(*image->size);
        return side >= wanted ? std::pair(0, side) : std::pair(1, -side);
    });
    for (const EmbeddedImage* image : candidates) {
        auto raster = embedded(*image, longest);
        if (raster && longerSide(sizeOf(*raster)) >= least) return raster;
    }
    return std::nullopt;
}

// No more than there is.
std::uint32_t ImageSource::wantedSide(std::uint32_t longest) const {
    return metadata_.size ? std::min(longest, longerSide(*metadata_.size)) : longest;
}

// The first picture; of an icon, the smallest that is large enough, or the largest.
std::size_t ImageSource::thumbnailPicture(std::uint32_t longest) const {
    std::size_t best = 0;
    for (std::size_t i = 1; i < icons_.size(); ++i) {
        const std::uint32_t side = longerSide(pictures_[i].size);
        const std::uint32_t bestSide = longerSide(pictures_[best].size);
        if (bestSide < longest ? side > bestSide : side >= longest && side < bestSide) best = i;
    }
    return best;
}

std::optional<Raster> ImageSource::thumbnail(const ThumbnailOptions& options) const {
    const std::uint32_t longest =
        options.maxPixelSize > 0
            ? static_cast<std::uint32_t>(std::min<std::int64_t>(options.maxPixelSize, kLongestSide))
            : kLongestSide;
    std::optional<Raster> raster;
    const std::uint32_t half = (wantedSide(longest) + 1) / 2;
    if (!options.fromImageAlways) raster = carriedThumbnail(longest, half);
    if (!raster && (options.fromImageAlways || options.fromImageIfAbsent)) {
        raster = stored(thumbnailPicture(longest), {.box = PixelSize{longest, longest}});
    }
    if (!raster && !options.fromImageAlways) raster = carriedThumbnail(longest, 1);
    if (!raster || options.withTransform == turnsItself(format_)) return raster;
    return turned(*std::move(raster),
                  options.withTransform ? metadata_.orientation : opposite(metadata_.orientation));
}

}  // namespace corvy::platform
