#include "service/html_worker.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/converters.h"
#include "foundation/latin_controls.h"
#include "foundation/text.h"
#include "markup/charset_names.h"
#include "markup/markup_charset.h"
#include "markup/markup_decoding.h"
#include "platform/html_import/html_importer.h"
#include "platform/rich_text/rtfd.h"
#include "platform/web_addresses.h"
#include "platform/web_loader.h"
#include "service/html_conversion.h"

namespace corvy {

namespace {

// A mark at its start says more of a text than anybody else can.
std::optional<std::string> textByMark(std::string_view bytes) {
    constexpr std::string_view kMark8 = "\xEF\xBB\xBF";
    if (bytes.starts_with(kMark8)) return std::string(bytes.substr(kMark8.size()));
    const auto wide = stringWithMarkedUtf16(std::as_bytes(std::span(bytes)));
    return wide ? std::optional(toUtf8(*wide)) : std::nullopt;
}

// UTF-16 without a mark, as two characters of ASCII at its start give it away.
std::optional<std::string> textOfWideUnits(std::string_view bytes) {
    constexpr std::size_t kUnits = 2;
    if (bytes.size() < 2 * kUnits) return std::nullopt;
    const bool isBig = bytes[0] == '\0';
    for (std::size_t i = 0; i < 2 * kUnits; ++i) {
        if ((bytes[i] == '\0') != (i % 2 == (isBig ? 0 : 1))) return std::nullopt;
    }
    return textByMark((isBig ? "\xFE\xFF" : "\xFF\xFE") + std::string(bytes));
}

// Which a page that says so in single bytes is not.
bool saysUtf16(std::string_view bytes) {
    constexpr std::size_t kHead = 4096;
    return markupEncoding(fromUtf8(bytes.substr(0, kHead))) == Encoding::kUTF16;
}

// By what the sender says, who knows better than a page that may have been converted since, as long
// as the bytes bear that out.
std::optional<std::u16string> textByName(std::span<const std::byte> data,
                                         std::u16string_view name) {
    Encoding encoding = CFEncodingFromName(name);
    if (encoding == Encoding::kInvalid || encoding == Encoding::kUTF16) return std::nullopt;
    if (encoding == Encoding::kASCII) encoding = Encoding::kWindows1252;
    auto decoded = tryToCreateStringWithEncoding(data, encoding);
    if (!decoded || decoded->replacements > 0) return std::nullopt;
    return std::move(decoded->text);
}

// By the transport, else by the rule that names it, else UTF-8.
std::string styleSheetText(std::span<const std::byte> data, std::string_view charset) {
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (auto marked = textByMark(bytes)) return *std::move(marked);
    constexpr std::string_view kRule = "@charset \"";
    if (charset.empty() && bytes.starts_with(kRule)) {
        charset = bytes.substr(kRule.size());
        charset = charset.substr(0, charset.find('"'));
    }
    const Encoding encoding = CFEncodingFromName(fromUtf8(charset));
    if (encoding == Encoding::kInvalid || encoding == Encoding::kUTF8) return std::string(bytes);
    const auto decoded = tryToCreateStringWithEncoding(data, encoding);
    return decoded ? toUtf8(decoded->text) : std::string(bytes);
}

platform::WebLoaderOptions loaderOptions(const Dictionary& arguments,
                                         const std::optional<Url>& base,
                                         platform::WorkerChannel& channel) {
    platform::WebLoaderOptions options;
    // A page of the web has no business with files of this machine.
    options.readsFiles = base && platform::pathOfFileURL(*base);
    const PropertyList* seconds = arguments.find(html_exchange::kLoadingTimeout);
    if (seconds) options.seconds = seconds->number().value_or(options.seconds);
    const PropertyList* asks = arguments.find(html_exchange::kAsks);
    if (!asks || !asks->boolean().value_or(true)) return options;
    options.onlyLocalAddresses = true;
    options.maySend = [&channel](const Url& url, const Url* redirectedFrom) {
        Dictionary question{{html_exchange::kURL, url}};
        if (redirectedFrom) question.set(html_exchange::kRedirectedFrom, *redirectedFrom);
        return channel.ask(std::move(question)).boolean().value_or(false);
    };
    return options;
}

}  // namespace

std::string markupText(std::span<const std::byte> data,
                       std::optional<std::u16string_view> charset) {
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (auto marked = textByMark(bytes)) return *std::move(marked);
    if (auto wide = textOfWideUnits(bytes)) return *std::move(wide);
    const bool isUtf8 = fromStrictUtf8(bytes).has_value();
    const bool isNamedUtf16 = charset && CFEncodingFromName(*charset) == Encoding::kUTF16;
    if (isUtf8 && (isNamedUtf16 || saysUtf16(bytes))) return std::string(bytes);

    auto text = charset ? textByName(data, *charset) : std::nullopt;
    if (!text) {
        MarkupDataOptions options;
        options.encodingName = charset;
        // What is not UTF-8 and says nothing of itself is most likely old and western.
        if (!isUtf8) options.defaultEncoding = Encoding::kWindows1252;
        text = stringWithMarkupData(data, options);
    }
    if (!text) return std::string(bytes);
    if (!isUtf8) std::ranges::transform(*text, text->begin(), readableUnit);
    return toUtf8(*text);
}

platform::AttributedText attributedTextOfPage(std::string_view page, std::optional<Url> baseURL,
                                              platform::ResourceLoader& loader) {
    platform::HtmlImportOptions options;
    options.baseURL = std::move(baseURL);
    options.loader = &loader;
    options.decode = [](std::span<const std::byte> bytes, std::string_view name,
                        platform::ResourceKind kind) {
        if (kind == platform::ResourceKind::styleSheet) return styleSheetText(bytes, name);
        const std::u16string wide = fromUtf8(name);
        return markupText(bytes,
                          name.empty() ? std::nullopt : std::optional<std::u16string_view>(wide));
    };
    return platform::attributedTextOfHtml(page, options);
}

std::optional<PropertyList> convertHtml(const Dictionary& arguments,
                                        platform::WorkerChannel& channel) {
    const PropertyList* html = arguments.find(html_exchange::kHtml);
    if (!html || !html->bytes()) return std::nullopt;
    const auto charset = stringOf(arguments, html_exchange::kCharset);

    std::optional<Url> baseURL;
    if (const PropertyList* base = arguments.find(html_exchange::kBaseURL)) {
        if (base->url()) baseURL = *base->url();
        if (base->string()) baseURL = Url{*base->string()};
    }
    platform::WebLoader loader(loaderOptions(arguments, baseURL, channel));
    const std::string page = markupText(*html->bytes(), charset);
    auto rtfd = platform::rtfdOf({attributedTextOfPage(page, baseURL, loader), {}});
    return rtfd ? std::optional<PropertyList>(*std::move(rtfd)) : std::nullopt;
}

}  // namespace corvy
