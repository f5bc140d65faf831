// PostScript's header and comments: a box has an area, and what is found lies in the file.
#include <cmath>
#include <cstdlib>

#include "platform/post_script.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvy::platform;
    const std::span file(reinterpret_cast<const std::byte*>(data), size);
    const auto postScript = postScriptIn(file);
    if (!postScript.empty() && (postScript.data() < file.data() ||
                                postScript.data() + postScript.size() > file.data() + size)) {
        std::abort();
    }
    const auto box = boundingBoxSize(postScript);
    if (box && !(box->width > 0 && box->height > 0 && std::isfinite(box->width) &&
                 std::isfinite(box->height))) {
        std::abort();
    }
    return 0;
}
