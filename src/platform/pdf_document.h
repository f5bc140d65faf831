// PDF documents: their properties, and the text and pictures of their pages.
//
// The library behind it keeps state for the whole process and may crash, hang or use up memory on
// damaged documents: it belongs into a worker.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "foundation/property_list.h"
#include "foundation/size_string.h"
#include "platform/image_metadata.h"
#include "platform/raster.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

// An open PDF. `bytes` must outlive it.
class PdfDocument {
public:
    // None when the bytes are not a PDF. A document that wants a password opens, locked.
    static std::optional<PdfDocument> open(std::span<const std::byte> bytes);

    ~PdfDocument();
    PdfDocument(PdfDocument&&) noexcept;
    PdfDocument& operator=(PdfDocument&&) noexcept;

    // It wants a password: there is no text, and the rest is what can be told without.
    bool isLocked() const;
    // Its content is encrypted, be it that no password is needed to read it.
    bool isEncrypted() const;
    // Such as "1.7"; empty for a locked document.
    std::u16string version() const;
    // 0 for a locked document that hides it.
    std::size_t pageCount() const;
    // Every entry of the document's information dictionary under its own key; none when there is
    // no such dictionary. CreationDate and ModDate are dates where they can be read as such. A
    // locked document has no strings, for they are encrypted.
    std::optional<Dictionary> documentAttributes() const;
    // The XMP packet of the document (xmp_packet.h); empty without one, and for a locked document.
    std::string metadataPacket() const;
    // Of the media box, in points; none when the page cannot be had.
    std::optional<Size> mediaBoxSize(std::size_t index) const;

    // The text of a page in reading order: a line feed ends each line, an empty line each column
    // or paragraph; no white space at its end. Empty for a damaged page and one without text.
    // index < pageCount(). Pages in a row are read much faster than others.
    std::u16string textOfPage(std::size_t index);
    // The same with its style.
    AttributedText attributedTextOfPage(std::size_t index);
    // All pages, each that has text with a line feed after it.
    AttributedText attributedText();

    // What is to be seen of the page (its crop box, turned), in points; none when the page cannot
    // be had, has no area, or the document is locked.
    std::optional<Size> pageSize(std::size_t index) const;
    // The page on white paper, made to fill the size. None as above, and beyond the limits of
    // pictures.
    std::optional<Raster> pictureOfPage(std::size_t index, PixelSize size,
                                        bool shouldAntialias = true) const;

private:
    struct State;
    explicit PdfDocument(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

// Loads what the library needs for most documents, so that processes forked later have it.
void preparePdfLibrary();
// Such as "22.12.0".
std::string pdfLibraryVersion();

}  // namespace corvy::platform
