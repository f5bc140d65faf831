// Text of pages, for pdf_document.cpp alone: Poppler's types show here.
//
// Poppler reads every font anew for each page, which is most of its time on long documents. Pages
// in a row that agree in their boxes, and never mean two fonts by one name, are therefore
// interpreted one after the other by one interpreter that knows the fonts of all of them.
#pragma once

#include <Gfx.h>
#include <PDFDoc.h>

#include <cstddef>
#include <memory>
#include <string>

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

class PageTextReader {
public:
    // The document must outlive the reader, be open, and not be locked.
    explicit PageTextReader(PDFDoc& document);
    ~PageTextReader();
    PageTextReader(const PageTextReader&) = delete;
    PageTextReader& operator=(const PageTextReader&) = delete;

    // The page's text as Poppler writes it, in UTF-8. Valid until the next call.
    const std::string& textOfPage(std::size_t index);
    // The same with its style.
    AttributedText attributedTextOfPage(std::size_t index);

private:
    class Device;

    void read(std::size_t index);
    void openGroup(std::size_t index);
    void closeGroup();
    void readInGroup(Page& page);

    PDFDoc& document_;
    std::unique_ptr<Device> device_;  // before the interpreter, which uses it to its end
    std::unique_ptr<Gfx> interpreter_;
    // The pages that the interpreter may still read, in this order.
    std::size_t next_ = 0;
    std::size_t end_ = 0;
};

}  // namespace corvy::platform
