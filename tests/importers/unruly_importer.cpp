// An importer that does whatever the name of the file says, well or badly.
#include <corvystack/importer.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

CorvyValue valueOf(std::uint32_t kind, const void* start, std::size_t count) {
    CorvyValue value{};
    value.kind = kind;
    value.as.items.start = start;
    value.as.items.count = count;
    return value;
}

bool set(CorvyAttributes* attributes, const char* key, const CorvyValue& value) {
    return attributes->functions->set(attributes, key, &value);
}

void setEveryKind(CorvyAttributes* attributes) {
    set(attributes, "null", valueOf(CORVY_NULL, nullptr, 0));
    CorvySetBoolean(attributes, "boolean", true);
    CorvySetInteger(attributes, "integer", -5'000'000'000);
    CorvySetReal(attributes, "real", 0.5);
    CorvySetDate(attributes, "date", -1.5);
    CorvySetString(attributes, "string", "gr\xC3\xBC\xFF");
    set(attributes, "string16", valueOf(CORVY_STRING16, u"\xD800z", 2));
    set(attributes, "bytes", valueOf(CORVY_BYTES, "\0\1", 2));
    const CorvyEntry entry{"key", valueOf(CORVY_STRING, "value", 5)};
    const CorvyValue inner = valueOf(CORVY_DICTIONARY, &entry, 1);
    set(attributes, "array", valueOf(CORVY_ARRAY, &inner, 1));
    CorvySetString(attributes, "string", "second");
    CorvySetString(attributes, "gone", "soon");
    if (attributes->functions->contains(attributes, "gone")) {
        attributes->functions->remove(attributes, "gone");
    }
}

// Values that are none, each of which has to be refused; what is not is told.
void setImpossible(CorvyAttributes* attributes) {
    CorvyValue cycle{};
    cycle = valueOf(CORVY_ARRAY, &cycle, 1);
    const std::vector<CorvyValue> many(1'000'001);
    const CorvyEntry noKey{nullptr, {}};
    CorvyValue notANumber{};
    notANumber.kind = CORVY_REAL;
    notANumber.as.real = std::nan("");
    std::vector<CorvyValue> deep(18, valueOf(CORVY_NULL, nullptr, 0));
    for (std::size_t i = 1; i < deep.size(); ++i) deep[i] = valueOf(CORVY_ARRAY, &deep[i - 1], 1);
    const std::map<const char*, CorvyValue> impossible = {
        {"cycle", cycle},
        {"many", valueOf(CORVY_ARRAY, many.data(), many.size())},
        {"no key", valueOf(CORVY_DICTIONARY, &noKey, 1)},
        {"not a number", notANumber},
        {"deep", deep.back()},
        {"unknown kind", valueOf(77, "x", 1)},
        {"null pointer", valueOf(CORVY_STRING, nullptr, 1)},
    };
    for (const auto& [key, value] : impossible) set(attributes, key, value);
    attributes->functions->set(attributes, "no value", nullptr);
    attributes->functions->set(attributes, nullptr, &deep[0]);
    set(attributes, "deep enough", deep[16]);
}

// One large text more than there is room for; a replaced and a removed one give theirs back.
void setTooMuch(CorvyAttributes* attributes) {
    const std::string large(std::size_t{1} << 20, 'x');
    char key[] = "a";
    for (; key[0] <= 'q'; ++key[0]) CorvySetString(attributes, key, large.c_str());
    CorvySetString(attributes, "a", large.c_str());
    attributes->functions->remove(attributes, "b");
    CorvySetString(attributes, "r", large.c_str());
    CorvySetString(attributes, "s", large.c_str());
}

bool import(CorvyAttributes* attributes, const char* contentType, const char* path) {
    std::string_view name = path;
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    if (name == "nothing") return false;
    CorvySetString(attributes, "kMDItemTitle", contentType);
    if (name == "text") CorvySetString(attributes, "kMDItemTextContent", "its text");
    if (name == "kinds") setEveryKind(attributes);
    if (name == "impossible") setImpossible(attributes);
    if (name == "much") setTooMuch(attributes);
    if (name == "throw") throw 42;
    if (name == "abort") std::abort();
    if (name == "crash") std::raise(SIGSEGV);
    if (name == "exit") std::exit(0);
    if (name == "loop") {
        while (true) std::this_thread::sleep_for(std::chrono::hours(1));
    }
    if (name == "memory") {
        std::vector<std::vector<char>> hoard;
        while (true) hoard.emplace_back(100'000'000, 'x');
    }
    if (name == "output") {
        const std::string part(100'000'000, 'x');
        char key[] = "a";
        for (; key[0] <= 'z'; ++key[0]) CorvySetString(attributes, key, part.c_str());
    }
    if (name == "fork") {
        fork();
        CorvySetInteger(attributes, "process", getpid());
    }
    if (name == "thread") {
        std::thread([attributes] {
            while (true) CorvySetString(attributes, "late", "x");
        }).detach();
    }
    return true;
}

// Instances of every other kind.
int references = 0;

std::uint32_t addRef(void*) {
    return static_cast<std::uint32_t>(++references);
}
std::uint32_t release(void*) {
    return static_cast<std::uint32_t>(--references);
}
std::int32_t queryCounting(void* self, CorvyUUID interface, void** out) {
    const bool known = CorvySameUUID(&interface, &CORVY_IMPORTER_INTERFACE);
    *out = known ? self : nullptr;
    if (known) addRef(self);
    return known ? 0 : -1;
}
std::int32_t queryNothing(void*, CorvyUUID, void** out) {
    *out = nullptr;
    return -1;
}
bool importCounting(void*, CorvyAttributes* attributes, const char*, const char*) {
    return CorvySetInteger(attributes, "references", references);
}

const CorvyImporterInterface counting{nullptr, queryCounting, addRef, release, importCounting};
const CorvyImporterInterface withoutInterface{nullptr, queryNothing, addRef, release, nullptr};
const CorvyImporterInterface withoutSlots{};
const CorvyImporterInterface withoutImport{nullptr, queryCounting, addRef, nullptr, nullptr};

const CorvyImporterInterface* tables[] = {&counting, &withoutInterface, &withoutSlots,
                                          &withoutImport, nullptr};

void* made(std::size_t kind) {
    ++references;
    return &tables[kind];
}

}  // namespace

CORVY_IMPORTER(CorvyImporterFactory, import)

extern "C" {
CORVY_EXPORT int UnrulyReferences() {
    return references;
}
CORVY_EXPORT void* Counting(const void*, const CorvyUUID*) {
    return made(0);
}
CORVY_EXPORT void* WithoutInterface(const void*, const CorvyUUID*) {
    return made(1);
}
CORVY_EXPORT void* WithoutSlots(const void*, const CorvyUUID*) {
    return made(2);
}
CORVY_EXPORT void* WithoutImport(const void*, const CorvyUUID*) {
    return made(3);
}
CORVY_EXPORT void* WithoutTable(const void*, const CorvyUUID*) {
    return made(4);
}
CORVY_EXPORT void* Nothing(const void*, const CorvyUUID*) {
    return nullptr;
}
CORVY_EXPORT void RegisterUnruly(CorvyPlugIn* plugIn) {
    const CorvyUUID factory = {{1}};
    plugIn->functions->registerFactory(plugIn, &factory, Counting);
    plugIn->functions->registerFactory(plugIn, &factory, nullptr);
    plugIn->functions->registerType(plugIn, &factory, &CORVY_IMPORTER_TYPE);
}
}
