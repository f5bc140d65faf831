#include "platform/icon/directory.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;
using Coding = IconPicture::Coding;

constexpr std::size_t kMostPictures = 256;

bool isPng(ByteView bytes) {
    return bytes.hasText(0, "\x89PNG\r\n\x1A\n"sv);
}

bool isJpeg2000(ByteView bytes) {
    return bytes.hasText(4, "jP  "sv) || bytes.hasText(0, "\xFF\x4F\xFF\x51"sv);
}

void takePngSize(IconPicture& picture) {
    const ByteView png = picture.bytes.inOrder(ByteOrder::big);
    picture.width = png.u32(16);
    picture.height = png.u32(20);
    picture.depth = png.u8(24);
}

std::vector<IconPicture> picturesOfIco(ByteView file) {
    constexpr std::uint64_t kHeader = 6, kEntry = 16;
    const ByteView view = file.inOrder(ByteOrder::little);
    const std::size_t count = std::min<std::size_t>(view.u16(4), kMostPictures);
    std::vector<IconPicture> pictures;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t entry = kHeader + i * kEntry;
        const std::uint64_t place = view.u32(entry + 12), length = view.u32(entry + 8);
        if (!view.has(entry, kEntry) || length == 0 || place >= view.size()) continue;
        IconPicture picture;
        picture.bytes = view.part(place, length);
        if (isPng(picture.bytes)) {
            takePngSize(picture);
        } else {
            // The bitmap knows better than the directory, and counts the mask's rows too.
            picture.coding = Coding::bitmap;
            picture.width = picture.bytes.u32(4);
            picture.height = picture.bytes.u32(8) / 2;
        }
        if (picture.width != 0 && picture.height != 0) pictures.push_back(picture);
    }
    return pictures;
}

struct IcnsKind {
    std::string_view kind;
    Coding coding;
    std::uint16_t width;
    std::uint16_t height;
    std::uint8_t scale = 1;
    std::string_view mask = {};
};
// Those coded as `png` may hold JPEG 2000 as well, and the small ones of them planes of runs.
constexpr IcnsKind kIcnsKinds[] = {
    {"ICON", Coding::mono, 32, 32},
    {"ICN#", Coding::mono, 32, 32},
    {"icm#", Coding::mono, 16, 12},
    {"ics#", Coding::mono, 16, 16},
    {"ich#", Coding::mono, 48, 48},
    {"is32", Coding::rgb, 16, 16, 1, "s8mk"},
    {"il32", Coding::rgb, 32, 32, 1, "l8mk"},
    {"ih32", Coding::rgb, 48, 48, 1, "h8mk"},
    {"it32", Coding::rgb, 128, 128, 1, "t8mk"},
    {"icp4", Coding::png, 16, 16},
    {"icp5", Coding::png, 32, 32},
    {"icp6", Coding::png, 64, 64},
    {"ic04", Coding::png, 16, 16},
    {"ic05", Coding::png, 32, 32, 2},
    {"ic07", Coding::png, 128, 128},
    {"ic08", Coding::png, 256, 256},
    {"ic09", Coding::png, 512, 512},
    {"ic10", Coding::png, 1024, 1024, 2},
    {"ic11", Coding::png, 32, 32, 2},
    {"ic12", Coding::png, 64, 64, 2},
    {"ic13", Coding::png, 256, 256, 2},
    {"ic14", Coding::png, 512, 512, 2},
    {"icsb", Coding::png, 18, 18},
    {"icsB", Coding::png, 36, 36, 2},
    {"sb24", Coding::png, 24, 24},
    {"SB24", Coding::png, 48, 48, 2},
};

struct IcnsEntry {
    std::string_view kind;
    ByteView bytes;
};

std::vector<IcnsEntry> entriesOfIcns(ByteView file) {
    constexpr std::uint64_t kHeader = 8;
    std::vector<IcnsEntry> entries;
    std::uint64_t at = kHeader;
    while (entries.size() < kMostPictures && file.has(at, kHeader)) {
        const std::uint64_t length = file.u32(at + 4);
        if (length < kHeader || !file.has(at, length)) break;
        entries.push_back({file.chars(at, 4), file.part(at + kHeader, length - kHeader)});
        at += length;
    }
    return entries;
}

ByteView bytesOfKind(const std::vector<IcnsEntry>& entries, std::string_view kind) {
    const auto found = std::ranges::find(entries, kind, &IcnsEntry::kind);
    return found == entries.end() ? ByteView() : found->bytes;
}

std::vector<IconPicture> picturesOfIcns(ByteView file) {
    constexpr std::uint64_t kBigPlanes = 4;  // zeros before the planes of the largest ones
    const std::vector<IcnsEntry> entries = entriesOfIcns(file);
    std::vector<IconPicture> pictures;
    for (const IcnsEntry& entry : entries) {
        const auto known = std::ranges::find(kIcnsKinds, entry.kind, &IcnsKind::kind);
        if (known == std::end(kIcnsKinds)) continue;
        IconPicture picture{known->coding,
                            known->width,
                            known->height,
                            known->scale,
                            known->coding == Coding::mono ? 1U : 8U,
                            entry.bytes,
                            ByteView()};
        if (!known->mask.empty()) picture.mask = bytesOfKind(entries, known->mask);
        if (known->kind == "it32") picture.bytes = picture.bytes.part(kBigPlanes);
        if (known->coding == Coding::png) {
            if (isPng(picture.bytes)) {
                takePngSize(picture);
            } else if (isJpeg2000(picture.bytes)) {
                picture.coding = Coding::jpeg2000;
            } else if (picture.bytes.hasText(0, "ARGB")) {
                picture.coding = Coding::argb;
            } else {
                picture.coding = Coding::rgb;
            }
        }
        pictures.push_back(picture);
    }
    return pictures;
}

}  // namespace

std::vector<IconPicture> picturesOfIcon(ByteView file, ImageFormat format) {
    return format == ImageFormat::icns ? picturesOfIcns(file) : picturesOfIco(file);
}

}  // namespace corvy::platform
