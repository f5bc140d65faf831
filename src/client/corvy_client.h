// The operations of a helper, one method each, for applications.
//
// Calls block until the helper has answered; one thread uses a client at a time. Arguments that are
// optional may be nil, and what the helper makes of nil is its failure value. Paths come as text:
// `pathFromBytes` (foundation/text.h) keeps every file name intact.
//
// A call that does not come through throws TransportError: after a time-out the client is still
// usable, after a lost connection a new one is needed. What the helper passes on is thrown as
// RemoteException. An operation that merely fails says so by its result.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/helper_task.h"
#include "foundation/remote_interface.h"

namespace corvy {

using OptionalText = std::optional<std::u16string_view>;

struct ImageOptions {
    std::int64_t maxThumbnailSize = 256;  // pixels, of the longer side
    bool alwaysFromImage = false;         // scale the image even where a thumbnail is embedded
    bool stringFromPDF = false;           // the text of a PDF as well
    bool canUseSpotlight = true;          // an importer may supply that text
};

struct HtmlOptions {
    std::optional<Url> baseURL = {};  // against which the page's addresses are resolved
    bool allowRemoteRequest = false;  // resources may be loaded from the network
    OptionalText charset = {};        // name of the character set; nil: what the page says
};

class CorvyStackClient {
public:
    // Proxies that come from elsewhere are told the protocol. `task`, when given, started the
    // helper and ends it with this client.
    explicit CorvyStackClient(std::unique_ptr<RootProxy> proxy,
                              std::unique_ptr<HelperTask> task = nullptr);

    // PDF bytes of a PDF or EPS image; none when the file is no such image.
    std::optional<Bytes> PDFImageRepOfFile(OptionalText path);
    // "Properties" and "Thumbnail" (TIFF), or "Size", "PixelSize", "Alpha" and "Thumbnail", with
    // the keys of attributedStringWithPDF when the text was asked for. None: no image.
    std::optional<Dictionary> imageWithContentsOfFile(OptionalText path,
                                                      const ImageOptions& options = {});
    // "String" (plain text, or RTFD bytes when `attributed`) or "Locked", then "PageCount" and the
    // document's attributes. None: no PDF.
    std::optional<Dictionary> attributedStringWithPDF(bool attributed, std::optional<Bytes> pdf);
    // "Duration" (seconds), "Size", "Thumbnail" (TIFF), as far as they can be had.
    Dictionary posterImageForMovieWithFile(OptionalText path);
    // "Rtfd" (bytes) and "DocumentAttributes". None: not readable as a document.
    std::optional<Dictionary> attributedStringWithContentsOfFile(OptionalText path);
    // "String", "Source" and "URL", as far as they can be had.
    Dictionary searchableTextOfWebArchive(OptionalText path);
    // False when the bytes are no RTFD or cannot be written.
    bool writeRTFDData(std::optional<Bytes> rtfd, OptionalText toFile);
    // RTFD bytes of the page; none when it cannot be converted.
    std::optional<Bytes> RTFDWithHTML(std::optional<Bytes> html, const HtmlOptions& options = {});
    // What an importer tells of the file, by attribute name. None: no importer, or no answer.
    std::optional<Dictionary> metaDataForFile(OptionalText path);
    // An importer reads files of this type.
    bool supportsFile(OptionalText path);

    // In seconds, for requests and replies alike; 15 at first, unless the client was made with
    // another.
    void setTimeout(double seconds);
    // For calls by name.
    RootProxy& proxy() { return *proxy_; }
    // What started the helper, or null when it ran before.
    HelperTask* task() { return task_.get(); }

private:
    std::optional<Bytes> bytesOf(std::string_view selector, std::vector<RemoteValue> arguments);
    std::optional<Dictionary> dictionaryOf(std::string_view selector,
                                           std::vector<RemoteValue> arguments);
    Dictionary requiredDictionaryOf(std::string_view selector, std::vector<RemoteValue> arguments);
    bool flagOf(std::string_view selector, std::vector<RemoteValue> arguments);

    std::unique_ptr<HelperTask> task_;  // outlives the connection
    std::unique_ptr<RootProxy> proxy_;
};

}  // namespace corvy
