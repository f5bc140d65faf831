#include "platform/web_loader.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/ascii_case.h"
#include "foundation/descriptor.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/reachability.h"
#include "platform/web_addresses.h"

namespace corvy::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kConnections = 6;
constexpr double kConnectSeconds = 5;
constexpr const char* kUserAgent = "Mozilla/5.0 (X11; Linux) CorvyStack/" CORVY_VERSION;

struct EasyCloser {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MultiCloser {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};

bool hasScheme(const Url& url, std::u16string_view name) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    return parts.scheme && equalsAsciiNoCase(*parts.scheme, name);
}
bool isOfTheWeb(const Url& url) {
    return hasScheme(url, u"http") || hasScheme(url, u"https");
}

// "text/css; charset=utf-8", into its parts in lower case.
void readContentType(std::string_view header, Resource& resource) {
    std::string text(header);
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    const std::size_t end = text.find_first_of("; \t");
    resource.mimeType = text.substr(0, end);
    const std::size_t name = text.find("charset=");
    if (name == std::string::npos) return;
    std::string charset = text.substr(name + 8);
    std::erase(charset, '"');
    resource.charset = charset.substr(0, charset.find_first_of("; \t"));
}

std::vector<std::byte> bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

}  // namespace

// The transfers of one load.
class WebTransfers {
public:
    explicit WebTransfers(WebLoader& loader) : loader_(loader), multi_(curl_multi_init()) {}
    ~WebTransfers() {
        for (const auto& transfer : running_) {
            curl_multi_remove_handle(multi_.get(), transfer->handle.get());
        }
    }
    WebTransfers(const WebTransfers&) = delete;
    WebTransfers& operator=(const WebTransfers&) = delete;

    void add(const Url& url) { waiting_.push_back(url); }

    // Until all have ended, or time is up.
    void run() {
        while (multi_ && loader_.secondsLeft() > 0) {
            while (running_.size() < kConnections && !waiting_.empty()) {
                start(std::make_unique<Transfer>(waiting_.front()));
                waiting_.pop_front();
            }
            if (running_.empty()) return;
            int count = 0;
            if (curl_multi_perform(multi_.get(), &count) != CURLM_OK) return;
            int messages = 0;
            while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &messages)) {
                if (message->msg == CURLMSG_DONE)
                    finish(message->easy_handle, message->data.result);
            }
            // Waiting for nothing takes its full time.
            if (running_.empty() || (running_.size() < kConnections && !waiting_.empty())) continue;
            const double wait = std::min(loader_.secondsLeft(), 1.0);
            curl_multi_poll(multi_.get(), nullptr, 0, std::max(1, static_cast<int>(wait * 1000)),
                            nullptr);
        }
    }

private:
    struct Transfer {
        explicit Transfer(Url url) : asked(url), at(std::move(url)) {}
        Url asked;
        Url at;  // after redirects
        int redirects = 0;
        std::size_t mostBytes = 0;
        std::string body;
        std::unique_ptr<CURL, EasyCloser> handle;
    };

    static std::size_t receive(char* data, std::size_t, std::size_t size, void* context) {
        auto& transfer = *static_cast<Transfer*>(context);
        if (transfer.body.size() + size > transfer.mostBytes) return 0;
        transfer.body.append(data, size);
        return size;
    }

    static curl_socket_t openLocalSocket(void*, curlsocktype, curl_sockaddr* address) {
        constexpr std::uint32_t kLocal = kIsLocalAddress | kIsDirect;
        if ((connectionFlagsForAddress(address->addr) & kLocal) == 0) return CURL_SOCKET_BAD;
        return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    }

    void start(std::unique_ptr<Transfer> transfer) {
        transfer->handle.reset(curl_easy_init());
        transfer->body.clear();
        CURL* handle = transfer->handle.get();
        if (!handle) return;
        const WebLoaderOptions& options = loader_.options_;
        transfer->mostBytes = std::min(options.mostBytes, options.mostBytesInAll - loader_.loaded_);
        const auto milliseconds = [](double seconds) { return static_cast<long>(seconds * 1000); };
        const std::string address = toUtf8(transfer->at.absoluteString);
        curl_easy_setopt(handle, CURLOPT_URL, address.c_str());
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
        curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
        curl_easy_setopt(handle, CURLOPT_USERAGENT, kUserAgent);
        curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, milliseconds(loader_.secondsLeft()) + 1);
        curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(kConnectSeconds));
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &WebTransfers::receive);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, transfer.get());
        if (options.onlyLocalAddresses) {
            // A proxy would connect for us, to wherever it likes.
            curl_easy_setopt(handle, CURLOPT_PROXY, "");
            curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, &WebTransfers::openLocalSocket);
        }
        if (curl_multi_add_handle(multi_.get(), handle) == CURLM_OK) {
            running_.push_back(std::move(transfer));
        }
    }

    void finish(CURL* handle, CURLcode result) {
        const auto found = std::find_if(running_.begin(), running_.end(), [&](const auto& each) {
            return each->handle.get() == handle;
        });
        std::unique_ptr<Transfer> transfer = std::move(*found);
        running_.erase(found);
        curl_multi_remove_handle(multi_.get(), handle);
        if (result != CURLE_OK) return;
        const char* target = nullptr;
        curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &target);
        if (target) return follow(std::move(transfer), Url{fromUtf8(target)});
        Resource resource;
        const char* type = nullptr;
        curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &type);
        if (type) readContentType(type, resource);
        resource.url = transfer->at;
        resource.bytes = Bytes(bytesOf(transfer->body));
        loader_.known_[transfer->asked.absoluteString] = loader_.take(std::move(resource));
    }

    void follow(std::unique_ptr<Transfer> transfer, const Url& target) {
        const auto url = URLRelativeTo(transfer->at, target.absoluteString);
        if (!url || !isOfTheWeb(*url) || ++transfer->redirects > loader_.options_.mostRedirects ||
            !loader_.isAllowed(*url, &transfer->at)) {
            return;
        }
        transfer->at = *url;
        start(std::move(transfer));
    }

    WebLoader& loader_;
    std::unique_ptr<CURLM, MultiCloser> multi_;
    std::deque<Url> waiting_;
    std::vector<std::unique_ptr<Transfer>> running_;
};

