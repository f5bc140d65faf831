// The picture formats that are known here, and what opens each of them. Everything that asks "is
// this an image?" asks this one table, so that no file is called an image which nothing opens.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace corvy::platform {

enum class ImageFormat : std::uint8_t {
    unknown,
    jpeg,
    png,
    gif,
    tiff,  // both byte orders, and the 64-bit form
    webp,
    heif,  // HEIC, and whatever else comes in that container but AVIF
    avif,
    bmp,
    tga,
    pnm,  // PBM, PGM, PPM, PAM, PFM
    psd,  // and PSB
    sgi,
    pcx,
    xbm,
    xpm,
    xwd,
    jpeg2000,  // boxed, or a codestream alone
    pict,
    macPaint,
    ico,
    cur,
    icns,
    svg,  // and SVGZ
    pdf,
    postScript,  // PS, EPS and those AI files that are no PDF
    rawNef,
    rawCr2,
    rawCr3,
    rawArw,
    rawDng,
    rawOrf,
    rawRw2,
    rawRaf,
};

enum class ImageDecoder : std::uint8_t {
    vips,        // libvips' own loader for the format
    codec,       // libavcodec
    icon,        // icon_reader.h; JPEG 2000 entries go on to `codec`
    macPaint,    // mac_paint.h
    vector,      // librsvg
    pdf,         // PDF pages
    postScript,  // Ghostscript, to PDF
    embedded,    // the largest JPEG in the file (camera raw)
};

struct ImageFormatEntry {
    ImageFormat format;
    ImageDecoder decoder;
    // Words with a blank between each two, the usual one first. Extensions are in lower case.
    std::u16string_view extensions;
    // Classic file type codes of four characters each, nothing between them.
    std::u16string_view typeCodes;
    // Uniform type identifiers, words as well; none where no name is in public use.
    std::u16string_view typeIdentifiers;
};

// One entry for each format but `unknown`, in the order of the enumeration.
std::span<const ImageFormatEntry> imageFormats();
// `format` is not `unknown`.
const ImageFormatEntry& entryOf(ImageFormat format);

constexpr bool isCameraRaw(ImageFormat format) {
    return format >= ImageFormat::rawNef;
}

}  // namespace corvy::platform
