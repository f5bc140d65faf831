// Blocks that several formats carry: colour profiles, IPTC records, image resources, deflated data.
#pragma once

#include <cstdint>
#include <string>

#include "platform/byte_view.h"
#include "platform/image_metadata/builder.h"

namespace corvy::platform {

// The name of an ICC profile, in English where there is a choice.
void readProfile(ByteView profile, MetadataBuilder& builder);

// Records of IPTC's information interchange model, into the group {IPTC}.
void readIptc(ByteView records, MetadataBuilder& builder);

// Image resources ("8BIM"), with the IPTC records, the Exif block, the profile, the resolution and
// the thumbnail among them. `offset` is the place of the bytes in the file.
void readImageResources(ByteView bytes, std::uint64_t offset, MetadataBuilder& builder);

// The start of deflated data (zlib or gzip), at most `most` bytes of it; empty for no such data.
std::string inflatedStart(ByteView bytes, std::size_t most);

}  // namespace corvy::platform
