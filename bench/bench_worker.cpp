// The worker program of isolation_bench.cpp.
#include "platform/worker.h"

using namespace corvy;

int main(int argc, char** argv) {
    using Result = std::optional<PropertyList>;
    platform::WorkerFamily family;
    family.name = "bench";
    family.operations = {
        {"echo",
         [](const Dictionary& arguments, platform::WorkerChannel&) -> Result { return arguments; }},
        {"parts",
         [](const Dictionary& arguments, platform::WorkerChannel& channel) -> Result {
             const std::int64_t count = *arguments.find(u"count")->integer();
             for (std::int64_t i = 0; i < count; ++i) channel.sendPart(u"the text of a page");
             return Null();
         }},
        {"copy",
         [](const Dictionary& arguments, platform::WorkerChannel&) -> Result {
             return Bytes::copyOf(arguments.find(u"bytes")->bytes()->span());
         }},
    };
    return platform::workerMain(family, argc, argv);
}
