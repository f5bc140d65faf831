// corvystack import: files and folders as records.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/system_log.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/helper_access.h"
#include "tools/import/file_importer.h"
#include "tools/import/file_type.h"
#include "tools/import/helper_slot.h"
#include "tools/import/progress.h"
#include "tools/import/record_output.h"
#include "tools/import/scheduler.h"
#include "tools/import/walk.h"
#include "tools/interrupt.h"
#include "tools/picture_file.h"

namespace corvy::tools {

namespace {

// In seconds: above the minute that the helper gives to the text of one document.
constexpr double kTimeout = 90;
constexpr std::size_t kMostJobs = 256;

// Tried twice: what ends a worker need not be the picture.
std::optional<Bytes> thumbnailOf(platform::WorkerPool& pool, const Bytes& tiff) {
    auto png = encodedPicture(pool, tiff, u"png", kThumbnailSide);
    return png ? std::move(png) : encodedPicture(pool, tiff, u"png", kThumbnailSide);
}

struct ImportOptions {
    std::vector<std::string> paths;
    std::size_t jobs = std::max(1U, std::thread::hardware_concurrency());
    double timeout = kTimeout;
    WalkOptions walk{.isPackage = isPackageName};
    ImportSettings settings;
    bool noMetadata = false;
    bool noTexts = false;
    bool noThumbnails = false;
    ResumeOptions resume;
    bool quiet = false;
};

class Import {
public:
    explicit Import(const ImportOptions& options)
        : options_(options),
          output_(options.settings.outFolder, options.resume),
          walk_(options.paths, options.walk),
          progress_(::isatty(STDERR_FILENO) != 0 && !options.quiet) {
        for (std::size_t i = 0; i < options.jobs; ++i) {
            helpers_.emplace_back(launchOwnedHelper, options.timeout);
            pools_.emplace_back(workerProgramFolder());
        }
    }

    int run() {
        watchInterrupts();
        std::jthread counter;
        if (::isatty(STDERR_FILENO) != 0 && !options_.quiet) {
            counter = std::jthread([this](const std::stop_token& stop) { count(stop); });
        }
        const bool complete = runInOrder(
            {.next = [this] { return next(); },
             .work = [this](std::size_t thread, const Job& job) { return work(thread, job); },
             .emit = [this](const Finished& file) { emit(file); },
             .goOn = [this] { return goOn(); },
             .giveUp =
                 [this] {
                     for (HelperSlot& helper : helpers_) helper.stop();
                 }},
            {.threads = options_.jobs});
        output_.flush();
        progress_.finish();
        counter.request_stop();
        return finish(complete);
    }

private:
    std::optional<FoundFile> next() {
        while (auto file = walk_.next()) {
            if (!options_.resume.resume || !output_.has(*file)) return file;
            ++skipped_;
        }
        return std::nullopt;
    }

    std::optional<Finished> work(std::size_t thread, const Job& job) {
        progress_.begin(job.file.path);
        FileImporter importer(
            helpers_[thread], options_.settings,
            [&pool = pools_[thread]](const Bytes& tiff) { return thumbnailOf(pool, tiff); });
        auto record = importer.import(job.file, output_.firstNumber() + job.number);
        if (!record) return std::nullopt;
        progress_.addWork(job.file.size);
        Finished finished{.path = job.file.path,
                          .given = job.file.given,
                          .bytes = job.file.size,
                          .error = record->error};
        finished.record = jsonOfRecord(*std::move(record), options_.settings.pretty) + "\n";
        return finished;
    }

    void emit(const Finished& file) {
        if (output_.write(file.record)) progress_.add(file);
    }

    bool goOn() {
        if (!options_.quiet) progress_.pulse();
        // What has been done is seen (and survives) at once.
        return !isInterrupted() && output_.error() == 0 && output_.flush();
    }

    // Walks ahead of the work, so that the bar knows how far it is.
    void count(const std::stop_token& stop) {
        Walk walk(options_.paths, options_.walk);
        std::uint64_t files = 0, bytes = 0;
        while (const auto file = walk.next()) {
            if (stop.stop_requested()) return;
            if (options_.resume.resume && output_.has(*file)) continue;
            ++files;
            bytes += file->size;
        }
        progress_.expect(files, bytes);
    }

