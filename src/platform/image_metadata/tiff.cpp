#include <algorithm>
#include <vector>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMostDirectories = 64;

enum Tag : std::uint16_t {
    kJpegFromRaw = 46,
    kNewSubfileType = 254,
    kWidth = 256,
    kHeight = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kStripByteCounts = 279,
    kSubdirectories = 330,
    kExtraSamples = 338,
    kSampleFormat = 339,
    kJpegTables = 347,
    kXmp = 700,
    kIptcRecords = 33723,
    kImageResources = 34377,
    kProfile = 34675,
    kMakerNote = 37500,
    kExifDirectory = 34665,
};

constexpr std::uint64_t kOldJpeg = 6, kNewJpeg = 7;

bool isReduced(const TiffDirectory& directory) {
    return (directory.whole(kNewSubfileType) & 1) != 0;
}

// The chain of directories from the first one on with those below them, each of them once.
std::vector<TiffDirectory> directoriesOf(const TiffBlock& block) {
    std::vector<std::uint64_t> seen;
    std::vector<std::uint64_t> waiting = {block.firstDirectory()};
    std::vector<TiffDirectory> directories;
    while (!waiting.empty() && directories.size() < kMostDirectories) {
        const std::uint64_t place = waiting.front();
        waiting.erase(waiting.begin());
        if (place == 0 || std::ranges::find(seen, place) != seen.end()) continue;
        seen.push_back(place);
        TiffDirectory directory = block.directoryAt(place);
        if (directory.entries.empty()) continue;
        if (const TiffEntry* below = directory.find(kSubdirectories)) {
            const std::uint64_t count = std::min<std::uint64_t>(below->count, kMostDirectories);
            for (std::uint64_t i = 0; i < count; ++i) waiting.push_back(below->whole(i));
        }
        waiting.push_back(directory.next);
        directories.push_back(std::move(directory));
    }
    return directories;
}

void readColors(const TiffDirectory& directory, MetadataBuilder& builder) {
    enum Photometric : std::uint64_t {
        kWhiteIsZero = 0,
        kBlackIsZero = 1,
        kPalette = 3,
        kMask = 4,
        kSeparated = 5,
        kCieLab = 8,
        kIccLab = 9,
        kItuLab = 10,
    };
    const TiffEntry* photometric = directory.find(kPhotometric);
    if (!photometric) return;
    builder.colorModel = ColorModel::rgb;
    switch (photometric->whole()) {
        case kWhiteIsZero:
        case kBlackIsZero:
        case kMask: builder.colorModel = ColorModel::gray; break;
        case kPalette: builder.isIndexed = true; break;
        case kSeparated: builder.colorModel = ColorModel::cmyk; break;
        case kCieLab:
        case kIccLab:
        case kItuLab: builder.colorModel = ColorModel::lab; break;
        default: break;
    }
}

void readSamples(const TiffDirectory& directory, MetadataBuilder& builder) {
    constexpr std::uint64_t kFloats = 3, kAssociatedAlpha = 1, kUnassociatedAlpha = 2;
    const TiffEntry* bits = directory.find(kBitsPerSample);
    builder.depth =
        bits ? static_cast<std::uint32_t>(std::min<std::uint64_t>(bits->whole(), 128)) : 1;
    builder.isFloat = directory.whole(kSampleFormat) == kFloats;
    const std::uint64_t extra = directory.whole(kExtraSamples);
    builder.hasAlpha = extra == kAssociatedAlpha || extra == kUnassociatedAlpha;
}

void readBlocks(const TiffDirectory& directory, MetadataBuilder& builder) {
    if (const TiffEntry* profile = directory.find(kProfile)) readProfile(profile->values, builder);
    if (const TiffEntry* packet = directory.find(kXmp))
        builder.setXmpPacket(packet->values.chars());
    if (const TiffEntry* records = directory.find(kIptcRecords)) readIptc(records->values, builder);
    if (const TiffEntry* resources = directory.find(kImageResources)) {
        MetadataBuilder inside;  // only what the directory itself has no place for
        readImageResources(resources->values, resources->place, inside);
        if (builder.iptc.empty()) builder.iptc = std::move(inside.iptc);
        for (const EmbeddedImage& image : inside.embedded) builder.addEmbedded(image);
    }
}

// A JPEG in a strip of its own.
void readJpegStrip(const TiffBlock& block, const TiffDirectory& directory,
                   MetadataBuilder& builder) {
    const TiffEntry* places = directory.find(kStripOffsets);
    const std::uint64_t compression = directory.whole(kCompression);
    if (!places || places->count != 1 || directory.find(kJpegTables) ||
        (compression != kOldJpeg && compression != kNewJpeg))
        return;
    const std::uint64_t place = places->whole(), length = directory.whole(kStripByteCounts);
    if (!block.view().has(place, length)) return;
    const auto size = sizeOfJpeg(block.view().part(place, length));
    if (size) builder.addEmbedded({EmbeddedImage::Kind::jpeg, place, length, size});
}

