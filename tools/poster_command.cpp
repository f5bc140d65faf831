// corvystack poster: a frame of one movie.
#include <CLI/CLI.hpp>
#include <string>

#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/picture_file.h"

namespace corvy::tools {

namespace {

// In seconds: above what the helper gives to one movie.
constexpr double kTimeout = 30;

struct PosterOptions {
    std::string file;
    std::string out;
    double timeout = kTimeout;
};

int writePoster(const PosterOptions& options) {
    const FileForHelper file(options.file);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer =
        helper.proxy().call("posterImageForMovieWithFile:", {PropertyList(file.path())});
    const Bytes* picture = pictureIn(answer);
    if (picture == nullptr) {
        return failWith(options.file, "has no pictures, or is damaged beyond reading");
    }
    platform::WorkerPool pool(workerProgramFolder());
    const std::string reason = writePicture(pool, *picture, options.out);
    return reason.empty() ? kDone : failWith(options.out, reason);
}

}  // namespace

int posterCommand(int argc, char** argv) {
    CLI::App app(
        "The frame in the middle of a movie, 15 seconds in at most, or the cover of a\n"
        "sound, taken by the helper.",
        "corvystack poster");
    PosterOptions options;
    app.add_option("MOVIE", options.file, "the file; - for standard input")->required();
    addPictureOut(app, options.out);
    addTimeout(app, options.timeout);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return writePoster(options);
}

}  // namespace corvy::tools
