// An importer that dies while it is loaded.
#include <corvystack/importer.h>

#include <cstdlib>

namespace {

[[maybe_unused]] const bool dead = [] {
    std::abort();
    return true;
}();

}  // namespace

CORVY_EXTERN_C CORVY_EXPORT void* CorvyImporterFactory(const void*, const CorvyUUID*) {
    return nullptr;
}
