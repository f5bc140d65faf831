// Forks and sidecars: what is read can be written, and reads back as the same; a sidecar with
// another fork keeps its other entries.
#include <cstdint>
#include <span>

#include "foundation/apple_double.h"
#include "foundation/resource_map.h"
#include "fuzz/fuzz_text.h"

namespace {

using namespace corvy;

void checkFork(const Bytes& fork) {
    const auto map = ResourceMap::read(fork);
    if (!map) return;
    for (const Resource& resource : map->resources) require(resource.data.size() <= fork.size());
    const auto written = map->write();
    if (!written) return;
    const auto again = ResourceMap::read(Bytes::copyOf(*written));
    require(again && again->resources.size() == map->resources.size());
    for (const Resource& resource : map->resources) {
        const Resource* same = again->find(resource.type, resource.id);
        const Resource* first = map->find(resource.type, resource.id);
        require(same && same->data == first->data && same->name == first->name &&
                same->attributes == first->attributes);
    }
    require(again->attributes == map->attributes && again->write() == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes file = Bytes::copyOf(std::as_bytes(std::span(data, size)));
    checkFork(file);
    const auto sidecar = AppleDouble::read(file);
    if (!sidecar) return 0;
    if (const auto fork = sidecar->entry(AppleDouble::kResourceFork)) checkFork(*fork);
    const auto changed = sidecar->withResourceFork("another fork");
    if (!changed) return 0;
    require(changed->size() <= size + 64 + 4096);
    const auto again = AppleDouble::read(Bytes::copyOf(*changed));
    require(again && again->entry(AppleDouble::kResourceFork)->chars() == "another fork");
    for (std::uint32_t id = 0; id < 16; ++id) {
        if (id == AppleDouble::kResourceFork) continue;
        require(again->entry(id) == sidecar->entry(id));
    }
    return 0;
}
