#include "service/html_conversion.h"

#include <chrono>
#include <utility>

#include "foundation/ascii_case.h"
#include "foundation/url.h"
#include "platform/web_addresses.h"

namespace corvy {

namespace {

// A page turned out to need the network that its worker has not.
struct NeedsNetwork {};

bool isOfTheWeb(const Url& url) {
    const UrlParts parts = partsOfURL(url.absoluteString);
    return parts.scheme && (equalsAsciiNoCase(*parts.scheme, u"http") ||
                            equalsAsciiNoCase(*parts.scheme, u"https"));
}

PropertyList answerTo(const PropertyList& question, bool hasNetwork,
                      const HtmlConversionContext& context) {
    const Dictionary* asked = question.dictionary();
    const PropertyList* value = asked ? asked->find(html_exchange::kURL) : nullptr;
    const Url* url = value ? value->url() : nullptr;
    if (!url || !context.willSendRequest) return false;
    const PropertyList* from = asked->find(html_exchange::kRedirectedFrom);
    const bool allowed = context.willSendRequest(*url, from ? from->url() : nullptr).has_value();
    if (allowed && !hasNetwork && isOfTheWeb(*url)) throw NeedsNetwork();
    return allowed;
}

}  // namespace

std::optional<Bytes> RTFDWithHTML(const Bytes& html, const HtmlRequest& request,
                                  const HtmlConversionContext& context) {
    if (html.empty()) return std::nullopt;
    platform::WorkerRequest work;
    work.family = html_exchange::kFamily;
    work.operation = html_exchange::kConvert;
    work.arguments.set(html_exchange::kHtml, html);
    work.arguments.set(html_exchange::kAsks, !request.allowRemoteRequest);
    work.arguments.set(html_exchange::kLoadingTimeout, kHtmlLoadingTimeout);
    const auto base = request.baseURL ? platform::baseURLForWebKit(*request.baseURL) : std::nullopt;
    if (base) work.arguments.set(html_exchange::kBaseURL, *base);
    if (request.charset && !request.charset->empty()) {
        work.arguments.set(html_exchange::kCharset, *request.charset);
    }
    work.limits.cpuSeconds = kHtmlTimeout;
    work.limits.wallSeconds = kHtmlTimeout;
    work.limits.network = request.allowRemoteRequest;
    work.runsContext = true;
    work.question = [&](const PropertyList& question) {
        return answerTo(question, work.limits.network, context);
    };
    const auto start = std::chrono::steady_clock::now();
    std::optional<PropertyList> result;
    try {
        result = context.runWorker(work);
    } catch (const NeedsNetwork&) {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        work.limits.network = true;
        work.limits.wallSeconds -= spent.count();
        work.arguments.set(html_exchange::kLoadingTimeout, kHtmlLoadingTimeout - spent.count());
        result = context.runWorker(work);
    }
    if (!result || !result->bytes()) return std::nullopt;
    return *result->bytes();
}

}  // namespace corvy
