// The worker half of picture conversion; image_conversion.h tells what goes in and comes out.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// Each gives none where the file or bytes give no picture.
std::optional<PropertyList> thumbnailOfFile(const Dictionary& arguments,
                                            platform::WorkerChannel& channel);
std::optional<PropertyList> imageOfFile(const Dictionary& arguments,
                                        platform::WorkerChannel& channel);
std::optional<PropertyList> pdfOfFile(const Dictionary& arguments,
                                      platform::WorkerChannel& channel);
std::optional<PropertyList> encodePicture(const Dictionary& arguments,
                                          platform::WorkerChannel& channel);

}  // namespace corvy
