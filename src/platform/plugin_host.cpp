#include "platform/plugin_host.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <forward_list>
#include <memory>
#include <mutex>
#include <utility>

#include "foundation/text.h"
#include "platform/attribute_values.h"

namespace corvy::platform {

namespace {

const CorvyImporterInterface* tableOf(void* instance) {
    return instance ? *static_cast<const CorvyImporterInterface**>(instance) : nullptr;
}

std::string keyOf(const CorvyUUID& uuid) {
    return {reinterpret_cast<const char*>(uuid.bytes), sizeof uuid.bytes};
}

int hexValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
    return -1;
}

const Dictionary* dictionaryOf(const Dictionary& info, std::u16string_view key) {
    const PropertyList* value = info.find(key);
    return value ? value->dictionary() : nullptr;
}

// The dictionary as the importer sees it.
struct HostAttributes : CorvyAttributes {
    explicit HostAttributes(AttributeSink& attributeSink);

    std::mutex mutex;  // importers may have threads
    AttributeSink* sink;
    pid_t process = ::getpid();
};

// Calls `work` with the sink, unless the importer may not reach it any more. Exceptions do not go
// back into an importer that may be written in C.
template <typename Work>
bool withSink(CorvyAttributes* attributes, const char* key, const Work& work) noexcept {
    if (!attributes || !key) return false;
    auto& host = *static_cast<HostAttributes*>(attributes);
    if (::getpid() != host.process) return false;
    try {
        const std::lock_guard lock(host.mutex);
        return host.sink && work(*host.sink, fromUtf8(key));
    } catch (const std::exception&) {
        return false;
    }
}

constexpr CorvyAttributeFunctions kAttributeFunctions = {
    .size = sizeof(CorvyAttributeFunctions),
    .set =
        [](CorvyAttributes* attributes, const char* key, const CorvyValue* value) {
            return withSink(attributes, key, [value](AttributeSink& sink, std::u16string name) {
                auto copied = value ? copyOfValue(*value) : std::nullopt;
                return copied && sink.set(std::move(name), *std::move(copied));
            });
        },
    .remove =
        [](CorvyAttributes* attributes, const char* key) {
            return withSink(attributes, key, [](AttributeSink& sink, const std::u16string& name) {
                return sink.remove(name);
            });
        },
    .contains =
        [](CorvyAttributes* attributes, const char* key) {
            return withSink(attributes, key, [](AttributeSink& sink, const std::u16string& name) {
                return sink.contains(name);
            });
        },
};

HostAttributes::HostAttributes(AttributeSink& attributeSink)
    : CorvyAttributes{&kAttributeFunctions}, sink(&attributeSink) {}

}  // namespace

std::optional<CorvyUUID> uuidOfString(std::u16string_view text) {
    constexpr std::size_t kLength = 36;
    if (text.size() != kLength) return std::nullopt;
    CorvyUUID uuid{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < kLength; ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        const int value = hexValue(text[i]);
        if (isDash ? text[i] != u'-' : value < 0) return std::nullopt;
        if (isDash) continue;
        std::uint8_t& byte = uuid.bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
    }
    return uuid;
}

PlugInInstance::~PlugInInstance() {
    const CorvyImporterInterface* table = tableOf(instance_);
    if (table && table->Release) table->Release(instance_);
}

void* PlugInInstance::queryInterface(const CorvyUUID& interface) const {
    const CorvyImporterInterface* table = tableOf(instance_);
    void* found = nullptr;
    if (table && table->QueryInterface) table->QueryInterface(instance_, interface, &found);
    return found;
}

// What a plug-in that registers itself is handed.
struct PlugIn::Registration : CorvyPlugIn {
    explicit Registration(PlugIn& owner) : CorvyPlugIn{&kFunctions}, plugIn(owner) {}

    static bool registerFactory(CorvyPlugIn* handle, const CorvyUUID* factory,
                                CorvyFactory function) {
        if (!handle || !factory || !function) return false;
        PlugIn& plugIn = static_cast<Registration*>(handle)->plugIn;
        plugIn.factories_[keyOf(*factory)] = {.function = function};
        return true;
    }
    static bool registerType(CorvyPlugIn* handle, const CorvyUUID* factory, const CorvyUUID* type) {
        if (!handle || !factory || !type) return false;
        PlugIn& plugIn = static_cast<Registration*>(handle)->plugIn;
        plugIn.types_[keyOf(*type)].push_back(keyOf(*factory));
        return true;
    }
    static constexpr CorvyPlugInFunctions kFunctions = {
        .size = sizeof(CorvyPlugInFunctions),
        .registerFactory = registerFactory,
        .registerType = registerType,
    };

