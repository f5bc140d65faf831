// corvystack report: records as a page to look at.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/text.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/interrupt.h"
#include "tools/picture_file.h"
#include "tools/report/report.h"

namespace corvy::tools {

namespace {

// The name of the folder, for a title.
std::string nameOfFolder(const std::string& folder) {
    const auto path = std::filesystem::weakly_canonical(folder);
    return toUtf8(pathFromBytes(path.filename().string()));
}

// The file of the page while it is being written, beside its later place: an earlier page stays
// until there is a whole new one. Devices and pipes are written themselves.
class NewFile {
public:
    explicit NewFile(std::string path) : path_(std::move(path)) {
        if (path_ == "-") {
            file_ = stdout;
            return;
        }
        std::error_code failed;
        const auto status = std::filesystem::status(path_, failed);
        const bool isFile = std::filesystem::is_regular_file(status);
        if (isFile) path_ = std::filesystem::canonical(path_);  // not the link to it
        if (isFile || !std::filesystem::exists(status)) partial_ = path_ + ".partial";
        file_ = std::fopen((partial_.empty() ? path_ : partial_).c_str(), "we");
        if (!file_) throw std::runtime_error("cannot write " + path_ + ": " + reasonOf(errno));
    }
    ~NewFile() {
        if (!file_ || file_ == stdout) return;
        std::fclose(file_);
        discard();
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool write(std::string_view text) {
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) error_ = errno;
        return error_ == 0;
    }
    // The error number, 0 when everything is in its place.
    int finish() {
        if (file_ == stdout) return error_;
        if (std::fclose(std::exchange(file_, nullptr)) != 0 && error_ == 0) error_ = errno;
        if (error_ == 0 && !partial_.empty() && std::rename(partial_.c_str(), path_.c_str()) != 0) {
            error_ = errno;
        }
        if (error_ != 0) discard();
        return error_;
    }

private:
    void discard() const {
        if (!partial_.empty()) ::unlink(partial_.c_str());
    }

    std::string path_;
    std::string partial_;  // empty when it is written at its place
    std::FILE* file_ = nullptr;
    int error_ = 0;
};

int report(ReportOptions& options, const std::string& out) {
    watchInterrupts();
    options.jobs = std::max(1U, std::thread::hardware_concurrency());
    std::deque<platform::WorkerPool> pools;
    for (std::size_t i = 0; i < options.jobs; ++i) pools.emplace_back(workerProgramFolder());
    const auto shrink = [&](std::size_t thread, const Bytes& picture, std::int64_t side) {
        return encodedPicture(pools[thread], picture, u"jpg", side);
    };

    NewFile file(out);
    const ReportCounts counts = writeReport(options, shrink, [&](std::string_view text) {
        return !isInterrupted() && file.write(text);
    });
    if (isInterrupted()) return kInterrupted;
    if (const int error = file.finish()) {
        // A reader that has gone wants no message.
        return error == EPIPE ? kFailed : failWith(out, reasonOf(error));
    }
    std::fprintf(stderr, "%" PRIu64 " records, %" PRIu64 " pictures\n", counts.records,
                 counts.pictures);
    if (counts.picturesMissing > 0) {
        complain(std::to_string(counts.picturesMissing) + " pictures could not be read");
        return kFailed;
    }
    return kDone;
}

}  // namespace

int reportCommand(int argc, char** argv) {
    CLI::App app(
        "Makes one HTML page of the records that `corvystack import --out` has written: a contact "
        "sheet\nwith pictures, to be filtered and sorted, with failures on top.",
        "corvystack report");
    ReportOptions options;
    std::string out;
    app.add_option("DIR", options.folders, "the folders with records.jsonl")
        ->required()
        ->check(CLI::ExistingDirectory);
    app.add_option("-o,--out", out, "the page, - for standard output; else report.html in DIR")
        ->type_name("FILE");
    app.add_option("--title", options.title, "title of the page; else the name of the folder")
        ->type_name("TEXT");
    app.add_option("--pictures", options.pixels,
                   "pixels in a row or column of pictures, 0 for none; else 256, and 160\n"
                   "with more than 2,000 records")
        ->check(CLI::Range(0, 256))
        ->type_name("N");
    app.footer(
        "The page holds everything that it shows; it needs no server, network or other "
        "file.");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (out.empty()) out = options.folders.front() + "/report.html";
    if (options.title.empty()) options.title = nameOfFolder(options.folders.front());
    return report(options, out);
}

}  // namespace corvy::tools
