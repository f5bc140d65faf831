// The vended object: ten operations on files and documents, one request at a time.
//
// Every operation tells a failure by its result alone: none, or false. Those that drive foreign
// libraries do so in worker processes; web archives are read here, by bounded readers of our own.
// Operations may be entered again while one of them waits by running the main context; they share
// nothing but the importer and the workers.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "foundation/remote_interface.h"
#include "metadata/meta_data_importer.h"
#include "platform/isolation.h"
#include "service/html_conversion.h"
#include "service/image_conversion.h"
#include "service/pdf_conversion.h"

namespace corvy {

class CorvyStackHelper {
public:
    // `workerFolder` holds the worker programs.
    explicit CorvyStackHelper(std::string workerFolder);
    ~CorvyStackHelper();

    // The PDF that a PDF or PostScript file is or becomes; none for all others.
    std::optional<Bytes> PDFImageRepOfFile(std::u16string_view path);
    // Thumbnail, sizes and properties of an image or PDF file; none when it cannot be pictured.
    std::optional<Dictionary> imageWithContentsOfFile(std::u16string_view path,
                                                      const ImageRequest& request);
    // Text (plain, or flat RTFD bytes), page count and attributes of a PDF; none when the bytes
    // are no PDF.
    std::optional<Dictionary> attributedStringWithPDF(bool attributed, const Bytes& pdf);
    // Duration and size of a movie or sound, 0 where it has none, and a frame if it can be had.
    Dictionary posterImageForMovieWithFile(std::u16string_view path);
    // A document as flat RTFD, with its attributes; none when it cannot be read.
    std::optional<Dictionary> attributedStringWithContentsOfFile(std::u16string_view path);
    // Text, source and address of a web archive, as far as it gives them.
    Dictionary searchableTextOfWebArchive(std::u16string_view path);
    // Writes flat RTFD as a package; whether that came about.
    bool writeRTFDData(const Bytes& rtfd, std::u16string_view path);
    // HTML as flat RTFD.
    std::optional<Bytes> RTFDWithHTML(const Bytes& html, const HtmlRequest& request);
    // The web engine's delegate, called for every request that a page makes when remote requests
    // are not allowed, and for every redirect with the address that it came from: the request
    // itself when it stays on this machine and its networks, else none.
    std::optional<Url> webView(const Url& willSendRequest, const Url* redirectResponse = nullptr);
    // The importer's attributes without null placeholders; none when no importer reads the file.
    std::optional<Dictionary> metaDataForFile(std::u16string_view path);
    bool supportsFile(std::u16string_view path);

    // One call of the protocol `CorvyImExport`: the operation above whose method it is. A nil
    // argument where a file or bytes are needed gives the operation's failure value. Throws
    // std::invalid_argument for an object of another class than the operation takes.
    RemoteValue invoke(const RemoteMethod& method, const std::vector<RemoteValue>& arguments);

    // Name to version of the libraries that service and workers stand on.
    Dictionary libraries();
    MetaDataImporter& importer() { return *mdimporter_; }

private:
    PdfConversionContext pdfContext();
    ImageConversionContext imageContext();

    platform::WorkerPool workers_;
    std::unique_ptr<MetaDataImporter> mdimporter_;
};

}  // namespace corvy
