// The worker program that reads movies and sounds.
#include "platform/movie.h"
#include "platform/worker.h"
#include "service/movie_conversion.h"
#include "service/movie_worker.h"

int main(int argc, char** argv) {
    const corvy::platform::WorkerFamily family{
        .name = corvy::movie_exchange::kFamily,
        .libraries = {{"FFmpeg", corvy::platform::movieLibraryVersion()}},
        .initialise = corvy::platform::prepareMovieLibrary,
        .operations = {{corvy::movie_exchange::kThumbnail, corvy::thumbnailOfMovie}}};
    return corvy::platform::workerMain(family, argc, argv);
}
