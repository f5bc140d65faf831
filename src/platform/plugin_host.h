// Loads plug-ins into this process and calls them. Worker programs alone do so: whatever a plug-in
// does wrong, it does to its own process.
#pragma once

#include <corvystack/importer.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "platform/bundle.h"

namespace corvy::platform {

// The UUID of a text such as "8B08C4BF-415B-11D8-B3F9-0003936726FC", in any case.
std::optional<CorvyUUID> uuidOfString(std::u16string_view text);

// What a factory made: one reference, which goes with the value.
class PlugInInstance {
public:
    explicit PlugInInstance(void* instance) : instance_(instance) {}
    PlugInInstance(PlugInInstance&& other) noexcept
        : instance_(std::exchange(other.instance_, nullptr)) {}
    ~PlugInInstance();
    PlugInInstance(const PlugInInstance&) = delete;
    PlugInInstance& operator=(const PlugInInstance&) = delete;

    // An interface, with a reference that belongs to the caller; null when the instance has none.
    void* queryInterface(const CorvyUUID& interface) const;

private:
    void* instance_;
};

// A bundle as a plug-in. What it has loaded stays loaded: instances may live longer than the value.
class PlugIn {
public:
    // None when there is no bundle at the path. Registers the factories that its info names, or,
    // when that asks for it, loads it and has it register them itself.
    static std::optional<PlugIn> create(std::u16string_view bundlePath);

    // Loads the executable, if it has not been yet. False when it cannot be.
    bool load();

    struct Factory {
        std::string name = {};  // of the function in the executable, unless that is known
        CorvyFactory function = nullptr;
    };
    // The factories of a type in their order, null for one that the plug-in does not name itself.
    // None when no factory is registered for the type.
    std::optional<std::vector<const Factory*>> factoriesForType(const CorvyUUID& type) const;
    // None when the function is not there or makes nothing.
    std::optional<PlugInInstance> createInstance(const Factory& factory, const CorvyUUID& type);

private:
    using Key = std::string;  // the bytes of a UUID
    struct Registration;

    explicit PlugIn(Bundle bundle) : bundle_(std::move(bundle)) {}
    void registerStatically();
    void registerDynamically();
    void* symbol(const std::string& name);

    Bundle bundle_;
    void* library_ = nullptr;
    std::map<Key, Factory> factories_;
    std::map<Key, std::vector<Key>> types_;
};

// What an importer fills. `set` may throw: the importer is told that its value was not taken.
class AttributeSink {
public:
    virtual ~AttributeSink() = default;
    virtual bool set(std::u16string key, PropertyList value) = 0;  // false when there is no room
    virtual bool remove(const std::u16string& key) = 0;
    virtual bool contains(const std::u16string& key) const = 0;
};

// Calls an importer interface; what it throws is discarded, and so is its answer. Threads that it
// leaves behind, and processes that it has forked, reach the sink no more (such a process ends
// instead of coming back from here).
void importData(void* interface, AttributeSink& sink, const std::string& contentType,
                const std::string& path);

}  // namespace corvy::platform
