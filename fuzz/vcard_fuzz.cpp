// Content lines: each comes from lines of its own, nothing is made up, and separators part a value
// without losing any of it.
#include <cmath>
#include <cstdint>
#include <string_view>

#include "fuzz/fuzz_text.h"
#include "importers/support/content_lines.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using corvy::require;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    corvy::ContentLineReader reader(bytes);
    std::size_t left = 3 * size + 3;  // UTF-16 grows when it becomes UTF-8
    while (const auto line = reader.next()) {
        require(!line->name.empty() && line->name.find(':') == std::string::npos);
        require(line->name.size() + line->value.size() <= left);
        left -= line->name.size() + line->value.size();
        require(line->parameters.size() <= corvy::kMostParameters);
        require(line->value.size() <= corvy::kLongestContentLine);

        const std::u16string text = line->text();
        std::u16string joined;
        for (const std::u16string& part : line->parts(u';')) joined += part + u';';
        joined.pop_back();
        require(joined == text);

        if (const auto date = line->date()) {
            constexpr double kYear = 366 * 86400.0;
            require(std::isfinite(date->seconds) && std::abs(date->seconds) < 8031 * kYear);
        }
    }
    return 0;
}
