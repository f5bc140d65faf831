// The worker program that reads documents of rich text.
#include "platform/worker.h"
#include "service/rich_text_conversion.h"
#include "service/rich_text_worker.h"

int main(int argc, char** argv) {
    const corvy::platform::WorkerFamily family{
        .name = corvy::rich_text_exchange::kFamily,
        .libraries = {},
        .initialise = {},
        .operations = {{corvy::rich_text_exchange::kPackage, corvy::packageOfRtfd}}};
    return corvy::platform::workerMain(family, argc, argv);
}
