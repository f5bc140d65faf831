// Flat RTFD as a helper could hand it over: what is taken lies inside the bytes, under names that
// cannot leave a package.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "tools/rtfd_package.h"

using namespace corvy::tools;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view flat(reinterpret_cast<const char*>(data), size);
    const auto entries = entriesOfFlatRtfd(flat);
    if (!entries) return 0;
    bool hasText = false;
    for (const RtfdEntry& entry : *entries) {
        const char* start = entry.contents.data();
        if (start < flat.data() || start + entry.contents.size() > flat.data() + size) std::abort();
        if (entry.name.find_first_of(std::string_view("/\0", 2)) != std::string::npos ||
            entry.name == "." || entry.name == "..") {
            std::abort();
        }
        hasText = hasText || entry.name == "TXT.rtf";
    }
    if (!hasText) std::abort();
    return 0;
}