// The preview of those raw files that name it in the maker's own directory only.
void readMakerPreview(const TiffBlock& block, const TiffDirectory& main, MetadataBuilder& builder) {
    constexpr std::string_view kNewNote = "OLYMPUS\0"sv, kOmNote = "OM SYSTEM\0"sv;
    constexpr std::uint16_t kCameraSettings = 0x2020, kPreviewPlace = 0x0101,
                            kPreviewLength = 0x0102;
    const TiffDirectory exif = block.directoryAt(main.whole(kExifDirectory));
    const TiffEntry* note = exif.find(kMakerNote);
    if (!note) return;
    const bool isNew = note->values.hasText(0, kNewNote);
    if (!isNew && !note->values.hasText(0, kOmNote)) return;
    const std::uint64_t base = note->place;
    const TiffDirectory notes = block.directoryAt(base + (isNew ? 12 : 16), base);
    const TiffEntry* settings = notes.find(kCameraSettings);
    if (!settings) return;
    const TiffDirectory camera = block.directoryAt(base + settings->whole(), base);
    const std::uint64_t place = base + camera.whole(kPreviewPlace);
    const std::uint64_t length = camera.whole(kPreviewLength);
    if (!block.view().has(place, length)) return;
    const auto size = sizeOfJpeg(block.view().part(place, length));
    if (size) builder.addEmbedded({EmbeddedImage::Kind::jpeg, place, length, size});
}

// The largest picture that is not marked as a smaller form of another.
PixelSize largestOf(const std::vector<TiffDirectory>& directories) {
    PixelSize largest;
    for (const TiffDirectory& directory : directories) {
        const std::uint64_t width = directory.whole(kWidth), height = directory.whole(kHeight);
        if (isReduced(directory) || width > UINT32_MAX || height > UINT32_MAX) continue;
        if (width * height > std::uint64_t{largest.width} * largest.height)
            largest = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    }
    return largest;
}

// Some raw files give the sensor's borders instead of a size, and a JPEG as a value.
void readBorders(const TiffDirectory& main, MetadataBuilder& builder) {
    enum Border : std::uint16_t { kTop = 4, kLeft = 5, kBottom = 6, kRight = 7 };
    if (!main.find(kRight)) return;
    builder.setSize(main.whole(kRight) - main.whole(kLeft), main.whole(kBottom) - main.whole(kTop));
    if (const TiffEntry* jpeg = main.find(kJpegFromRaw)) {
        const auto size = sizeOfJpeg(jpeg->values);
        if (!size) return;
        builder.addEmbedded({EmbeddedImage::Kind::jpeg, jpeg->place, jpeg->values.size(), size});
        MetadataBuilder inside;
        readJpeg(jpeg->values.inOrder(ByteOrder::big), inside);
        if (builder.exif.empty()) builder.exif = std::move(inside.exif);
        if (builder.gps.empty()) builder.gps = std::move(inside.gps);
    }
}

}  // namespace

void readTiff(ByteView file, MetadataBuilder& builder) {
    const auto block = TiffBlock::open(file);
    if (!block) return;
    const TiffDirectory main = block->directoryAt(block->firstDirectory());
    builder.setSize(main.whole(kWidth), main.whole(kHeight));
    readColors(main, builder);
    readSamples(main, builder);
    readTiffGroup(main, builder);
    readSubgroups(*block, main, builder);
    readBlocks(main, builder);
    for (const TiffDirectory& directory : directoriesOf(*block)) {
        if (isReduced(directory)) readJpegStrip(*block, directory, builder);
        readEmbeddedJpeg(*block, directory, 0, builder);
    }
}

void readTiffRaw(ByteView file, MetadataBuilder& builder) {
    constexpr std::uint32_t kUsualDepth = 8;  // of what previews are decoded to
    const auto block = TiffBlock::open(file);
    if (!block) return;
    const TiffDirectory main = block->directoryAt(block->firstDirectory());
    const std::vector<TiffDirectory> directories = directoriesOf(*block);
    const PixelSize largest = largestOf(directories);
    builder.setSize(largest.width, largest.height);
    builder.colorModel = ColorModel::rgb;
    builder.depth = kUsualDepth;
    readTiffGroup(main, builder);
    readSubgroups(*block, main, builder);
    readBlocks(main, builder);
    readBorders(main, builder);
    readMakerPreview(*block, main, builder);
    for (const TiffDirectory& directory : directories) {
        readJpegStrip(*block, directory, builder);
        readEmbeddedJpeg(*block, directory, 0, builder);
    }
}

void readRaf(ByteView file, MetadataBuilder& builder) {
    constexpr std::uint64_t kJpegPlace = 84, kJpegLength = 88;
    const std::uint64_t place = file.u32(kJpegPlace), length = file.u32(kJpegLength);
    if (!file.has(place, length)) return;
    const ByteView jpeg = file.part(place, length);
    const auto size = sizeOfJpeg(jpeg);
    if (!size) return;
    readJpeg(jpeg, builder);
    for (EmbeddedImage& image : builder.embedded) image.offset += place;
    builder.addEmbedded({EmbeddedImage::Kind::jpeg, place, length, size});
}

}  // namespace corvy::platform
