// The worker program for documents of rich text: it makes them of HTML, and reads them.
#include "platform/html_import/html_importer.h"
#include "platform/web_loader.h"
#include "platform/worker.h"
#include "service/document_worker.h"
#include "service/html_conversion.h"
#include "service/html_worker.h"
#include "service/rich_text_conversion.h"
#include "service/rich_text_worker.h"

namespace {

void initialise() {
    corvy::platform::prepareWebLibrary();
    // Loads the tables that every page needs.
    corvy::platform::attributedTextOfHtml("<p>a");
}

}  // namespace

int main(int argc, char** argv) {
    const corvy::platform::WorkerFamily family{
        .name = corvy::html_exchange::kFamily,
        .libraries = {{"Gumbo", corvy::platform::htmlParserVersion()},
                      {"libcurl", corvy::platform::webLibraryVersion()}},
        .initialise = initialise,
        .operations = {{corvy::html_exchange::kConvert, corvy::convertHtml},
                       {corvy::rich_text_exchange::kDocument, corvy::readDocumentFile},
                       {corvy::rich_text_exchange::kPackage, corvy::packageOfRtfd}}};
    return corvy::platform::workerMain(family, argc, argv);
}
