#include "platform/image_metadata/exif.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <span>

#include "foundation/converters.h"
#include "foundation/text.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

enum class Form : std::uint8_t {
    number,  // the first value
    list,    // all of them
    text,
    version,    // four digits: "0221" is 2, 2, 1
    codedText,  // eight bytes name the character set
    bytes,
    degrees,  // degrees, minutes and seconds as one number
    time,     // hours, minutes and seconds as a text
};

struct TagKey {
    std::uint16_t tag;
    std::u16string_view key;
    Form form;
};

#include "platform/image_metadata/exif_keys.inc"

static_assert(std::ranges::is_sorted(kTiffKeys, {}, &TagKey::tag));
static_assert(std::ranges::is_sorted(kExifKeys, {}, &TagKey::tag));
static_assert(std::ranges::is_sorted(kGpsKeys, {}, &TagKey::tag));

constexpr std::uint16_t kExifDirectory = 34665, kGpsDirectory = 34853;
constexpr std::uint16_t kJpegPlace = 513, kJpegLength = 514;
constexpr std::uint16_t kXResolution = 282, kYResolution = 283, kResolutionUnit = 296;
constexpr std::uint16_t kOrientation = 274;

constexpr std::uint16_t kTextType = 2;

PropertyList numberOf(const TiffEntry& entry, std::uint64_t index) {
    if (entry.type == kTextType) return {};
    if (entry.isReal()) {
        const auto real = entry.real(index);
        return real ? PropertyList(*real) : PropertyList();
    }
    const auto integer = entry.integer(index);
    return integer ? PropertyList(*integer) : PropertyList();
}

PropertyList listOf(const TiffEntry& entry) {
    if (entry.count > kMostNumbersInList) return {};
    Array list;
    for (std::uint64_t i = 0; i < entry.count; ++i) {
        PropertyList number = numberOf(entry, i);
        if (!number.isNull()) list.push_back(std::move(number));
    }
    return list.empty() ? PropertyList() : PropertyList(std::move(list));
}

PropertyList textValue(std::u16string text) {
    return text.empty() ? PropertyList() : PropertyList(std::move(text));
}

PropertyList versionOf(const TiffEntry& entry) {
    constexpr std::size_t kDigits = 4;
    const std::string_view digits = entry.values.chars();
    const bool isVersion = digits.size() == kDigits && std::ranges::all_of(digits, [](char digit) {
                               return digit >= '0' && digit <= '9';
                           });
    if (!isVersion) return {};
    const auto digit = [digits](std::size_t i) { return std::int64_t{digits[i] - '0'}; };
    Array version = {10 * digit(0) + digit(1), digit(2)};
    if (digit(3) != 0) version.emplace_back(digit(3));
    return version;
}

std::u16string decoded(std::string_view bytes, Encoding encoding) {
    const auto text = tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), encoding);
    if (!text) return {};
    return std::u16string(
        trimWhite(std::u16string_view(text->text).substr(0, text->text.find(u'\0'))));
}

PropertyList codedText(const TiffEntry& entry) {
    constexpr std::size_t kCode = 8;
    const std::string_view bytes = entry.values.chars();
    if (bytes.size() < kCode) return {};
    const std::string_view text = bytes.substr(kCode);
    if (bytes.starts_with("JIS")) return textValue(decoded(text, Encoding::kISO2022JP));
    if (!bytes.starts_with("UNICODE")) return textValue(fileText(text));
    // The block's byte order, unless the text has a mark of its own.
    const bool hasMark = text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE");
    if (hasMark || entry.values.order() == ByteOrder::big)
        return textValue(decoded(text, Encoding::kUTF16));
    return textValue(decoded("\xFF\xFE" + std::string(text), Encoding::kUTF16));
}

PropertyList degreesOf(const TiffEntry& entry) {
    constexpr double kMinutes = 60, kSeconds = 3600;
    const auto degrees = entry.real(0);
    if (!degrees) return {};
    return *degrees + entry.real(1).value_or(0) / kMinutes + entry.real(2).value_or(0) / kSeconds;
}

