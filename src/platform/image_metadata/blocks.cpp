#include "platform/image_metadata/blocks.h"

#include <zlib.h>

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "foundation/converters.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

struct DatasetKey {
    std::uint8_t number;
    std::u16string_view key;
    bool isRepeated = false;
};

#include "platform/image_metadata/iptc_keys.inc"

static_assert(std::ranges::is_sorted(kDatasets, {}, &DatasetKey::number));

// Of all values together: keywords repeat.
constexpr std::size_t kMostDatasets = 4096;

void setDataset(std::uint8_t number, std::string_view value, Dictionary& group) {
    const auto known = std::ranges::lower_bound(kDatasets, number, {}, &DatasetKey::number);
    if (known == std::end(kDatasets) || known->number != number) return;
    std::u16string text = fileText(value);
    if (text.empty()) return;
    if (!known->isRepeated) {
        if (!group.contains(known->key)) group.set(known->key, std::move(text));
    } else if (PropertyList* list = group.find(known->key)) {
        list->array()->push_back(std::move(text));
    } else {
        group.set(known->key, Array{std::move(text)});
    }
}

std::u16string utf16Text(ByteView bytes) {
    const auto text = tryToCreateStringWithEncoding(bytes.span(), Encoding::kUTF16);
    return text ? text->text.substr(0, text->text.find(u'\0')) : std::u16string();
}

// A name in several languages, each a record of language, country, length and place.
std::u16string localizedName(ByteView tag) {
    constexpr std::uint32_t kCount = 8, kRecords = 16, kRecord = 12, kMostRecords = 64;
    const std::uint32_t count = std::min(tag.u32(kCount), kMostRecords);
    std::uint64_t chosen = kRecords;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t record = kRecords + std::uint64_t{i} * kRecord;
        if (!tag.hasText(record, "en")) continue;
        chosen = record;
        if (tag.hasText(record, "enUS")) break;
    }
    return count == 0 ? std::u16string()
                      : utf16Text(tag.part(tag.u32(chosen + 8), tag.u32(chosen + 4)));
}

enum ImageResource : std::uint16_t {
    kResolution = 0x03ED,
    kIptcRecords = 0x0404,
    kThumbnail = 0x040C,
    kProfile = 0x040F,
    kExif = 0x0422,
    kXmp = 0x0424,
};

// A header of 28 bytes, then a JPEG.
void readResourceThumbnail(ByteView data, std::uint64_t offset, MetadataBuilder& builder) {
    constexpr std::uint32_t kHeader = 28, kJpegFormat = 1;
    if (data.u32(0) != kJpegFormat || data.size() <= kHeader) return;
    const ByteView jpeg = data.part(kHeader, data.u32(20) != 0 ? data.u32(20) : data.size());
    const auto size = sizeOfJpeg(jpeg);
    if (size) builder.addEmbedded({EmbeddedImage::Kind::jpeg, offset + kHeader, jpeg.size(), size});
}

void readResource(std::uint16_t id, ByteView data, std::uint64_t offset, MetadataBuilder& builder) {
    constexpr double kFraction = 65536;
    switch (id) {
        case kResolution: builder.setDpi(data.u32(0) / kFraction, data.u32(8) / kFraction); break;
        case kIptcRecords: readIptc(data, builder); break;
        case kThumbnail: readResourceThumbnail(data, offset, builder); break;
        case kProfile: readProfile(data, builder); break;
        case kExif: readExif(data, offset, builder); break;
        case kXmp: builder.setXmpPacket(data.chars()); break;
        default: break;
    }
}

}  // namespace

void readProfile(ByteView profile, MetadataBuilder& builder) {
    profile = profile.inOrder(ByteOrder::big);
    constexpr std::uint32_t kTagCount = 128, kTags = 132, kTag = 12, kMostTags = 128;
    if (!profile.hasText(36, "acsp")) return;
    const std::uint32_t count = std::min(profile.u32(kTagCount), kMostTags);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t entry = kTags + std::uint64_t{i} * kTag;
        if (!profile.hasText(entry, "desc")) continue;
        const ByteView tag =
            profile.part(profile.u32(entry + 4),
                         std::min<std::uint64_t>(profile.u32(entry + 8), kMostValueBytes));
        std::u16string name;
        if (tag.hasText(0, "mluc")) name = localizedName(tag);
        if (tag.hasText(0, "desc")) name = fileText(tag.chars(12, tag.u32(8)));
        if (!name.empty()) builder.profileName = std::move(name);
        return;
    }
}

void readIptc(ByteView records, MetadataBuilder& builder) {
    records = records.inOrder(ByteOrder::big);
    constexpr std::uint8_t kMarker = 0x1C, kApplicationRecord = 2;
    constexpr std::uint16_t kIsLong = 0x8000;
    std::uint64_t at = 0;
    for (std::size_t i = 0; i < kMostDatasets && records.u8(at) == kMarker; ++i) {
        const std::uint8_t record = records.u8(at + 1), number = records.u8(at + 2);
        std::uint64_t length = records.u16(at + 3);
        at += 5;
        if ((length & kIsLong) != 0) {
            const std::uint32_t lengthSize = length & ~kIsLong;
            if (lengthSize > 4) return;
            length = records.number(at, lengthSize);
            at += lengthSize;
        }
        if (!records.has(at, length)) return;
        if (record == kApplicationRecord && length <= kMostValueBytes)
            setDataset(number, records.chars(at, length), builder.iptc);
        at += length;
    }
}

void readImageResources(ByteView bytes, std::uint64_t offset, MetadataBuilder& builder) {
    bytes = bytes.inOrder(ByteOrder::big);
    constexpr std::size_t kMostResources = 4096;
    std::uint64_t at = 0;
    for (std::size_t i = 0; i < kMostResources && bytes.hasText(at, "8BIM"); ++i) {
        const std::uint16_t id = bytes.u16(at + 4);
        const std::uint64_t name = (bytes.u8(at + 6) + 2U) & ~1U;  // padded to an even length
        const std::uint64_t length = bytes.u32(at + 6 + name);
        const std::uint64_t data = at + 10 + name;
        if (!bytes.has(data, length)) return;
        readResource(id, bytes.part(data, length), offset + data, builder);
        at = data + length + (length & 1);
    }
}

std::string inflatedStart(ByteView bytes, std::size_t most) {
    constexpr int kAnyHeader = 15 + 32;
    z_stream stream{};
    std::string out(most, '\0');
    if (::inflateInit2(&stream, kAnyHeader) != Z_OK) return {};
    // zlib takes its input by a pointer that is not const, and does not write there.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.span().data()));
    stream.avail_in = static_cast<uInt>(std::min<std::size_t>(bytes.size(), UINT32_MAX));
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(most);
    ::inflate(&stream, Z_SYNC_FLUSH);
    out.resize(stream.total_out);
    ::inflateEnd(&stream);
    return out;
}

}  // namespace corvy::platform