WebLoader::WebLoader(WebLoaderOptions options)
    : options_(std::move(options)), start_(Clock::now()) {}

double WebLoader::secondsLeft() const {
    return options_.seconds - std::chrono::duration<double>(Clock::now() - start_).count();
}

bool WebLoader::isAllowed(const Url& url, const Url* redirectedFrom) const {
    return !options_.maySend || options_.maySend(url, redirectedFrom);
}

// Counts it; none when it is too much.
std::optional<Resource> WebLoader::take(std::optional<Resource> resource) {
    if (!resource || resource->bytes.size() > options_.mostBytes ||
        resource->bytes.size() > options_.mostBytesInAll - loaded_) {
        return std::nullopt;
    }
    loaded_ += resource->bytes.size();
    return resource;
}

std::vector<std::optional<Resource>> WebLoader::load(std::span<const ResourceRequest> requests) {
    WebTransfers transfers(*this);
    for (const ResourceRequest& request : requests) {
        std::u16string key = request.url.absoluteString;
        key.erase(std::min(key.find(u'#'), key.size()));
        const auto [entry, isNew] = known_.try_emplace(key);
        const Url url{key};
        if (!isNew || secondsLeft() <= 0 || !isAllowed(url, nullptr)) continue;
        if (isOfTheWeb(url)) {
            transfers.add(url);
        } else if (hasScheme(url, u"data")) {
            entry->second = take(resourceOfDataURL(url));
        } else if (options_.readsFiles) {
            entry->second = take(loadFile(url));
        }
    }
    transfers.run();
    std::vector<std::optional<Resource>> results;
    for (const ResourceRequest& request : requests) {
        std::u16string key = request.url.absoluteString;
        key.erase(std::min(key.find(u'#'), key.size()));
        results.push_back(known_[key]);
    }
    return results;
}

std::optional<Resource> WebLoader::loadFile(const Url& url) {
    const auto path = pathOfFileURL(url);
    if (!path) return std::nullopt;
    // A pipe must not make anybody wait.
    const Descriptor file(::open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat facts {};
    if (file.get() < 0 || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        static_cast<std::size_t>(facts.st_size) > options_.mostBytes) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes(static_cast<std::size_t>(facts.st_size));
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return Resource{Bytes(std::move(bytes)), {}, {}, url};
}

std::optional<Resource> resourceOfDataURL(const Url& url) {
    if (!hasScheme(url, u"data")) return std::nullopt;
    const std::string address = toUtf8(url.absoluteString);
    const std::size_t comma = address.find(',');
    if (comma == std::string::npos) return std::nullopt;
    std::string type = address.substr(5, comma - 5);
    Resource resource;
    resource.url = url;
    std::string content = bytesOfEscapedPath(fromUtf8(std::string_view(address).substr(comma + 1)));
    constexpr std::string_view kBase64 = ";base64";
    if (type.size() >= kBase64.size() && endsWithAsciiNoCase(fromUtf8(type), fromUtf8(kBase64))) {
        type.erase(type.size() - kBase64.size());
        auto bytes = bytesOfBase64(content);
        if (!bytes) return std::nullopt;
        content = *std::move(bytes);
    }
    readContentType(type, resource);
    resource.bytes = Bytes(bytesOf(content));
    return resource;
}

void prepareWebLibrary() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

std::string webLibraryVersion() {
    return curl_version_info(CURLVERSION_NOW)->version;
}

}  // namespace corvy::platform
