#include "service/corvy_stack_helper.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "client/im_export.h"
#include "platform/library_versions.h"
#include "platform/web_addresses.h"
#include "service/movie_conversion.h"
#include "service/rich_text_conversion.h"
#include "text/web_archive.h"

namespace corvy {

namespace {

// Reads the arguments of one call in their order. An object that is nil leaves its variable empty.
class ArgumentReader {
public:
    ArgumentReader(const RemoteMethod& method, const std::vector<RemoteValue>& arguments)
        : method_(method), arguments_(arguments) {}

    std::optional<std::u16string> string() {
        return object<std::u16string>("a string", &PropertyList::string);
    }
    std::optional<Bytes> bytes() { return object<Bytes>("bytes", &PropertyList::bytes); }
    std::optional<Url> url() { return object<Url>("an address", &PropertyList::url); }
    bool flag() {
        const RemoteValue& value = next();
        return value && value->boolean().value_or(false);
    }
    std::int64_t size() {
        const RemoteValue& value = next();
        return value ? value->integer().value_or(0) : 0;
    }

private:
    const RemoteValue& next() { return arguments_.at(index_++); }

    template <typename T>
    std::optional<T> object(const char* wanted, const T* (PropertyList::*get)() const) {
        const RemoteValue& value = next();
        if (!value) return std::nullopt;
        if (const T* held = ((*value).*get)()) return *held;
        throw std::invalid_argument(method_.selector + " takes " + wanted + " as " +
                                    method_.arguments[index_ - 1].name);
    }

