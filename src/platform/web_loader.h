// Loads what pages refer to: files, data: addresses, and the web through libcurl.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/html_import/resource_loader.h"

namespace corvy::platform {

struct WebLoaderOptions {
    // Asked before each request, and again for each redirect with the address that it came from. A
    // request that it refuses is not sent. Empty: all are allowed.
    std::function<bool(const Url& url, const Url* redirectedFrom)> maySend = {};
    // Connections only to this machine and to networks that it is attached to, whatever names
    // resolve to.
    bool onlyLocalAddresses = false;
    bool readsFiles = false;           // file: addresses
    double seconds = 12;               // for all loads together, from when the loader is made
    std::size_t mostBytes = 32 << 20;  // of one resource
    std::size_t mostBytesInAll = 256 << 20;
    int mostRedirects = 10;
};

class WebLoader : public ResourceLoader {
public:
    explicit WebLoader(WebLoaderOptions options);

    // Several connections at a time; an address that was loaded before is not loaded again.
    std::vector<std::optional<Resource>> load(std::span<const ResourceRequest> requests) override;

private:
    friend class WebTransfers;

    bool isAllowed(const Url& url, const Url* redirectedFrom) const;
    std::optional<Resource> loadFile(const Url& url);
    std::optional<Resource> take(std::optional<Resource> resource);
    double secondsLeft() const;

    WebLoaderOptions options_;
    std::chrono::steady_clock::time_point start_;
    std::size_t loaded_ = 0;  // bytes
    std::unordered_map<std::u16string, std::optional<Resource>> known_;
};

// The bytes of a data: address; none for any other.
std::optional<Resource> resourceOfDataURL(const Url& url);

// Once, before the first loader: what is opened then is not opened again.
void prepareWebLibrary();
// For the status.
std::string webLibraryVersion();

}  // namespace corvy::platform
