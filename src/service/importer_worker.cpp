#include "service/importer_worker.h"

#include <map>
#include <utility>

#include "foundation/text.h"
#include "metadata/importer_exchange.h"
#include "platform/attribute_values.h"
#include "platform/plugin_host.h"

namespace corvy {

namespace {

using platform::AttributeWeight;
using platform::PlugIn;
using platform::PlugInInstance;

// Tells each attribute at once, so that an importer that fails later has not worked in vain.
class StreamingSink final : public platform::AttributeSink {
public:
    explicit StreamingSink(platform::WorkerChannel& channel) : channel_(channel) {}

    bool set(std::u16string key, PropertyList value) override {
        const AttributeWeight weight = platform::weightOfAttribute(key, value);
        AttributeWeight total = total_;
        const auto earlier = weights_.find(key);
        if (earlier != weights_.end()) total -= earlier->second;
        total += weight;
        if (!total.isWithinBounds()) return false;
        Dictionary entry;
        entry.set(key, std::move(value));
        channel_.sendPart(entry);
        total_ = total;
        weights_.insert_or_assign(std::move(key), weight);
        return true;
    }
    bool remove(const std::u16string& key) override {
        const auto found = weights_.find(key);
        if (found == weights_.end()) return false;
        total_ -= found->second;
        weights_.erase(found);
        channel_.sendPart(PropertyList(key));
        return true;
    }
    bool contains(const std::u16string& key) const override { return weights_.contains(key); }

private:
    platform::WorkerChannel& channel_;
    std::map<std::u16string, AttributeWeight> weights_;
    AttributeWeight total_;
};

std::optional<PlugIn> plugInOf(const Dictionary& arguments) {
    const auto path = stringOf(arguments, importer_exchange::kPlugIn);
    return path ? PlugIn::create(*path) : std::nullopt;
}

// Gives the instance of each factory that makes one to `visit`, until that returns true.
template <typename Visit>
void visitInstances(PlugIn& plugIn, const Visit& visit) {
    const auto factories = plugIn.factoriesForType(CORVY_IMPORTER_TYPE);
    if (!factories) return;
    for (const PlugIn::Factory* factory : *factories) {
        if (!factory) continue;
        auto instance = plugIn.createInstance(*factory, CORVY_IMPORTER_TYPE);
        if (instance && visit(*std::move(instance))) return;
    }
}

}  // namespace

void loadImporter(const std::u16string& plugIn) {
    if (auto loaded = PlugIn::create(plugIn)) loaded->load();
}

std::optional<PropertyList> offersImporterInterface(const Dictionary& arguments,
                                                    platform::WorkerChannel&) {
    bool offers = false;
    if (auto plugIn = plugInOf(arguments)) {
        // kept: only the first instance counts, and the reference to its interface is not released.
        visitInstances(*plugIn, [&offers](const PlugInInstance& instance) {
            offers = instance.queryInterface(CORVY_IMPORTER_INTERFACE) != nullptr;
            return true;
        });
    }
    return PropertyList(offers);
}

std::optional<PropertyList> importAttributes(const Dictionary& arguments,
                                             platform::WorkerChannel& channel) {
    auto plugIn = plugInOf(arguments);
    const auto contentType = stringOf(arguments, importer_exchange::kContentType);
    const auto text = stringOf(arguments, importer_exchange::kPath);
    const auto path = text ? bytesOfPath(*text) : std::nullopt;
    if (!plugIn || !contentType || !path) return std::nullopt;

    bool hasInterface = false;
    // Unlike above, an instance without the interface gives way to that of the next factory.
    visitInstances(*plugIn, [&](PlugInInstance instance) {
        void* interface =
            PlugInInstance(std::move(instance)).queryInterface(CORVY_IMPORTER_INTERFACE);
        if (!interface) return false;
        hasInterface = true;
        channel.sendPart(Dictionary());
        StreamingSink sink(channel);
        platform::importData(interface, sink, toUtf8(*contentType), *path);
        return true;
    });
    if (!hasInterface) return std::nullopt;
    return PropertyList(true);
}

}  // namespace corvy
