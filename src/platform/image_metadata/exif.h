// The directories of an Exif block as property groups.
#pragma once

#include "platform/image_metadata/builder.h"
#include "platform/image_metadata/tiff_directory.h"

namespace corvy::platform {

// Reads the groups {TIFF}, {Exif} and {GPS}, the orientation, the resolution and the thumbnail.
// `offset` is the place of the block in the file, for the thumbnail. An "Exif" prefix is skipped.
void readExif(ByteView block, std::uint64_t offset, MetadataBuilder& builder);

// The group {TIFF} and the resolution of one directory of a picture.
void readTiffGroup(const TiffDirectory& directory, MetadataBuilder& builder);
// The directories {Exif} and {GPS} that one directory leads to.
void readSubgroups(const TiffBlock& block, const TiffDirectory& directory,
                   MetadataBuilder& builder);
// The groups {Exif} and {GPS} of directories of their own.
void readExifGroup(const TiffDirectory& directory, MetadataBuilder& builder);
void readGpsGroup(const TiffDirectory& directory, MetadataBuilder& builder);
// The JPEG that the directory names, if it is one that can be decoded. `offset` as above.
void readEmbeddedJpeg(const TiffBlock& block, const TiffDirectory& directory, std::uint64_t offset,
                      MetadataBuilder& builder);

}  // namespace corvy::platform
