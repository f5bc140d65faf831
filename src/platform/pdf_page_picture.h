// Pictures of pages, for pdf_document.cpp alone: Poppler's types show here.
#pragma once

#include <PDFDoc.h>

#include <optional>

#include "foundation/size_string.h"
#include "platform/image_metadata.h"
#include "platform/raster.h"

namespace corvy::platform {

// Of the crop box as it is to be seen, in points; none when the page cannot be had or has no area.
std::optional<Size> sizeOfPage(PDFDoc& document, int number);
// The page on white paper, made to fill the size. None as above.
std::optional<Raster> pictureOfPage(PDFDoc& document, int number, PixelSize size,
                                    bool shouldAntialias);

}  // namespace corvy::platform
