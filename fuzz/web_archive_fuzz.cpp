// Web archives: their text has its line feeds, and every address in them is found.
#include <span>

#include "fuzz/fuzz_text.h"
#include "text/web_archive.h"

using namespace corvy;

namespace {

void check(const WebArchive& archive, const WebArchive& root) {
    if (archive.mainResource && archive.mainResource->URL) {
        const auto& url = archive.mainResource->URL;
        const WebArchive* found = root.subArchiveForURL(url);
        require(found && found->baseURL() == url && root.subresourceForURL(url));
    }
    for (const WebResource& resource : archive.subresources) {
        const WebResource* found = root.subresourceForURL(resource.URL);
        require(resource.URL ? found && found->URL == resource.URL : !found);
    }
    for (const WebArchive& frame : archive.subframeArchives) check(frame, root);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto archive =
        WebArchive::initWithData(Bytes::copyOf(std::as_bytes(std::span(data, size))));
    if (!archive) return 0;
    const SearchableText found = archive->searchableTextAndSource();
    require(found.text.empty() || found.text.starts_with(u"\n\n"));
    require(found.source == archive->documentSource());
    require(!found.source || found.text.size() >= 2);
    // Looking up takes all archives for each of them.
    if (size < 2048) check(*archive, *archive);
    return 0;
}
