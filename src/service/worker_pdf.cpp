// The worker program that reads PDF documents.
#include <malloc.h>

#include "foundation/text_cleanup.h"
#include "platform/pdf_document.h"
#include "platform/worker.h"
#include "service/pdf_conversion.h"
#include "service/pdf_worker.h"

namespace {

constexpr int kRoom = 16 << 20;  // bytes

void initialise() {
    // A child lives for one document: memory that it has once got is kept, and got in large pieces.
    mallopt(M_TOP_PAD, kRoom);
    mallopt(M_TRIM_THRESHOLD, 4 * kRoom);
    mallopt(M_MMAP_THRESHOLD, kRoom);
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
