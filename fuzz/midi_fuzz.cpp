// MIDI files: whatever the bytes are, the duration is a number, and only files with the signature
// have one.
#include <cmath>
#include <cstdint>
#include <span>

#include "fuzz/fuzz_text.h"
#include "platform/midi.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvy;
    const auto bytes = std::as_bytes(std::span(data, size));
    const auto seconds = platform::midiDuration(bytes);
    if (!seconds) return 0;
    require(platform::hasMidiSignature(bytes));
    require(std::isfinite(*seconds) && *seconds >= 0);
    return 0;
}
