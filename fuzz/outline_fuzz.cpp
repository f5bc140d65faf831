// The outliner's documents, packed or not.
#include <span>

#include "fuzz/fuzz_text.h"
#include "metadata/fallback_texts.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvy::Bytes file = corvy::Bytes::copyOf(std::as_bytes(std::span(data, size)));
    corvy::textOfOutline(file);
    constexpr std::size_t kLongest = 1000;
    const auto bytes = corvy::inflated(file, kLongest);
    corvy::require(!bytes || bytes->size() <= kLongest);
    return 0;
}
