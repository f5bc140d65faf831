#include "client/corvy_client.h"

#include <string>
#include <utility>

#include "client/im_export.h"

namespace corvy {

namespace {

[[noreturn]] void throwUnexpectedAnswer(std::string_view selector) {
    throw TransportError(TransportError::Kind::protocol,
                         "answer of an unexpected type: " + std::string(selector));
}

}  // namespace

CorvyStackClient::CorvyStackClient(std::unique_ptr<RootProxy> proxy,
                                   std::unique_ptr<HelperTask> task)
    : task_(std::move(task)), proxy_(std::move(proxy)) {
    proxy_->setProtocol(&CorvyImExport());
}

std::optional<Bytes> CorvyStackClient::PDFImageRepOfFile(OptionalText path) {
    return bytesOf("PDFImageRepOfFile:", {path});
}

std::optional<Dictionary> CorvyStackClient::imageWithContentsOfFile(OptionalText path,
                                                                    const ImageOptions& options) {
    return dictionaryOf(
        "imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:",
        {path, options.maxThumbnailSize, options.alwaysFromImage, options.stringFromPDF,
         options.canUseSpotlight});
}

std::optional<Dictionary> CorvyStackClient::attributedStringWithPDF(bool attributed,
                                                                    std::optional<Bytes> pdf) {
    return dictionaryOf("attributed:stringWithPDF:", {attributed, std::move(pdf)});
}

Dictionary CorvyStackClient::posterImageForMovieWithFile(OptionalText path) {
    return requiredDictionaryOf("posterImageForMovieWithFile:", {path});
}

std::optional<Dictionary> CorvyStackClient::attributedStringWithContentsOfFile(OptionalText path) {
    return dictionaryOf("attributedStringWithContentsOfFile:", {path});
}

Dictionary CorvyStackClient::searchableTextOfWebArchive(OptionalText path) {
    return requiredDictionaryOf("searchableTextOfWebArchive:", {path});
}

bool CorvyStackClient::writeRTFDData(std::optional<Bytes> rtfd, OptionalText toFile) {
    return flagOf("writeRTFDData:toFile:", {std::move(rtfd), toFile});
}

std::optional<Bytes> CorvyStackClient::RTFDWithHTML(std::optional<Bytes> html,
                                                    const HtmlOptions& options) {
    return bytesOf("RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
                   {std::move(html), options.baseURL, options.allowRemoteRequest, options.charset});
}

std::optional<Dictionary> CorvyStackClient::metaDataForFile(OptionalText path) {
    return dictionaryOf("metaDataForFile:", {path});
}

bool CorvyStackClient::supportsFile(OptionalText path) {
    return flagOf("supportsFile:", {path});
}

void CorvyStackClient::setTimeout(double seconds) {
    proxy_->setRequestTimeout(seconds);
    proxy_->setReplyTimeout(seconds);
}

std::optional<Bytes> CorvyStackClient::bytesOf(std::string_view selector,
                                               std::vector<RemoteValue> arguments) {
    const RemoteValue answer = proxy_->call(selector, std::move(arguments));
    if (!answer) return std::nullopt;
    if (const Bytes* bytes = answer->bytes()) return *bytes;
    throwUnexpectedAnswer(selector);
}

std::optional<Dictionary> CorvyStackClient::dictionaryOf(std::string_view selector,
                                                         std::vector<RemoteValue> arguments) {
    RemoteValue answer = proxy_->call(selector, std::move(arguments));
    if (!answer) return std::nullopt;
    if (Dictionary* dictionary = answer->dictionary()) return std::move(*dictionary);
    throwUnexpectedAnswer(selector);
}

Dictionary CorvyStackClient::requiredDictionaryOf(std::string_view selector,
                                                  std::vector<RemoteValue> arguments) {
    if (auto dictionary = dictionaryOf(selector, std::move(arguments))) {
        return std::move(*dictionary);
    }
    throwUnexpectedAnswer(selector);
}

bool CorvyStackClient::flagOf(std::string_view selector, std::vector<RemoteValue> arguments) {
    const RemoteValue answer = proxy_->call(selector, std::move(arguments));
    const std::optional<bool> flag = answer ? answer->boolean() : std::nullopt;
    if (!flag) throwUnexpectedAnswer(selector);
    return *flag;
}

}  // namespace corvy
