// Addresses: the normal form is printable ASCII and its own normal form, and what a reference is
// resolved to has a scheme.
#include <algorithm>
#include <cstdint>
#include <string>

#include "foundation/text.h"
#include "foundation/url.h"
#include "fuzz/fuzz_text.h"

using corvy::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = corvy::fromUtf8({reinterpret_cast<const char*>(data), size});
    const std::size_t line = std::min(text.find(u'\n'), text.size());
    const std::u16string address = text.substr(0, line);
    const std::u16string reference = text.substr(std::min(line + 1, text.size()));

    corvy::isRemoteWebKitStringURL(address);
    const auto normal = corvy::normalizedStringURL(address);
    if (!normal) return 0;
    for (const char16_t c : *normal) require(c > 0x20 && c < 0x7F);
    require(corvy::normalizedStringURL(*normal) == normal);
    const auto url = corvy::URLWithNormalizedStringURL(*normal);
    require(url.has_value());
    if (const auto target = corvy::URLRelativeTo(*url, reference)) {
        require(corvy::partsOfURL(target->absoluteString).scheme.has_value());
        require(corvy::URLWithNormalizedStringURL(target->absoluteString).has_value());
    }
    return 0;
}
