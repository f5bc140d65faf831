#include "platform/image_metadata.h"

#include <utility>

#include "platform/byte_view.h"
#include "platform/image_metadata/builder.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using Reader = void (*)(ByteView, MetadataBuilder&);

Reader readerOf(ImageFormat format) {
    switch (format) {
        case ImageFormat::jpeg: return readJpeg;
        case ImageFormat::png: return readPng;
        case ImageFormat::gif: return readGif;
        case ImageFormat::tiff: return readTiff;
        case ImageFormat::webp: return readWebp;
        case ImageFormat::heif:
        case ImageFormat::avif: return readHeif;
        case ImageFormat::bmp: return readBmp;
        case ImageFormat::tga: return readTga;
        case ImageFormat::pnm: return readPnm;
        case ImageFormat::psd: return readPsd;
        case ImageFormat::sgi: return readSgi;
        case ImageFormat::pcx: return readPcx;
        case ImageFormat::xbm: return readXbm;
        case ImageFormat::xpm: return readXpm;
        case ImageFormat::xwd: return readXwd;
        case ImageFormat::jpeg2000: return readJpeg2000;
        case ImageFormat::pict: return readPict;
        case ImageFormat::macPaint: return readMacPaint;
        case ImageFormat::ico:
        case ImageFormat::cur: return readIco;
        case ImageFormat::icns: return readIcns;
        case ImageFormat::svg: return readSvg;
        case ImageFormat::rawNef:
        case ImageFormat::rawCr2:
        case ImageFormat::rawArw:
        case ImageFormat::rawDng:
        case ImageFormat::rawOrf:
        case ImageFormat::rawRw2: return readTiffRaw;
        case ImageFormat::rawCr3: return readCr3;
        case ImageFormat::rawRaf: return readRaf;
        case ImageFormat::unknown:
        case ImageFormat::pdf:
        case ImageFormat::postScript: break;
    }
    return nullptr;
}

}  // namespace

ImageMetadata imageMetadataOf(std::span<const std::byte> bytes, ImageFormat format) {
    MetadataBuilder builder;
    if (const Reader read = readerOf(format)) read(ByteView(bytes), builder);
    // Without any of these there was no picture, whatever the defaults of its format say.
    if (!builder.size && builder.embedded.empty() && builder.tiff.empty()) return {};
    return std::move(builder).finish();
}

}  // namespace corvy::platform
