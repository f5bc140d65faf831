// Dates: what is read lies within the years that can be written, and white space around it, case
// and what stands behind a bracket do not count.
#include <cstdint>

#include "foundation/date.h"
#include "foundation/system_log.h"
#include "fuzz/fuzz_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using corvy::require;
    static const corvy::LogSink before = corvy::setLogSink([](std::u16string_view) {});
    const std::u16string text = corvy::fuzzText(data, size);
    const auto header = corvy::dateFromHTTPHeaderValue(text);
    const auto date = corvy::date(text);
    for (const auto& found : {header, date}) {
        constexpr double kYear = 366 * 86400.0;
        require(!found || (found->seconds > -1971 * kYear && found->seconds < 8031 * kYear));
    }
    require(corvy::date(u" \n" + text) == date);
    require(corvy::date(text + u"\t(x") == date);
    std::u16string lower = text;
    for (char16_t& c : lower) {
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    }
    require(corvy::date(lower) == date);
    return 0;
}
