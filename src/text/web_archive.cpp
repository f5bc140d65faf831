#include "text/web_archive.h"

#include <utility>

#include "foundation/text.h"
#include "markup/file_types.h"
#include "markup/markup_decoding.h"
#include "platform/property_list_reader.h"
#include "text/plain_text.h"

namespace corvy {

namespace {

constexpr std::u16string_view kFileTypes[] = {u"webarchive", u"WEBARCHIVE"};

std::optional<WebResource> resourceOf(const PropertyList& list) {
    const Dictionary* dictionary = list.dictionary();
    const PropertyList* data = dictionary ? dictionary->find(u"WebResourceData") : nullptr;
    if (!data || !data->bytes()) return std::nullopt;
    WebResource resource;
    resource.data = *data->bytes();
    auto address = stringOf(*dictionary, u"WebResourceURL");
    if (address && !address->empty()) resource.URL = Url{*std::move(address)};
    resource.MIMEType = stringOf(*dictionary, u"WebResourceMIMEType");
    resource.textEncodingName = stringOf(*dictionary, u"WebResourceTextEncodingName");
    return resource;
}

const Array* arrayOf(const Dictionary& dictionary, std::u16string_view key) {
    const PropertyList* value = dictionary.find(key);
    return value ? value->array() : nullptr;
}

class ArchiveBuilder {
public:
    std::optional<WebArchive> build(const PropertyList& list, std::size_t depth = 0) {
        const Dictionary* dictionary = list.dictionary();
        if (!dictionary || depth > kMaxFrameDepth) return std::nullopt;
        WebArchive archive;
        if (const PropertyList* main = dictionary->find(u"WebMainResource")) {
            archive.mainResource = resourceOf(*main);
        }
        if (depth > 0 && archive.mainResource) {
            const std::size_t size = archive.mainResource->data.size();
            if (size > frameBytes_) return std::nullopt;
            frameBytes_ -= size;
        }
        const Array* resources = arrayOf(*dictionary, u"WebSubresources");
        const Array* frames = arrayOf(*dictionary, u"WebSubframeArchives");
        if (!archive.mainResource && !resources && !frames) return std::nullopt;
        if (resources) {
            for (const PropertyList& element : *resources) {
                if (auto resource = resourceOf(element)) {
                    archive.subresources.push_back(*std::move(resource));
                }
            }
        }
        if (frames) {
            for (const PropertyList& element : *frames) {
                if (auto frame = build(element, depth + 1)) {
                    archive.subframeArchives.push_back(*std::move(frame));
                }
            }
        }
        return archive;
    }

private:
    std::size_t frameBytes_ = kMaxFrameBytes;  // that are left
};

std::optional<WebArchive> archiveOfFile(std::u16string_view path) {
    const auto list = platform::readPropertyListFile(path);
    return list ? ArchiveBuilder().build(*list) : std::nullopt;
}

// `source` is that of the archive's main resource.
void appendText(const WebArchive& archive, const std::optional<std::u16string>& source,
                std::u16string& text) {
    if (source) {
        text += u"\n\n";
        text += stringByConvertingHtml2PlainText(*source, {.reformat = true, .onlyBody = true});
    }
    for (const WebArchive& frame : archive.subframeArchives) frame.appendSearchableTextTo(text);
}

}  // namespace

std::optional<std::u16string> WebResource::documentSource() const {
    if (!MIMEType || !isMarkupMIMEType(*MIMEType)) return std::nullopt;
    MarkupDataOptions options;
    if (textEncodingName) options.encodingName = *textEncodingName;
    options.defaultEncoding = Encoding::kISO8859_1;
    return stringWithMarkupData(data, options);
}

std::optional<WebArchive> WebArchive::initWithData(const Bytes& bytes) {
    const auto list = platform::readPropertyList(bytes);
    return list ? ArchiveBuilder().build(*list) : std::nullopt;
}

std::optional<std::u16string> WebArchive::documentSource() const {
    return mainResource ? mainResource->documentSource() : std::nullopt;
}

std::optional<Url> WebArchive::baseURL() const {
    return mainResource ? mainResource->URL : std::nullopt;
}

std::u16string WebArchive::searchableText() const {
    return searchableTextAndSource().text;
}

SearchableText WebArchive::searchableTextAndSource() const {
    SearchableText result;
    result.source = documentSource();
    appendText(*this, result.source, result.text);
    return result;
}

void WebArchive::appendSearchableTextTo(std::u16string& text) const {
    appendText(*this, documentSource(), text);
}

const WebResource* WebArchive::subresourceForURL(const std::optional<Url>& url) const {
    if (!url) return nullptr;
    if (mainResource && mainResource->URL == url) return &*mainResource;
    for (const WebResource& resource : subresources) {
        if (resource.URL == url) return &resource;
    }
    for (const WebArchive& frame : subframeArchives) {
        if (const WebResource* found = frame.subresourceForURL(url)) return found;
    }
    return nullptr;
}

const WebArchive* WebArchive::subArchiveForURL(const std::optional<Url>& url) const {
    if (!url) return nullptr;
    if (mainResource && mainResource->URL == url) return this;
    for (const WebArchive& frame : subframeArchives) {
        if (const WebArchive* found = frame.subArchiveForURL(url)) return found;
    }
    return nullptr;
}

WebArchiveText searchableTextOfFile(std::u16string_view path) {
    const auto archive = archiveOfFile(path);
    if (!archive) return {};
    SearchableText found = archive->searchableTextAndSource();
    return {std::move(found.text), archive->baseURL(), std::move(found.source)};
}

WebArchiveSource documentSourceOfFile(std::u16string_view path) {
    const auto archive = archiveOfFile(path);
    if (!archive) return {};
    return {archive->documentSource(), archive->baseURL()};
}

std::span<const std::u16string_view> webArchiveFileTypes() {
    return kFileTypes;
}

bool isWebArchiveExtension(std::optional<std::u16string_view> extension) {
    return extension && equalNoCase(*extension, u"webarchive");
}

bool isWebArchiveFile(std::optional<std::u16string_view> path) {
    return path && isWebArchiveExtension(pathExtension(*path));
}

}  // namespace corvy