    PlugIn& plugIn;
};

std::optional<PlugIn> PlugIn::create(std::u16string_view bundlePath) {
    auto bundle = Bundle::open(bundlePath);
    if (!bundle) return std::nullopt;
    PlugIn plugIn(*std::move(bundle));
    if (plugIn.bundle_.flag(u"CFPlugInDynamicRegistration")) {
        plugIn.registerDynamically();
    } else {
        plugIn.registerStatically();
    }
    return plugIn;
}

void PlugIn::registerStatically() {
    if (const Dictionary* factories = dictionaryOf(bundle_.info(), u"CFPlugInFactories")) {
        for (const auto& [uuid, name] : *factories) {
            const auto id = uuidOfString(uuid);
            if (id && name.string()) factories_[keyOf(*id)] = {.name = toUtf8(*name.string())};
        }
    }
    const Dictionary* types = dictionaryOf(bundle_.info(), u"CFPlugInTypes");
    if (!types) return;
    for (const auto& [uuid, list] : *types) {
        const auto type = uuidOfString(uuid);
        if (!type || !list.array()) continue;
        for (const PropertyList& element : *list.array()) {
            const auto id = element.string() ? uuidOfString(*element.string()) : std::nullopt;
            if (id) types_[keyOf(*type)].push_back(keyOf(*id));
        }
    }
}

void PlugIn::registerDynamically() {
    const std::string name = toUtf8(stringOf(bundle_.info(), u"CFPlugInDynamicRegisterFunction")
                                        .value_or(u"CFPlugInDynamicRegister"));
    using Function = void (*)(CorvyPlugIn*);
    const auto function = reinterpret_cast<Function>(symbol(name));
    if (!function) return;
    Registration registration(*this);
    function(&registration);
}

bool PlugIn::load() {
    if (library_) return true;
    const auto executable = bundle_.executable();
    const auto path = executable ? bytesOfPath(*executable) : std::nullopt;
    if (path) library_ = ::dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL);
    return library_ != nullptr;
}

void* PlugIn::symbol(const std::string& name) {
    return load() ? ::dlsym(library_, name.c_str()) : nullptr;
}

std::optional<std::vector<const PlugIn::Factory*>> PlugIn::factoriesForType(
    const CorvyUUID& type) const {
    const auto found = types_.find(keyOf(type));
    if (found == types_.end()) return std::nullopt;
    std::vector<const Factory*> list;
    for (const Key& id : found->second) {
        const auto factory = factories_.find(id);
        list.push_back(factory != factories_.end() ? &factory->second : nullptr);
    }
    return list;
}

std::optional<PlugInInstance> PlugIn::createInstance(const Factory& factory,
                                                     const CorvyUUID& type) {
    const auto function =
        factory.function ? factory.function : reinterpret_cast<CorvyFactory>(symbol(factory.name));
    void* instance = function ? function(nullptr, &type) : nullptr;
    if (!instance) return std::nullopt;
    return PlugInInstance(instance);
}

void importData(void* interface, AttributeSink& sink, const std::string& contentType,
                const std::string& path) {
    const CorvyImporterInterface* table = tableOf(interface);
    if (!table || !table->ImportData) return;
    // Never freed: a thread that the importer leaves behind may still hold it.
    static auto& all = *new std::forward_list<HostAttributes>();
    HostAttributes* attributes = &all.emplace_front(sink);
    try {
        table->ImportData(interface, attributes, contentType.c_str(), path.c_str());
    } catch (const abi::__forced_unwind&) {
        throw;  // the end of the thread, not a failure
    } catch (...) {
        // What was set before counts.
    }
    if (::getpid() != attributes->process) ::_exit(EXIT_SUCCESS);
    const std::lock_guard lock(attributes->mutex);
    attributes->sink = nullptr;
}

}  // namespace corvy::platform
