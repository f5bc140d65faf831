// HTML turned into flat RTFD.
//
// The service half: it says what the worker (html_worker.h) may load. The worker parses pages of
// strangers, so it runs without any network as long as nothing on the network is to be loaded.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

// How long resources may take to load, and the whole of a conversion, in seconds. The first leaves
// the time to convert what is there by then.
inline constexpr double kHtmlLoadingTimeout = 12;
inline constexpr double kHtmlTimeout = 15;

struct HtmlRequest {
    std::optional<Url> baseURL;
    bool allowRemoteRequest = false;
    std::optional<std::u16string> charset;
};

struct HtmlConversionContext {
    // Runs a worker's operation; the pool's `run`.
    std::function<std::optional<PropertyList>(const platform::WorkerRequest&)> runWorker = {};
    // Decides on each request, and on each redirect with the address that it came from: the request
    // to send, or none. Asked only when remote requests are not allowed.
    std::function<std::optional<Url>(const Url& request, const Url* redirectedFrom)>
        willSendRequest = {};
};

// None without bytes, and when the conversion fails or takes too long. Runs the main context while
// it waits.
std::optional<Bytes> RTFDWithHTML(const Bytes& html, const HtmlRequest& request,
                                  const HtmlConversionContext& context);

// What service and worker say to each other.
namespace html_exchange {
inline constexpr const char* kFamily = "richtext";
inline constexpr const char* kConvert = "RTFDWithHTML";  // its result: flat RTFD
// Arguments.
inline constexpr const char16_t* kHtml = u"html";        // bytes
inline constexpr const char16_t* kBaseURL = u"baseURL";  // address, when there is one
inline constexpr const char16_t* kCharset = u"charset";  // name, when there is one
inline constexpr const char16_t* kAsks = u"asks";        // flag: a question before each request
inline constexpr const char16_t* kLoadingTimeout = u"loadingTimeout";  // seconds
// A question; the answer is a flag.
inline constexpr const char16_t* kURL = u"url";
inline constexpr const char16_t* kRedirectedFrom = u"redirectedFrom";  // of a redirect
}  // namespace html_exchange

}  // namespace corvy
