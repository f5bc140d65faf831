#include "metadata/importer_host.h"

#include <utility>

#include "metadata/importer_exchange.h"

namespace corvy {

namespace {

constexpr std::uint64_t kMostOutput = std::uint64_t{512} << 20;      // bytes
constexpr std::uint64_t kMostAddressSpace = std::uint64_t{2} << 30;  // bytes

}  // namespace

platform::WorkerRequest WorkerImporterHost::requestTo(const std::u16string& plugIn,
                                                      const char* operation) const {
    platform::WorkerRequest request;
    request.family = importer_exchange::kFamily;
    request.subject = plugIn;
    request.operation = operation;
    request.arguments.set(importer_exchange::kPlugIn, plugIn);
    request.limits.addressSpace = kMostAddressSpace;
    request.limits.cpuSeconds = timeout_;
    request.limits.wallSeconds = timeout_;
    request.limits.output = kMostOutput;
    return request;
}

bool WorkerImporterHost::offersInterface(const std::u16string& plugIn) {
    const auto answer = runWorker_(requestTo(plugIn, importer_exchange::kOffersInterface));
    return answer && answer->boolean().value_or(false);
}

std::optional<Dictionary> WorkerImporterHost::attributesOf(const ImporterCall& call) {
    platform::WorkerRequest request = requestTo(call.plugIn, importer_exchange::kImport);
    request.arguments.set(importer_exchange::kContentType, call.contentType);
    request.arguments.set(importer_exchange::kPath, call.path);
    std::optional<Dictionary> attributes;
    request.part = [&attributes](PropertyList part) {
        if (const Dictionary* entries = part.dictionary()) {
            if (!attributes) attributes.emplace();
            attributes->addEntries(*entries);
        } else if (const std::u16string* key = part.string(); key && attributes) {
            attributes->remove(*key);
        }
    };
    runWorker_(request);
    return attributes;
}

}  // namespace corvy
