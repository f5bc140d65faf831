// The worker program that reads PDF documents.
#include "foundation/text_cleanup.h"
#include "platform/pdf_document.h"
#include "platform/worker.h"
#include "service/pdf_conversion.h"
#include "service/pdf_worker.h"

namespace {

void initialise() {
    corvy::platform::preparePdfLibrary();
    // Loads the tables of composition.
    corvy::fixedAndNormalizedString(u"e\x0301");
}

}  // namespace

int main(int argc, char** argv) {
    const corvy::platform::WorkerFamily family{
        .name = corvy::pdf_exchange::kFamily,
        .libraries = {{"Poppler", corvy::platform::pdfLibraryVersion()}},
        .initialise = initialise,
        .operations = {{corvy::pdf_exchange::kConvert, corvy::convertPdf},
                       {corvy::pdf_exchange::kInfo, corvy::infoOfPdf}}};
    return corvy::platform::workerMain(family, argc, argv);
}
