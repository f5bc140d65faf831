#include "platform/document_readers/word_binary_picture.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kRecordHead = 8;

struct Format {
    std::uint16_t record;
    const char16_t* name;
};
constexpr Format kFormats[] = {{0xF01D, u"image.jpg"},
                               {0xF01E, u"image.png"},
                               {0xF029, u"image.tiff"},
                               {0xF02A, u"image.jpg"}};

// The first picture in a list of records. Records within each other are entered.
std::optional<WordBinaryPicture> pictureIn(LittleEndian records, int depth) {
    constexpr int kDeepest = 8;
    constexpr std::uint16_t kEntry = 0xF007, kContainer = 0xF;
    while (records.size() >= kRecordHead && depth < kDeepest) {
        const std::uint16_t instance = records.u16(0) >> 4, type = records.u16(2);
        const LittleEndian body = records.part(kRecordHead, records.u32(4));
        for (const Format& format : kFormats) {
            if (format.record != type) continue;
            // One identifier, or two, and a mark.
            const LittleEndian contents = body.from((instance & 1U) != 0 ? 33 : 17);
            return WordBinaryPicture{Bytes::copyOf(contents.span()), format.name, {}};
        }
        const bool isContainer = (records.u16(0) & 0xFU) == kContainer;
        if (type == kEntry || isContainer) {
            constexpr std::size_t kEntryHead = 36, kNameLength = 33;
            const std::size_t start = type == kEntry ? kEntryHead + body.u8(kNameLength) : 0;
            if (auto found = pictureIn(body.from(start), depth + 1)) return found;
        }
        records = records.from(kRecordHead + body.size());
    }
    return std::nullopt;
}

}  // namespace

std::optional<WordBinaryPicture> wordBinaryPicture(LittleEndian data, std::uint32_t offset) {
    const LittleEndian picture = data.part(offset, data.from(offset).u32(0));
    LittleEndian records = picture.from(picture.u16(4));
    // A linked picture has its name in front.
    constexpr std::uint16_t kLinked = 0x66;
    if (picture.u16(6) == kLinked) records = records.from(1 + std::size_t{records.u8(0)});
    auto found = pictureIn(records, 0);
    if (!found || found->contents.empty()) return std::nullopt;
    constexpr double kTwips = 20, kPerMille = 0.001;
    found->size = {picture.u16(0x1C) / kTwips * picture.u16(0x20) * kPerMille,
                   picture.u16(0x1E) / kTwips * picture.u16(0x22) * kPerMille};
    return found;
}

}  // namespace corvy::platform
