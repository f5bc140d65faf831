// corvystack poster: a frame of one movie.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>

#include "foundation/text.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
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

int failWith(const std::string& file, const std::string& reason) {
    complain(file + ": " + reason);
    return kFailed;
}

int writePoster(const PosterOptions& options) {
    if (const int error = errorOfOpening(options.file)) {
        return failWith(options.file, reasonOf(error));
    }
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    // The helper opens the file itself, from another folder.
    const std::string path = std::filesystem::absolute(options.file).string();
    const RemoteValue answer =
        helper.proxy().call("posterImageForMovieWithFile:", {PropertyList(pathFromBytes(path))});
    const Dictionary* result = answer ? answer->dictionary() : nullptr;
    const PropertyList* thumbnail = result ? result->find(u"Thumbnail") : nullptr;
    if (thumbnail == nullptr || thumbnail->bytes() == nullptr) {
        return failWith(options.file, "has no pictures, or is damaged beyond reading");
    }
    platform::WorkerPool pool(workerProgramFolder());
    const std::string reason = writePicture(pool, *thumbnail->bytes(), options.out);
    return reason.empty() ? kDone : failWith(options.out, reason);
}

}  // namespace

int posterCommand(int argc, char** argv) {
    CLI::App app(
        "The frame in the middle of a movie, 15 seconds in at most, or the cover of a\n"
        "sound, taken by the helper.",
        "corvystack poster");
    PosterOptions options;
    app.add_option("MOVIE", options.file, "the file")->required();
    app.add_option("-o,--out", options.out,
                   "picture to write: the name ends with " + std::string(kPictureExtensions))
        ->required()
        ->type_name("OUT")
        ->check([](const std::string& name) {
            return isPictureName(name) ? std::string() : "not a picture's name: " + name;
        });
    app.add_option("--timeout", options.timeout, "seconds to wait for the helper")
        ->check(CLI::PositiveNumber)
        ->type_name("S")
        ->capture_default_str();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return writePoster(options);
}

}  // namespace corvy::tools
