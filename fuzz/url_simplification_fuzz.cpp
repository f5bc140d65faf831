// Keys of addresses: a step never makes a text longer, most steps change nothing the second time,
// and an address has the key of its spelling in other cases.
#include <cstdint>

#include "foundation/url_simplification.h"
#include "fuzz/fuzz_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvy;
    const std::u16string text = fuzzText(data, size);
    for (const auto step :
         {simplifiedStringURL, stringURLWithoutAnchor, standardizedStringURL,
          stringURLByRemovingSessionIDs, stringURLByRemovingAnalytics,
          stringURLByRemovingEmptyParams, stringURLByRemovingIndexPages,
          stringURLByRemovingTrackingParameters, stringByReplacingStandardPercentEscapesOfURL}) {
        require(step(text).size() <= text.size());
    }
    for (const auto step : {stringURLWithoutAnchor, standardizedStringURL,
                            stringURLByRemovingAnalytics, stringURLByRemovingTrackingParameters}) {
        const std::u16string once = step(text);
        require(step(once) == once);
    }
    const std::u16string key = simplifiedStringURL(text);
    require(!key.ends_with(u'/') && !key.starts_with(u"https:"));
    require(isEqualToStringURL(text, text) &&
            isEqualToStringURL(text, text + u"/") == isEqualToStringURL(text + u"/", text));
    // A part of the parameters is never more than all of them.
    const std::u16string some =
        simplifiedStringURLByRemovingSessionIDs(text, {.sessionIDs = false, .indexPages = false});
    require(some.size() <= text.size());
    return 0;
}
