// PDF documents turned into result dictionaries: text, page count, attributes, size.
//
// The service half. The document itself is read in a worker (pdf_worker.h), which hands the text
// over page by page, so that a document that breaks its worker still gives what came before.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

// How long the text of a document may take, in seconds.
inline constexpr double kPdfTextTimeout = 60;

struct PdfConversionOptions {
    bool attributed = false;                  // "String" is RTFD bytes instead of plain text
    std::optional<std::u16string> file = {};  // where the PDF lies, when the importer may be asked
    bool size = false;                        // add "Size", "PixelSize" and "Alpha"
};

// What a conversion calls on.
struct PdfConversionContext {
    // Runs a worker's operation; the pool's `run`.
    std::function<std::optional<PropertyList>(const platform::WorkerRequest&)> runWorker = {};
    // The importer's text of a file; may be empty.
    std::function<std::optional<std::u16string>(const std::u16string& path)>
        textContentOfFileAtPath = {};
};

// The result dictionary of a PDF, or none when there are no bytes or they are not a PDF: "Locked"
// or "String", "PageCount", the document's own attributes, and the size keys. A document whose
// reading breaks off keeps the text so far; an attributed one is then without "String".
std::optional<Dictionary> attributedStringWithPDF(const std::optional<Bytes>& pdf,
                                                  const PdfConversionOptions& options,
                                                  const PdfConversionContext& context);

// Whether a document of this producer is read by itself at once, without asking the importer.
bool skipsImporter(const std::optional<std::u16string>& producer);

// A document as its pages. What a page throws counts as no text when it is a std::exception, and
// is passed on otherwise.
struct PageSource {
    std::size_t pageCount = 0;
    std::function<std::u16string(std::size_t index)> textOfPage;
};

// Seconds since some point in the past.
using SecondsClock = std::function<double()>;
double monotonicSeconds();

// Gives the text of each page that has some, cleaned up and with a line feed after it, to `sink`.
// Stops after a page when time is up: the time since the start and the time of that page together
// reach `timeout` seconds. 0 or less is no limit.
void fixedAndNormalizedPages(const PageSource& source, double timeout,
                             const std::function<void(std::u16string_view text)>& sink,
                             const SecondsClock& clock = monotonicSeconds);
// The same in one string; none for a document without pages.
std::optional<std::u16string> fixedAndNormalizedStringUsingTimeout(
    const PageSource& source, double timeout, const SecondsClock& clock = monotonicSeconds);
std::optional<std::u16string> fixedAndNormalizedString(const PageSource& source);

// What service and worker say to each other. The worker's first part is a dictionary of facts;
// each further part is text.
namespace pdf_exchange {
inline constexpr const char* kFamily = "pdf";
inline constexpr const char* kConvert = "convert";
inline constexpr const char* kInfo = "info";  // its result: the facts
// Arguments.
inline constexpr const char16_t* kPdf = u"pdf";                // bytes
inline constexpr const char16_t* kAttributed = u"attributed";  // flag
inline constexpr const char16_t* kImporter = u"importer";      // flag: the importer can be asked
// Facts.
inline constexpr const char16_t* kLocked = u"Locked";          // flag
inline constexpr const char16_t* kPageCount = u"PageCount";    // 32-bit integer
inline constexpr const char16_t* kAttributes = u"Attributes";  // dictionary, when there is one
inline constexpr const char16_t* kMediaBox = u"MediaBox";  // of the first page, if it can be had
// Result.
inline constexpr const char16_t* kRtfd = u"Rtfd";                // bytes
inline constexpr const char16_t* kAskImporter = u"AskImporter";  // flag: no text, ask it first
}  // namespace pdf_exchange

}  // namespace corvy
