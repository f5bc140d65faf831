// Pictures of the helper's answers as files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/bytes.h"
#include "foundation/remote_interface.h"
#include "platform/isolation.h"

namespace corvy::tools {

// What the name of a picture file may end with, for help.
inline constexpr std::string_view kPictureExtensions = "png, jpg or tiff";

bool isPictureName(const std::string& path);

// The picture under "Thumbnail" in an answer, a TIFF file; null when there is none.
const Bytes* pictureIn(const RemoteValue& answer);

// The picture, a file of any format in memory, as "png", "jpg" or "tiff", made by a worker of the
// pool. Its longer side has at most so many pixels; 0: as many as it has. None when it cannot be
// read.
std::optional<Bytes> encodedPicture(platform::WorkerPool& pool, const Bytes& picture,
                                    std::u16string_view type, std::int64_t longestSide = 0);

// Writes the picture, a TIFF file in memory, in the format that the path's extension names. Empty
// when it is written, else the reason.
std::string writePicture(platform::WorkerPool& pool, const Bytes& tiff, const std::string& path);

}  // namespace corvy::tools
