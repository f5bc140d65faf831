// One reader for each format: what the file's header and its blocks tell goes into the builder.
// None of them fails; what cannot be read is left out.
#pragma once

#include <optional>

#include "platform/byte_view.h"
#include "platform/image_metadata/builder.h"

namespace corvy::platform {

void readJpeg(ByteView file, MetadataBuilder& builder);
void readPng(ByteView file, MetadataBuilder& builder);
void readGif(ByteView file, MetadataBuilder& builder);
void readTiff(ByteView file, MetadataBuilder& builder);
// Of the raw files that are TIFF files in all but name.
void readTiffRaw(ByteView file, MetadataBuilder& builder);
void readRaf(ByteView file, MetadataBuilder& builder);
void readCr3(ByteView file, MetadataBuilder& builder);
void readWebp(ByteView file, MetadataBuilder& builder);
// HEIC, HEIF and AVIF.
void readHeif(ByteView file, MetadataBuilder& builder);
void readJpeg2000(ByteView file, MetadataBuilder& builder);
void readPsd(ByteView file, MetadataBuilder& builder);
void readBmp(ByteView file, MetadataBuilder& builder);
void readTga(ByteView file, MetadataBuilder& builder);
void readPnm(ByteView file, MetadataBuilder& builder);
void readSgi(ByteView file, MetadataBuilder& builder);
void readPcx(ByteView file, MetadataBuilder& builder);
void readXbm(ByteView file, MetadataBuilder& builder);
void readXpm(ByteView file, MetadataBuilder& builder);
void readXwd(ByteView file, MetadataBuilder& builder);
void readPict(ByteView file, MetadataBuilder& builder);
void readMacPaint(ByteView file, MetadataBuilder& builder);
// ICO and CUR.
void readIco(ByteView file, MetadataBuilder& builder);
void readIcns(ByteView file, MetadataBuilder& builder);
void readSvg(ByteView file, MetadataBuilder& builder);

// The size of a JPEG that can be decoded (baseline, extended or progressive, not lossless); none
// for all else.
std::optional<PixelSize> sizeOfJpeg(ByteView bytes);

}  // namespace corvy::platform
