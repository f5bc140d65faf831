#include "service/pdf_conversion.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "foundation/size_string.h"
#include "foundation/text.h"
#include "foundation/text_cleanup.h"

namespace corvy {

namespace {

// The worker ends the text by its own clock; these end a worker that does not come to look at it.
constexpr double kMostCpuSeconds = kPdfTextTimeout + 5;
constexpr double kMostWallSeconds = kPdfTextTimeout + 10;
// What room to make for each page at first, in units, and for how many pages at most.
constexpr std::size_t kUnitsPerPage = 2048;
constexpr std::size_t kMostPagesOfRoom = 1024;

// What a worker said before it ended, well or not.
struct WorkerAnswer {
    Dictionary facts;
    std::u16string text;
    Dictionary result;
};

bool flag(const Dictionary& dictionary, std::u16string_view key) {
    const PropertyList* value = dictionary.find(key);
    return value != nullptr && value->boolean().value_or(false);
}

// None when the worker could not tell a thing.
std::optional<WorkerAnswer> askWorker(const Bytes& pdf, bool attributed, bool importer,
                                      const PdfConversionContext& context) {
    WorkerAnswer answer;
    bool opened = false;
    platform::WorkerRequest request;
    request.family = pdf_exchange::kFamily;
    request.operation = pdf_exchange::kConvert;
    request.arguments.set(pdf_exchange::kPdf, pdf);
    request.arguments.set(pdf_exchange::kAttributed, attributed);
    request.arguments.set(pdf_exchange::kImporter, importer);
    request.limits.cpuSeconds = kMostCpuSeconds;
    request.limits.wallSeconds = kMostWallSeconds;
    request.part = [&](PropertyList part) {
        if (const std::u16string* text = part.string()) {
            answer.text += *text;
        } else if (Dictionary* facts = part.dictionary()) {
            answer.facts = std::move(*facts);
            opened = true;
        }
    };
    std::optional<PropertyList> result = context.runWorker(request);
    if (!opened) return std::nullopt;
    if (result && result->dictionary()) answer.result = std::move(*result->dictionary());
    return answer;
}

std::int32_t pageCountOf(const Dictionary& facts) {
    const PropertyList* count = facts.find(pdf_exchange::kPageCount);
    return count ? static_cast<std::int32_t>(count->integer().value_or(0)) : 0;
}

void addSize(Dictionary& out, const Dictionary& facts) {
    const std::u16string size =
        stringOf(facts, pdf_exchange::kMediaBox).value_or(sizeString(Size{}));
    out.set(u"Size", size);
    out.set(u"PixelSize", size);
    out.set(u"Alpha", false);
}

}  // namespace

std::optional<Dictionary> attributedStringWithPDF(const std::optional<Bytes>& pdf,
                                                  const PdfConversionOptions& options,
                                                  const PdfConversionContext& context) {
    if (!pdf) return std::nullopt;
    const bool importer =
        options.file && !options.attributed && context.textContentOfFileAtPath != nullptr;
    std::optional<WorkerAnswer> answer = askWorker(*pdf, options.attributed, importer, context);
    if (!answer) return std::nullopt;

    std::optional<std::u16string> imported;
    if (flag(answer->result, pdf_exchange::kAskImporter)) {
        imported = context.textContentOfFileAtPath(*options.file);
        if (!imported) {
            // The facts stay, should the second worker not come as far as the first.
            std::optional<WorkerAnswer> again = askWorker(*pdf, false, false, context);
            if (again) answer = std::move(again);
        }
    }

    Dictionary out;
    const std::int32_t pageCount = pageCountOf(answer->facts);
    if (flag(answer->facts, pdf_exchange::kLocked)) {
        out.set(u"Locked", true);
    } else if (options.attributed) {
        const PropertyList* rtfd = answer->result.find(pdf_exchange::kRtfd);
        if (rtfd != nullptr && pageCount > 0) out.set(u"String", *rtfd);
    } else if (imported) {
        out.set(u"String", fixedAndNormalizedString(*imported));
    } else if (pageCount > 0) {
        out.set(u"String", std::move(answer->text));
    }
    out.set(u"PageCount", pageCount);
    if (const PropertyList* attributes = answer->facts.find(pdf_exchange::kAttributes)) {
        if (attributes->dictionary()) out.addEntries(*attributes->dictionary());
    }
    if (options.size && pageCount > 0) addSize(out, answer->facts);
    return out;
}

bool skipsImporter(const std::optional<std::u16string>& producer) {
    if (!producer || producer->empty()) return true;
    return containsNoCase(*producer, u"Compart") || containsNoCase(*producer, u"Ghostscript") ||
           hasSuffixNoCase(*producer, u"Quartz PDFContext");
}

double monotonicSeconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

void fixedAndNormalizedPages(const PageSource& source, double timeout,
                             const std::function<void(std::u16string_view text)>& sink,
                             const SecondsClock& clock) {
    const bool timing = timeout > 0;
    const double start = timing ? clock() : 0;
    for (std::size_t i = 0; i < source.pageCount; ++i) {
        const double pageStart = timing ? clock() : 0;
        std::u16string text;
        try {
            text = source.textOfPage(i);
            fixAndNormalizeString(text);
        } catch (const std::exception&) {
            // The page gives nothing, and the next may do better.
            text.clear();
        }
        if (!text.empty()) {
            text += u'\n';
            sink(text);
        }
        if (!timing) continue;
        const double now = clock();
        // kept: the page's time counts twice, so that a slow page ends the text earlier.
        if ((now - start) + (now - pageStart) >= timeout) return;
    }
}

std::optional<std::u16string> fixedAndNormalizedStringUsingTimeout(const PageSource& source,
                                                                   double timeout,
                                                                   const SecondsClock& clock) {
    if (source.pageCount == 0) return std::nullopt;
    std::u16string all;
    all.reserve(std::min(source.pageCount, kMostPagesOfRoom) * kUnitsPerPage);
    fixedAndNormalizedPages(
        source, timeout, [&all](std::u16string_view text) { all += text; }, clock);
    return all;
}

std::optional<std::u16string> fixedAndNormalizedString(const PageSource& source) {
    return fixedAndNormalizedStringUsingTimeout(source, 0);
}

}  // namespace corvy
