#include "service/image_conversion.h"

#include <utility>

#include "foundation/file_contents.h"
#include "images/image_types.h"

namespace corvy {

namespace {

using namespace image_exchange;

std::optional<Dictionary> askWorker(const char* operation, Dictionary arguments,
                                    const ImageConversionContext& context) {
    platform::WorkerRequest request;
    request.family = kFamily;
    request.operation = operation;
    request.arguments = std::move(arguments);
    std::optional<PropertyList> answer = context.runWorker(request);
    if (!answer || !answer->dictionary()) return std::nullopt;
    return std::move(*answer->dictionary());
}

// kept: the properties come first and their absence ends the list, so that a picture without any
// gives an empty dictionary instead of a thumbnail alone.
Dictionary thumbnailResult(const Dictionary& answer) {
    Dictionary result;
    for (const char16_t* key : {u"Properties", u"Thumbnail"}) {
        const PropertyList* value = answer.find(key);
        if (value == nullptr) break;
        result.set(key, *value);
    }
    return result;
}

std::optional<Dictionary> imageResult(std::u16string_view path, const ImageRequest& request,
                                      const ImageConversionContext& context) {
    auto result = askWorker(kImage, {{kPath, path}, {kWithPdf, request.stringFromPDF}}, context);
    if (!result) return std::nullopt;
    const PropertyList* pdf = result->find(kPdf);
    std::optional<Dictionary> text;
    if (pdf != nullptr && pdf->bytes() != nullptr) {
        // The importer knows nothing of a PDF that was made here.
        ImageConversionContext::PdfText options;
        if (request.canUseSpotlight && !result->contains(kIsConverted)) options.file = path;
        text = context.convertPdf(*pdf->bytes(), options);
    }
    result->remove(kPdf);
    result->remove(kIsConverted);
    if (text) result->addEntries(*text);
    return result;
}

// The text and sizes of a PDF that gives no picture, such as a locked one.
std::optional<Dictionary> pdfResult(std::u16string_view path, const ImageRequest& request,
                                    const ImageConversionContext& context) {
    const auto pdf = contentsOfFile(path, {.uncached = true});
    if (!pdf) return std::nullopt;
    ImageConversionContext::PdfText options{.file = std::nullopt, .size = true};
    if (request.canUseSpotlight) options.file = path;
    return context.convertPdf(*pdf, options);
}

}  // namespace

std::optional<Dictionary> imageWithContentsOfFile(std::u16string_view path,
                                                  const ImageRequest& request,
                                                  const ImageConversionContext& context) {
    if (!request.stringFromPDF) {
        const auto answer = askWorker(kThumbnail,
                                      {{kPath, path},
                                       {kMaxSize, request.maxThumbnailSize},
                                       {kAlways, request.alwaysFromImage}},
                                      context);
        if (answer) return thumbnailResult(*answer);
    }
    if (auto result = imageResult(path, request, context)) return result;
    if (request.stringFromPDF && isRealPDFFile(path)) return pdfResult(path, request, context);
    return std::nullopt;
}

std::optional<Bytes> PDFImageRepOfFile(std::u16string_view path,
                                       const ImageConversionContext& context) {
    const auto answer = askWorker(kPdfOfFile, {{kPath, path}}, context);
    const PropertyList* pdf = answer ? answer->find(kPdf) : nullptr;
    if (pdf == nullptr || pdf->bytes() == nullptr) return std::nullopt;
    return *pdf->bytes();
}

}  // namespace corvy
