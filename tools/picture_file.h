// Pictures of the helper's answers as files.
#pragma once

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

// Writes the picture, a TIFF file in memory, in the format that the path's extension names. PNG and
// JPEG are made by a worker of the pool. Empty when it is written, else the reason.
std::string writePicture(platform::WorkerPool& pool, const Bytes& tiff, const std::string& path);

}  // namespace corvy::tools
