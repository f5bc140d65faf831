// corvystack thumbnail: a small picture of one file.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/picture_file.h"

namespace corvy::tools {

namespace {

// In seconds: above what the helper gives to its two attempts at one picture.
constexpr double kTimeout = 45;
constexpr std::int64_t kUsualSize = 256;

struct ThumbnailOptions {
    std::string file;
    std::string out;
    std::int64_t size = kUsualSize;
    bool always = false;
    double timeout = kTimeout;
};

int writeThumbnail(const ThumbnailOptions& options) {
    const FileForHelper file(options.file, true);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer = helper.proxy().call(
        "imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:canUseSpotlight:",
        {PropertyList(file.path()), PropertyList(options.size), PropertyList(options.always),
         PropertyList(false), PropertyList(false)});
    const Bytes* picture = pictureIn(answer);
    if (picture == nullptr) {
        return failWith(options.file, "not a picture, or damaged beyond reading");
    }
    platform::WorkerPool pool(workerProgramFolder());
    const std::string reason = writePicture(pool, *picture, options.out);
    return reason.empty() ? kDone : failWith(options.out, reason);
}

}  // namespace

int thumbnailCommand(int argc, char** argv) {
    CLI::App app("A small picture of an image, PDF or PostScript file, taken by the helper.",
                 "corvystack thumbnail");
    ThumbnailOptions options;
    app.add_option("FILE", options.file, "the file, or a PDF bundle; - for standard input")
        ->required();
    addPictureOut(app, options.out);
    app.add_option("--size", options.size,
                   "most pixels in a row or column; drawings (PDF,\nPostScript, SVG) have 256 "
                   "whatever this says")
        ->check(checkPositive)
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--always", options.always, "scale the image even when it carries a thumbnail");
    addTimeout(app, options.timeout);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return writeThumbnail(options);
}

}  // namespace corvy::tools
