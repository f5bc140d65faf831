// Which files, extensions and type codes are images, PDF or PostScript; which extension fits a
// type or bytes; and how sizes are scaled and fitted. Links no image library.
//
// Classic type codes are texts of six characters, such as 'PDF ' with its quotes. Where an argument
// is none, the answer is false or none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "foundation/size_string.h"

namespace corvy {

using OptionalText = std::optional<std::u16string_view>;

// Extensions in lower case and quoted type codes of all that can be opened, then the extensions of
// PostScript in both cases. Built once.
const std::vector<std::u16string>& ImageFileTypes();
std::span<const std::u16string_view> PDFFileTypes();

// The type code in the Finder info of a file; none when there is none or it is zero.
std::optional<std::u16string> classicFileType(std::u16string_view path);

// Extensions match in any case, type codes exactly.
bool isImageExtension(OptionalText extension, OptionalText type);
bool isImageFile(OptionalText path);
bool isWebImageExtension(OptionalText extension);
// kept: PostScript counts as PDF here, unlike in the "real" ones.
bool isPDFExtension(OptionalText extension, OptionalText type);
bool isPDFFile(OptionalText path);
bool isRealPDFExtension(OptionalText extension, OptionalText type);
bool isRealPDFFile(OptionalText path);
bool isPostScriptExtension(OptionalText extension);
bool isPostScriptFile(OptionalText path);

// A folder with the extension "pdfd" that holds a PDF; only the name counts.
bool isPDFBundle(OptionalText path);
// The PDF inside a bundle: the one with the bundle's name, else the first in the order of names.
// Any other path, and that of a bundle without a PDF, comes back unchanged.
std::u16string pathToPDF(std::u16string_view path);

// The content types of files, as uniform type identifiers.
class ContentTypes {
public:
    virtual ~ContentTypes() = default;
    virtual std::optional<std::u16string> contentTypeOfFile(std::u16string_view path) const = 0;
    virtual bool conforms(std::u16string_view identifier, std::u16string_view to) const = 0;
};
// Whether the file's content type conforms to one of the types that are decoded as images.
bool isUTIImageFile(OptionalText path, const ContentTypes& types);

// The extension of a quoted type code, or of a MIME type; a text that is neither comes back
// unchanged.
std::optional<std::u16string> pathExtensionForType(OptionalText type);
// By what stands anywhere in the first 1,024 bytes, the first of a list that does.
std::optional<std::u16string> pathExtensionForData(std::optional<std::span<const std::byte>> data);
// By the number of a bitmap file type: 0 TIFF, 1 BMP, 2 GIF, 3 JPEG, 4 PNG, 5 JPEG 2000.
std::optional<std::u16string> pathExtensionForBitmapImageFileType(std::int64_t type);

// Rounded down; unchanged unless the factor is above 0.
Size scale(double factor, Size size);
// `size` made to fit into the box, proportions kept, rounded down to 1 at least; never enlarged.
Size thumb(Size box, Size size);

// What a user has copied.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;
    // The first of the types that it holds.
    virtual std::optional<std::u16string> availableTypeFromArray(
        std::span<const std::u16string_view> types) const = 0;
    virtual std::vector<std::u16string> fileNames() const = 0;
    virtual std::optional<Url> URL() const = 0;
};
// Types of a pasteboard here, as desktops name them.
inline constexpr std::u16string_view kPasteboardFileNames = u"text/uri-list";
inline constexpr std::u16string_view kPasteboardURL = u"text/x-moz-url";

bool canProbablyInitWithPasteboard(const Pasteboard* pasteboard);

}  // namespace corvy
