// The worker program that runs importer plug-ins, each in a program of its own.
#include "foundation/text.h"
#include "metadata/importer_exchange.h"
#include "platform/worker.h"
#include "service/importer_worker.h"

int main(int argc, char** argv) {
    const corvy::platform::WorkerFamily family{
        .name = corvy::importer_exchange::kFamily,
        .libraries = {},
        .initialise = {},
        .prepare = corvy::loadImporter,
        .operations = {{corvy::importer_exchange::kOffersInterface, corvy::offersImporterInterface},
                       {corvy::importer_exchange::kImport, corvy::importAttributes}}};
    return corvy::platform::workerMain(family, argc, argv);
}
