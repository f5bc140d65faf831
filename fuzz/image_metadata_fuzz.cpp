// Metadata of every format: what is found lies within the file and within its caps, and reading
// twice gives the same.
#include <cstdint>
#include <span>

#include "fuzz/fuzz_text.h"
#include "platform/image_metadata.h"
#include "platform/image_signature.h"

namespace {

using namespace corvy;
using namespace corvy::platform;

constexpr std::size_t kLongestValue = 64 << 10;

void checkValue(const PropertyList& value, int depth) {
    require(depth <= 3);
    if (const auto* text = value.string()) require(text->size() <= kLongestValue);
    if (const Bytes* bytes = value.bytes()) require(bytes->size() <= kLongestValue);
    if (const Array* array = value.array()) {
        require(array->size() <= 4096);
        for (const PropertyList& element : *array) checkValue(element, depth + 1);
    }
    if (const Dictionary* group = value.dictionary()) {
        for (const auto& [key, held] : *group) checkValue(held, depth + 1);
    }
}

void check(std::span<const std::byte> bytes, ImageFormat format) {
    const ImageMetadata metadata = imageMetadataOf(bytes, format);
    require(metadata.orientation >= 1 && metadata.orientation <= 8);
    require(!metadata.size || (metadata.size->width > 0 && metadata.size->height > 0));
    require(metadata.embedded.size() <= 64);
    require(metadata.xmpPacket.size() <= kMostPacketBytes);
    for (const EmbeddedImage& image : metadata.embedded) {
        require(image.offset <= bytes.size() && image.length <= bytes.size() - image.offset);
        const bool isJpeg = image.kind == EmbeddedImage::Kind::jpeg;
        require(!isJpeg ||
                imageFormatOf(bytes.subspan(image.offset, image.length)) == ImageFormat::jpeg);
    }
    checkValue(metadata.properties, 0);
    require(imageMetadataOf(bytes, format).properties == metadata.properties);
}

}  // namespace

// The first byte chooses a format; 0 leaves that to the signature.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const auto bytes = std::as_bytes(std::span(data, size)).subspan(1);
    const ImageFormat told = imageFormatOf(bytes, u"tga");
    const auto formats = imageFormats();
    check(bytes, data[0] == 0 ? told : formats[data[0] % formats.size()].format);
    return 0;
}
