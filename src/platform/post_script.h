// PostScript files: their bounding box, and their pages as a PDF.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "foundation/bytes.h"
#include "foundation/size_string.h"

namespace corvy::platform {

// The PostScript itself: without the header that some files begin with, which holds a preview too.
std::span<const std::byte> postScriptIn(std::span<const std::byte> file);

// In points, by the file's own comments; the precise box before the rounded one. None when they
// tell none, or one without area.
std::optional<Size> boundingBoxSize(std::span<const std::byte> postScript);

struct PostScriptConversion {
    std::string folder;         // for files in between; nothing stays there
    bool toBoundingBox = true;  // the page is the bounding box
    double wallSeconds = 20;
};
// Has Ghostscript make a PDF, in a process that can neither read nor write other files. None when
// it is not installed, takes too long, or finds no page.
std::optional<Bytes> pdfOfPostScript(std::span<const std::byte> postScript,
                                     const PostScriptConversion& options);

}  // namespace corvy::platform
