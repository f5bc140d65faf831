#include "service/pdf_worker.h"

#include <cstdint>
#include <string>
#include <utility>

#include "foundation/size_string.h"
#include "platform/pdf_document.h"
#include "platform/rich_text/rtfd.h"
#include "service/pdf_conversion.h"

namespace corvy {

namespace {

using platform::PdfDocument;

// Text of pages on its way to the service. Pages go out one by one, so that one that breaks the
// process takes no other with it; only pages that are made faster than they are sent wait for each
// other, once a document has shown that it is long.
class TextSender {
public:
    explicit TextSender(platform::WorkerChannel& channel)
        : channel_(channel), lastSent_(monotonicSeconds()) {}

    void add(std::u16string_view text) {
        waiting_ += text;
        if (sent_ < kFirstPages || monotonicSeconds() - lastSent_ >= kLeastInterval) send();
    }

    void send() {
        if (waiting_.empty()) return;
        channel_.sendPart(std::exchange(waiting_, {}));
        lastSent_ = monotonicSeconds();
        ++sent_;
    }

private:
    static constexpr int kFirstPages = 16;
    static constexpr double kLeastInterval = 0.0002;  // seconds

    platform::WorkerChannel& channel_;
    std::u16string waiting_;
    double lastSent_;
    int sent_ = 0;
};

std::optional<PdfDocument> openArgument(const Dictionary& arguments) {
    const PropertyList* pdf = arguments.find(pdf_exchange::kPdf);
    if (pdf == nullptr || pdf->bytes() == nullptr) return std::nullopt;
    return PdfDocument::open(pdf->bytes()->span());
}

bool flag(const Dictionary& arguments, std::u16string_view key) {
    const PropertyList* value = arguments.find(key);
    return value != nullptr && value->boolean().value_or(false);
}

Dictionary factsOf(const PdfDocument& document) {
    Dictionary facts;
    if (document.isLocked()) facts.set(pdf_exchange::kLocked, true);
    const std::size_t pageCount = document.pageCount();
    facts.set(pdf_exchange::kPageCount, static_cast<std::int32_t>(pageCount));
    if (auto attributes = document.documentAttributes()) {
        facts.set(pdf_exchange::kAttributes, std::move(*attributes));
    }
    if (pageCount > 0) {
        if (const auto box = document.mediaBoxSize(0)) {
            facts.set(pdf_exchange::kMediaBox, sizeString(*box));
        }
    }
    return facts;
}

std::optional<std::u16string> producerOf(const Dictionary& facts) {
    const PropertyList* attributes = facts.find(pdf_exchange::kAttributes);
    if (attributes == nullptr || attributes->dictionary() == nullptr) return std::nullopt;
    return stringOf(*attributes->dictionary(), u"Producer");
}

}  // namespace

std::optional<PropertyList> convertPdf(const Dictionary& arguments,
                                       platform::WorkerChannel& channel) {
    std::optional<PdfDocument> document = openArgument(arguments);
    if (!document) return std::nullopt;
    const Dictionary facts = factsOf(*document);
    channel.sendPart(facts);
    if (document->isLocked()) return Dictionary();

    if (flag(arguments, pdf_exchange::kAttributed)) {
        std::optional<Bytes> rtfd = platform::rtfdOf({document->attributedText(), {}});
        if (!rtfd) return std::nullopt;
        return Dictionary{{pdf_exchange::kRtfd, *std::move(rtfd)}};
    }
    if (flag(arguments, pdf_exchange::kImporter) && !skipsImporter(producerOf(facts))) {
        return Dictionary{{pdf_exchange::kAskImporter, true}};
    }
    TextSender sender(channel);
    const PageSource pages{document->pageCount(),
                           [&document](std::size_t index) { return document->textOfPage(index); }};
    fixedAndNormalizedPages(pages, kPdfTextTimeout,
                            [&sender](std::u16string_view text) { sender.add(text); });
    sender.send();
    return Dictionary();
}

std::optional<PropertyList> infoOfPdf(const Dictionary& arguments, platform::WorkerChannel&) {
    const std::optional<PdfDocument> document = openArgument(arguments);
    if (!document) return std::nullopt;
    return factsOf(*document);
}

}  // namespace corvy
