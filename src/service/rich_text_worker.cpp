#include "service/rich_text_worker.h"

#include <utility>

#include "platform/rich_text/rtfd.h"
#include "service/rich_text_conversion.h"

namespace corvy {

namespace {

Dictionary dictionaryOf(const platform::FileNode& folder) {
    Dictionary entries;
    for (const platform::FileNode& entry : folder.entries) {
        if (entry.isFolder) {
            entries.set(entry.name, dictionaryOf(entry));
        } else {
            entries.set(entry.name, entry.contents);
        }
    }
    return entries;
}

}  // namespace

std::optional<PropertyList> packageOfRtfd(const Dictionary& arguments, platform::WorkerChannel&) {
    const PropertyList* rtfd = arguments.find(rich_text_exchange::kRtfd);
    if (rtfd == nullptr || rtfd->bytes() == nullptr) return std::nullopt;
    const auto document = platform::documentOfRtfd(*rtfd->bytes());
    if (!document) return std::nullopt;
    return dictionaryOf(platform::rtfdFolderOf(*document));
}

}  // namespace corvy