PropertyList timeOf(const TiffEntry& entry) {
    const auto hours = entry.real(0), minutes = entry.real(1), seconds = entry.real(2);
    const auto isBelow = [](std::optional<double> value, double limit) {
        return value && *value >= 0 && *value < limit;
    };
    if (!isBelow(hours, 25) || !isBelow(minutes, 60) || !isBelow(seconds, 61)) return {};
    char text[32];
    const bool isWhole = std::floor(*seconds) == *seconds;
    const int length =
        std::snprintf(text, sizeof text, "%02d:%02d:%0*.*f", static_cast<int>(*hours),
                      static_cast<int>(*minutes), isWhole ? 2 : 5, isWhole ? 0 : 2, *seconds);
    return std::u16string(text, text + length);
}

PropertyList valueOf(const TiffEntry& entry, Form form) {
    if (entry.values.size() > kMostValueBytes) return {};
    switch (form) {
        case Form::number: return numberOf(entry, 0);
        case Form::list: return listOf(entry);
        case Form::text: return textValue(fileText(entry.values.chars()));
        case Form::version: return versionOf(entry);
        case Form::codedText: return codedText(entry);
        case Form::bytes: return Bytes::copyOf(entry.values.span());
        case Form::degrees: return degreesOf(entry);
        case Form::time: return timeOf(entry);
    }
    return {};
}

void readGroup(const TiffDirectory& directory, std::span<const TagKey> keys, Dictionary& group) {
    for (const TiffEntry& entry : directory.entries) {
        const auto key = std::ranges::lower_bound(keys, entry.tag, {}, &TagKey::tag);
        if (key == keys.end() || key->tag != entry.tag || group.contains(key->key)) continue;
        PropertyList value = valueOf(entry, key->form);
        if (!value.isNull()) group.set(key->key, std::move(value));
    }
}

}  // namespace

void readExifGroup(const TiffDirectory& directory, MetadataBuilder& builder) {
    readGroup(directory, kExifKeys, builder.exif);
}

void readGpsGroup(const TiffDirectory& directory, MetadataBuilder& builder) {
    readGroup(directory, kGpsKeys, builder.gps);
}

void readTiffGroup(const TiffDirectory& directory, MetadataBuilder& builder) {
    constexpr std::uint64_t kInches = 2, kCentimeters = 3;
    constexpr double kCentimetersPerInch = 2.54;
    readGroup(directory, kTiffKeys, builder.tiff);
    builder.setOrientation(static_cast<std::int64_t>(directory.whole(kOrientation)));
    const TiffEntry* horizontal = directory.find(kXResolution);
    const TiffEntry* vertical = directory.find(kYResolution);
    const TiffEntry* unitEntry = directory.find(kResolutionUnit);
    const std::uint64_t unit = unitEntry ? unitEntry->whole() : kInches;
    if (!horizontal || !vertical || (unit != kInches && unit != kCentimeters)) return;
    const double factor = unit == kCentimeters ? kCentimetersPerInch : 1;
    builder.setDpi(horizontal->real().value_or(0) * factor, vertical->real().value_or(0) * factor);
}

void readSubgroups(const TiffBlock& block, const TiffDirectory& directory,
                   MetadataBuilder& builder) {
    readExifGroup(block.directoryAt(directory.whole(kExifDirectory)), builder);
    readGpsGroup(block.directoryAt(directory.whole(kGpsDirectory)), builder);
}

void readEmbeddedJpeg(const TiffBlock& block, const TiffDirectory& directory, std::uint64_t offset,
                      MetadataBuilder& builder) {
    const std::uint64_t place = directory.whole(kJpegPlace);
    const std::uint64_t length = directory.whole(kJpegLength);
    if (!block.view().has(place, length)) return;
    const auto size = sizeOfJpeg(block.view().part(place, length));
    if (size) builder.addEmbedded({EmbeddedImage::Kind::jpeg, offset + place, length, size});
}

void readExif(ByteView bytes, std::uint64_t offset, MetadataBuilder& builder) {
    using namespace std::string_view_literals;
    constexpr std::string_view kPrefix = "Exif\0\0"sv;
    if (bytes.hasText(0, kPrefix)) {
        bytes = bytes.part(kPrefix.size());
        offset += kPrefix.size();
    }
    const auto block = TiffBlock::open(bytes);
    if (!block) return;
    const TiffDirectory main = block->directoryAt(block->firstDirectory());
    readTiffGroup(main, builder);
    readSubgroups(*block, main, builder);
    readEmbeddedJpeg(*block, block->directoryAt(main.next), offset, builder);
}

}  // namespace corvy::platform
