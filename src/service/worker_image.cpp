// The worker program that reads and draws pictures.
#include "platform/codec_image.h"
#include "platform/pdf_document.h"
#include "platform/svg_image.h"
#include "platform/vips_image.h"
#include "platform/worker.h"
#include "service/image_conversion.h"
#include "service/image_worker.h"

namespace {

void initialise() {
    corvy::platform::prepareVips();
    corvy::platform::prepareCodecs();
    corvy::platform::prepareSvg();
    corvy::platform::preparePdfLibrary();
}

}  // namespace

int main(int argc, char** argv) {
    namespace exchange = corvy::image_exchange;
    const corvy::platform::WorkerFamily family{
        .name = exchange::kFamily,
        .libraries = {{"libavcodec", corvy::platform::codecVersion()},
                      {"librsvg", corvy::platform::svgLibraryVersion()},
                      {"libvips", corvy::platform::vipsVersion()},
                      {"Poppler", corvy::platform::pdfLibraryVersion()}},
        .initialise = initialise,
        .operations = {{exchange::kEncodePicture, corvy::encodePicture},
                       {exchange::kImage, corvy::imageOfFile},
                       {exchange::kPdfOfFile, corvy::pdfOfFile},
                       {exchange::kThumbnail, corvy::thumbnailOfFile}}};
    return corvy::platform::workerMain(family, argc, argv);
}
