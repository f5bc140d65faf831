#include "service/document_worker.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "foundation/url.h"
#include "markup/queries.h"
#include "platform/document_reader.h"
#include "platform/document_readers/office_converter.h"
#include "platform/rich_text/rtfd.h"
#include "platform/web_addresses.h"
#include "platform/web_loader.h"
#include "service/html_worker.h"
#include "service/rich_text_conversion.h"
#include "text/web_archive.h"

namespace corvy {

namespace {

namespace attribute = platform::document_attribute;

// Nobody asked for a document to be loaded from the web: it has what lies on this machine.
platform::WebLoaderOptions offlineOptions(bool readsFiles) {
    platform::WebLoaderOptions options;
    options.readsFiles = readsFiles;
    options.maySend = [](const Url& url, const Url*) {
        return platform::pathOfFileURL(url) || platform::resourceOfDataURL(url);
    };
    return options;
}

// What a web archive holds comes out of it, before anything else is asked.
class ArchiveLoader : public platform::ResourceLoader {
public:
    explicit ArchiveLoader(const WebArchive& archive) : archive_(archive) {}

    std::vector<std::optional<platform::Resource>> load(
        std::span<const platform::ResourceRequest> requests) override {
        std::vector<std::optional<platform::Resource>> answers;
        for (const platform::ResourceRequest& request : requests) {
            answers.push_back(find(request));
            if (!answers.back()) answers.back() = rest_.load({&request, 1}).front();
        }
        return answers;
    }

private:
    std::optional<platform::Resource> find(const platform::ResourceRequest& request) const {
        const WebResource* found = nullptr;
        if (request.kind == platform::ResourceKind::frame) {
            const WebArchive* frame = archive_.subArchiveForURL(request.url);
            if (frame != nullptr && frame->mainResource) found = &*frame->mainResource;
        }
        if (found == nullptr) found = archive_.subresourceForURL(request.url);
        if (found == nullptr) return std::nullopt;
        return platform::Resource{found->data, toUtf8(found->MIMEType.value_or(u"")),
                                  toUtf8(found->textEncodingName.value_or(u"")), request.url};
    }

    const WebArchive& archive_;
    platform::WebLoader rest_{offlineOptions(false)};
};

platform::RichDocument documentOfPage(const std::string& page, const std::optional<Url>& baseURL,
                                      platform::ResourceLoader& loader) {
    platform::RichDocument document;
    document.text = attributedTextOfPage(page, baseURL, loader);
    document.attributes.set(attribute::kType, platform::document_type::kHtml);
    const std::u16string markup = fromUtf8(page);
    const auto set = [&](const char16_t* key, const std::optional<std::u16string>& value) {
        if (value && !trimWhite(*value).empty()) document.attributes.set(key, trimWhite(*value));
    };
    set(attribute::kTitle, normalizedHtmlTitle(markup));
    set(attribute::kAuthor, htmlMetaAttributeWithName(markup, u"author"));
    set(attribute::kComment, htmlMetaAttributeWithName(markup, u"description"));
    return document;
}

std::optional<platform::RichDocument> documentOfHtml(const Bytes& bytes, const std::string& path) {
    const Url url = URLOfPath(std::filesystem::absolute(path).native());
    platform::WebLoader loader(offlineOptions(true));
    return documentOfPage(markupText(bytes), url, loader);
}

std::optional<platform::RichDocument> documentOfWebArchive(const Bytes& bytes) {
    const auto archive = WebArchive::initWithData(bytes);
    if (!archive || !archive->mainResource) return std::nullopt;
    const WebResource& main = *archive->mainResource;
    ArchiveLoader loader(*archive);
    auto document = documentOfPage(markupText(main.data, main.textEncodingName), main.URL, loader);
    document.attributes.set(attribute::kType, platform::document_type::kWebArchive);
    return document;
}

}  // namespace

std::optional<PropertyList> readDocumentFile(const Dictionary& arguments,
                                             platform::WorkerChannel& channel) {
    const auto argument = stringOf(arguments, rich_text_exchange::kPath);
    const auto path = argument ? bytesOfPath(*argument) : std::nullopt;
    if (!path) return std::nullopt;
    platform::DocumentReaders readers;
    readers.html = documentOfHtml;
    readers.webArchive = documentOfWebArchive;
    const bool mayUseOffice = arguments.contains(rich_text_exchange::kOffice);
    bool needsOffice = false;
    readers.converter = [&](const std::string& file) -> std::optional<Bytes> {
        if (mayUseOffice) return platform::rtfByOffice(file, channel.temporaryFolder());
        needsOffice = platform::canUseOffice(file);
        return std::nullopt;
    };
    auto document = platform::readDocument(*path, readers);
    if (needsOffice) return Dictionary{{rich_text_exchange::kOffice, true}};
    if (!document) return std::nullopt;
    auto rtfd = platform::rtfdOf(*document);
    if (!rtfd) return std::nullopt;
    Dictionary result;
    result.set(u"Rtfd", *std::move(rtfd));
    if (!document->attributes.empty()) {
        result.set(u"DocumentAttributes", std::move(document->attributes));
    }
    return result;
}

}  // namespace corvy
