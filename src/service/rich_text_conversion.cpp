#include "service/rich_text_conversion.h"

#include <string>

#include "foundation/text.h"
#include "platform/rich_text/rtfd_package.h"

namespace corvy {

namespace {

// Entries of other kinds make no file.
platform::FileNode folderOf(const Dictionary& entries) {
    platform::FileNode folder;
    folder.isFolder = true;
    for (const auto& [name, value] : entries) {
        platform::FileNode entry;
        if (const Dictionary* inner = value.dictionary()) {
            entry = folderOf(*inner);
        } else if (const Bytes* bytes = value.bytes()) {
            entry.contents = *bytes;
        } else {
            continue;
        }
        entry.name = name;
        folder.entries.push_back(std::move(entry));
    }
    return folder;
}

// Another program may take a quarter of a minute for what is none of our formats.
constexpr double kDocumentTimeout = 20;

}  // namespace

std::optional<Dictionary> attributedStringWithContentsOfFile(std::u16string_view path,
                                                             const RunWorker& runWorker) {
    platform::WorkerRequest request;
    request.family = rich_text_exchange::kFamily;
    request.operation = rich_text_exchange::kDocument;
    request.arguments.set(rich_text_exchange::kPath, path);
    request.limits.wallSeconds = kDocumentTimeout;
    auto document = runWorker(request);
    const auto entries = [&] { return document ? document->dictionary() : nullptr; };
    if (entries() && entries()->contains(rich_text_exchange::kOffice)) {
        request.arguments.set(rich_text_exchange::kOffice, true);
        request.limits.network = true;
        document = runWorker(request);
    }
    if (!entries()) return std::nullopt;
    return *entries();
}

bool writeRTFDData(const Bytes& rtfd, std::u16string_view toFile, const RunWorker& runWorker) {
    const auto path = bytesOfPath(toFile);
    if (!path) return false;
    platform::WorkerRequest request;
    request.family = rich_text_exchange::kFamily;
    request.operation = rich_text_exchange::kPackage;
    request.arguments.set(rich_text_exchange::kRtfd, rtfd);
    const auto package = runWorker(request);
    if (!package || package->dictionary() == nullptr) return false;
    return platform::writePackage(*path, folderOf(*package->dictionary())) == 0;
}

}  // namespace corvy
