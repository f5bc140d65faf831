// Importer plug-ins, called in worker processes.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

// Seconds that an importer has for one file.
inline constexpr double kImporterTimeout = 10;

struct ImporterCall {
    std::u16string plugIn;       // path of the bundle
    std::u16string contentType;  // in lower case
    std::u16string path;
};

class ImporterHost {
public:
    virtual ~ImporterHost() = default;
    // Whether the first instance that a factory of the plug-in makes offers the importer
    // interface.
    virtual bool offersInterface(const std::u16string& plugIn) = 0;
    // The attributes that the first interface to be had sets, as far as it came; none when there is
    // no interface.
    virtual std::optional<Dictionary> attributesOf(const ImporterCall& call) = 0;
};

// The host by which services call importers: each plug-in is loaded once, into a program of its
// own, and each call is a process of its own. One that crashes or hangs leaves what it has told
// before.
class WorkerImporterHost final : public ImporterHost {
public:
    // Runs a worker's operation; the pool's `run`.
    using RunWorker = std::function<std::optional<PropertyList>(const platform::WorkerRequest&)>;
    explicit WorkerImporterHost(RunWorker runWorker, double timeout = kImporterTimeout)
        : runWorker_(std::move(runWorker)), timeout_(timeout) {}

    bool offersInterface(const std::u16string& plugIn) override;
    std::optional<Dictionary> attributesOf(const ImporterCall& call) override;

private:
    platform::WorkerRequest requestTo(const std::u16string& plugIn, const char* operation) const;

    RunWorker runWorker_;
    double timeout_;  // seconds
};

}  // namespace corvy