    const RemoteMethod& method_;
    const std::vector<RemoteValue>& arguments_;
    std::size_t index_ = 0;
};

// The program corvystack-worker-NAME of each is one family of foreign libraries.
constexpr const char* kWorkerFamilies[] = {"image", "movie", "pdf", "richtext"};

void removeNullEntries(Dictionary& dictionary) {
    std::vector<std::u16string> keys;
    for (const auto& [key, value] : dictionary) {
        if (value.isNull()) keys.push_back(key);
    }
    for (const std::u16string& key : keys) dictionary.remove(key);
}

template <typename T>
RemoteValue remoteValue(std::optional<T> result) {
    if (!result) return std::nullopt;
    return PropertyList(std::move(*result));
}

using Invocation = RemoteValue (*)(CorvyStackHelper&, ArgumentReader&);

// In the order of the protocol's methods.
constexpr Invocation kInvocations[] = {
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        return path ? remoteValue(helper.PDFImageRepOfFile(*path)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        ImageRequest request;
        request.maxThumbnailSize = in.size();
        request.alwaysFromImage = in.flag();
        request.stringFromPDF = in.flag();
        request.canUseSpotlight = in.flag();
        return path ? remoteValue(helper.imageWithContentsOfFile(*path, request)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const bool attributed = in.flag();
        const auto pdf = in.bytes();
        return pdf ? remoteValue(helper.attributedStringWithPDF(attributed, *pdf)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        // No path is one that cannot be opened.
        return PropertyList(helper.posterImageForMovieWithFile(path ? *path : std::u16string()));
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        return path ? remoteValue(helper.attributedStringWithContentsOfFile(*path)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        return PropertyList(path ? helper.searchableTextOfWebArchive(*path) : Dictionary());
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto rtfd = in.bytes();
        const auto path = in.string();
        return PropertyList(rtfd && path && helper.writeRTFDData(*rtfd, *path));
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto html = in.bytes();
        HtmlRequest request;
        request.baseURL = in.url();
        request.allowRemoteRequest = in.flag();
        request.charset = in.string();
        return html ? remoteValue(helper.RTFDWithHTML(*html, request)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        return path ? remoteValue(helper.metaDataForFile(*path)) : std::nullopt;
    },
    [](CorvyStackHelper& helper, ArgumentReader& in) -> RemoteValue {
        const auto path = in.string();
        return PropertyList(path && helper.supportsFile(*path));
    },
};

}  // namespace

CorvyStackHelper::CorvyStackHelper(std::string workerFolder)
    : workers_(std::move(workerFolder)),
      mdimporter_(std::make_unique<MetaDataImporter>(std::make_unique<WorkerImporterHost>(
          [this](const platform::WorkerRequest& request) { return workers_.run(request); }))) {}

CorvyStackHelper::~CorvyStackHelper() = default;

PdfConversionContext CorvyStackHelper::pdfContext() {
    return {.runWorker =
                [this](const platform::WorkerRequest& request) { return workers_.run(request); },
            .textContentOfFileAtPath =
                [this](const std::u16string& path) {
                    return mdimporter_->textContentOfFileAtPath(path);
                }};
}

ImageConversionContext CorvyStackHelper::imageContext() {
    return {.runWorker =
                [this](const platform::WorkerRequest& request) { return workers_.run(request); },
            .convertPdf =
                [this](const Bytes& pdf, const ImageConversionContext::PdfText& options) {
                    return ::corvy::attributedStringWithPDF(
                        pdf, {.file = options.file, .size = options.size}, pdfContext());
                }};
}

std::optional<Bytes> CorvyStackHelper::PDFImageRepOfFile(std::u16string_view path) {
    return ::corvy::PDFImageRepOfFile(path, imageContext());
}

std::optional<Dictionary> CorvyStackHelper::imageWithContentsOfFile(std::u16string_view path,
                                                                    const ImageRequest& request) {
    return ::corvy::imageWithContentsOfFile(path, request, imageContext());
}

std::optional<Dictionary> CorvyStackHelper::attributedStringWithPDF(bool attributed,
                                                                    const Bytes& pdf) {
    return ::corvy::attributedStringWithPDF(pdf, {.attributed = attributed}, pdfContext());
}

Dictionary CorvyStackHelper::posterImageForMovieWithFile(std::u16string_view path) {
    MovieConversionContext context;
    context.runWorker = [this](const platform::WorkerRequest& request) {
        return workers_.run(request);
    };
    context.clock = monotonicSeconds;
    return ::corvy::posterImageForMovieWithFile(path, context);
}

std::optional<Dictionary> CorvyStackHelper::attributedStringWithContentsOfFile(
    std::u16string_view path) {
    return ::corvy::attributedStringWithContentsOfFile(
        path, [this](const platform::WorkerRequest& request) { return workers_.run(request); });
}

Dictionary CorvyStackHelper::searchableTextOfWebArchive(std::u16string_view path) {
    WebArchiveText archive;
    try {
        archive = searchableTextOfFile(path);
    } catch (const std::bad_alloc&) {
        // A file too large for this machine is one that cannot be read.
    }
    Dictionary result;
    if (archive.text) result.set(u"String", *std::move(archive.text));
    if (archive.source) result.set(u"Source", *std::move(archive.source));
    if (archive.baseURL) result.set(u"URL", std::move(archive.baseURL->absoluteString));
    return result;
}

bool CorvyStackHelper::writeRTFDData(const Bytes& rtfd, std::u16string_view path) {
    return ::corvy::writeRTFDData(rtfd, path, [this](const platform::WorkerRequest& request) {
        return workers_.run(request);
    });
}

std::optional<Bytes> CorvyStackHelper::RTFDWithHTML(const Bytes& html, const HtmlRequest& request) {
    HtmlConversionContext context;
    context.runWorker = [this](const platform::WorkerRequest& work) { return workers_.run(work); };
    context.willSendRequest = [this](const Url& url, const Url* redirectedFrom) {
        return webView(url, redirectedFrom);
    };
    return ::corvy::RTFDWithHTML(html, request, context);
}

std::optional<Url> CorvyStackHelper::webView(const Url& willSendRequest, const Url*) {
    if (!platform::isLocalURL(willSendRequest)) return std::nullopt;
    return willSendRequest;
}

std::optional<Dictionary> CorvyStackHelper::metaDataForFile(std::u16string_view path) {
    auto metadata = mdimporter_->metaDataOfFileAtPath(path);
    if (metadata) removeNullEntries(*metadata);
    return metadata;
}

bool CorvyStackHelper::supportsFile(std::u16string_view path) {
    return mdimporter_->supportsFileAtPath(path);
}

Dictionary CorvyStackHelper::libraries() {
    Dictionary all = platform::serviceLibraries();
    for (const char* family : kWorkerFamilies) {
        platform::WorkerRequest request;
        request.family = family;
        request.operation = "libraries";
        const auto answer = workers_.run(request);
        if (answer && answer->dictionary()) all.addEntries(*answer->dictionary());
    }
    return all;
}

RemoteValue CorvyStackHelper::invoke(const RemoteMethod& method,
                                     const std::vector<RemoteValue>& arguments) {
    const std::vector<RemoteMethod>& methods = CorvyImExport().methods;
    static_assert(std::size(kInvocations) == 10);
    const RemoteMethod* known = CorvyImExport().methodForSelector(method.selector);
    if (!known) throw std::invalid_argument("no operation " + method.selector);
    ArgumentReader reader(method, arguments);
    return kInvocations[known - methods.data()](*this, reader);
}

}  // namespace corvy