    int finish(bool complete) {
        if (!options_.quiet) {
            std::fputs(progress_.summary(skipped_).c_str(), stderr);
            if (walk_.foldersLeftOut() > 0) {
                std::fprintf(stderr, "  %llu folder%s left out (--recursive takes them)\n",
                             static_cast<unsigned long long>(walk_.foldersLeftOut()),
                             walk_.foldersLeftOut() == 1 ? "" : "s");
            }
            if (!output_.path().empty()) {
                std::fprintf(stderr, "  records: %s\n", output_.path().c_str());
            }
        }
        if (output_.error() != 0 && !isInterrupted()) {
            if (output_.error() != EPIPE) {
                complain("cannot write records: " + reasonOf(output_.error()));
            }
            return kFailed;
        }
        if (!complete) {
            complain("interrupted; records up to here are complete");
            return kInterrupted;
        }
        const bool noHelper = progress_.count("noHelper") > 0;
        if (noHelper && std::ranges::none_of(helpers_, &HelperSlot::hasLaunched)) {
            complain("the helper could not be started: " + helperProgramPath());
            return kHelperLost;
        }
        const bool allFailed = progress_.files() > 0 && progress_.failures() == progress_.files();
        return progress_.givenFailed() || allFailed ? kFailed : kDone;
    }

    const ImportOptions& options_;
    RecordOutput output_;
    Walk walk_;
    Progress progress_;
    std::deque<HelperSlot> helpers_;          // one for each thread
    std::deque<platform::WorkerPool> pools_;  // that encode pictures, one for each thread
    std::uint64_t skipped_ = 0;
};

// Appends the lines of the lists. A message and false when one cannot be read.
bool readLists(const std::vector<std::string>& lists, ImportOptions& options) {
    for (const std::string& list : lists) {
        const FileContents contents = readFile(list);
        if (contents.error != 0) {
            complain(list + ": " + reasonOf(contents.error));
            return false;
        }
        std::string_view rest = contents.bytes.chars();
        while (!rest.empty()) {
            const std::string_view line = rest.substr(0, rest.find('\n'));
            if (!line.empty()) options.walk.listed.emplace_back(line);
            rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        }
    }
    return true;
}

}  // namespace

int importCommand(int argc, char** argv) {
    ImportOptions options;
    std::vector<std::string> lists;
    CLI::App app(
        "Turns files into records, one JSON object for each file, in the order of the "
        "files.",
        "corvystack import");
    app.add_option("PATH", options.paths, "files, and folders whose files are meant");
    app.add_option("--files-from", lists, "more of them, one a line; - is standard input")
        ->type_name("LIST");
    app.add_option("--out", options.settings.outFolder,
                   "write DIR/records.jsonl, and texts and thumbnails to files in DIR")
        ->check(checkNotEmpty)
        ->type_name("DIR");
    app.add_option("--jobs", options.jobs, "files at a time, each with a helper of its own")
        ->check(CLI::Range(std::size_t{1}, kMostJobs))
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--recursive", options.walk.recursive, "folders inside folders as well");
    app.add_flag("--no-metadata", options.noMetadata, "ask no importers");
    app.add_flag("--no-text", options.noTexts, "no texts");
    app.add_flag("--no-thumbnails", options.noThumbnails,
                 "no thumbnails; without --out there are none");
    app.add_flag("--rich", options.settings.rich,
                 "documents of rich text also as packages: DIR/rich/NUMBER.rtfd")
        ->needs("--out");
    app.add_option("--timeout", options.timeout, "seconds that a file may take")
        ->check(checkPositive)
        ->type_name("S")
        ->capture_default_str();
    auto* resume = app.add_flag("--resume", options.resume.resume,
                                "skip files whose record, with the same size and time,\nis there "
                                "already")
                       ->needs("--out");
    app.add_flag("--retry-failed", options.resume.retryFailed,
                 "with --resume: take up files whose record names a failure")
        ->needs(resume);
    app.add_flag("--pretty", options.settings.pretty, "records on several lines")
        ->excludes("--out");
    app.add_flag("--quiet", options.quiet, "no progress and no summary; failures are still told");
    app.footer(
        "Names that begin with a dot are left out unless they are given, links to folders "
        "are not\nfollowed.\n\n"
        "Exit status: 0 even when files in folders or lists fail (their records name the error); "
        "1 when a\nfile named here fails, or all do; 3 when no helper can be started; 130 "
        "when interrupted.");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (!readLists(lists, options)) return kFailed;
    if (options.paths.empty() && lists.empty()) {
        complain("nothing to import: name a PATH, or a list with --files-from");
        return kUsage;
    }
    options.settings.metadata = !options.noMetadata;
    options.settings.texts = !options.noTexts;
    options.settings.thumbnails = !options.noThumbnails;
    // What the toolkit remarks on is for records; dates of feeds would flood the log.
    setLogSink([](std::u16string_view) {});
    return Import(options).run();
}

}  // namespace corvy::tools
