// Flat RTFD as anybody could hand it over: what is taken lies inside the bytes, under names that
// cannot leave a package, and is the same when it is written and read again.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/rich_text/rtfd.h"

using namespace corvy;
using namespace corvy::platform;

namespace {

void check(const FileNode& folder, const Bytes& bytes) {
    for (const FileNode& entry : folder.entries) {
        if (!isEntryName(entry.name)) std::abort();
        if (entry.isFolder) {
            check(entry, bytes);
        } else if (entry.contents.data() < bytes.data() ||
                   entry.contents.data() + entry.contents.size() > bytes.data() + bytes.size()) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes = Bytes::copyOf(std::as_bytes(std::span(data, size)));
    const auto folder = folderOfFlatRtfd(bytes);
    if (!folder) return 0;
    check(*folder, bytes);
    const auto again = flatRtfdOf(*folder, 0);
    if (!again || folderOfFlatRtfd(*again) != folder) std::abort();
    documentOfRtfd(bytes);
    return 0;
}
