// Text strings and dates of PDF documents.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/pdf_strings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::u16string text = corvy::platform::textOfPdfString(bytes);
    if (text.size() > bytes.size()) std::abort();
    if (!text.empty() && text.back() == 0) std::abort();
    if (const auto date = corvy::platform::dateOfPdfText(text)) {
        // From the year 0 to the year 9999, a day more for the zone.
        if (!(date->seconds > -62200000000.0 && date->seconds < 253500000000.0)) std::abort();
    }
    return 0;
}
