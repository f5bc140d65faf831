// Shared objects, looked at before they are loaded.
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/fuzz_text.h"
#include "platform/executable_check.h"

using namespace corvy::platform;

namespace {

// A file that goes with the process.
struct TemporaryFile {
    TemporaryFile() { close(mkstemp(path.data())); }
    ~TemporaryFile() { std::filesystem::remove(path); }
    std::string path = "/tmp/corvystack-fuzz-XXXXXX";
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFile file;
    const std::string& path = file.path;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const SharedLibraries none({});
    const ExecutableCheck check = checkExecutable(std::u16string(path.begin(), path.end()), none);
    corvy::require(check.outcome != ExecutableCheck::Outcome::missing);
    corvy::require(check.library.empty() ==
                   (check.outcome != ExecutableCheck::Outcome::missingLibrary));
    namesInLoaderCache({reinterpret_cast<const char*>(data), size});
    return 0;
}
