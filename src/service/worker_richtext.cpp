// The worker program that makes rich text of documents.
#include "platform/html_import/html_importer.h"
#include "platform/web_loader.h"
#include "platform/worker.h"
#include "service/html_conversion.h"
#include "service/html_worker.h"

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
        .operations = {{corvy::html_exchange::kConvert, corvy::convertHtml}}};
    return corvy::platform::workerMain(family, argc, argv);
}
