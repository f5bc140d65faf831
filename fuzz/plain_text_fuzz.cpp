// HTML to plain text under all switches: the same wherever the page lies, never longer than it may
// be.
#include <cstdint>

#include "foundation/system_log.h"
#include "fuzz/fuzz_text.h"
#include "text/plain_text.h"
#include "text/plain_text_context.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const corvy::LogCapture log;
    const auto bit = [switches = data[0]](unsigned i) { return (switches >> i & 1) != 0; };
    const corvy::PlainTextOptions options = {bit(0), bit(1), bit(2), bit(3),
                                             bit(4), bit(5), bit(6), bit(7)};
    const std::u16string html = corvy::fuzzText(data + 1, size - 1);
    const std::u16string text = corvy::stringByConvertingHtml2PlainText(html, options);
    corvy::require(text.size() <= corvy::plainTextCapacity(html.size()));
    // In front of other text, and at an odd place.
    const std::u16string longer = u"." + html + u"&<>  \n";
    const std::u16string_view inside = std::u16string_view(longer).substr(1, html.size());
    corvy::require(corvy::stringByConvertingHtml2PlainText(inside, options) == text);
    const std::u16string simple = corvy::stringByConvertingHtml2SimplifiedPlainText(html);
    corvy::require(simple.size() <= corvy::plainTextCapacity(html.size()));
    corvy::require(log.entries().empty());
    return 0;
}
