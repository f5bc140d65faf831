// What a person sees while files are imported, and the summary behind it. Goes to standard error.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "tools/import/scheduler.h"

namespace corvy::tools {

class Progress {
public:
    // A bar that is drawn anew in place on a terminal; otherwise a line now and then.
    explicit Progress(bool onTerminal);

    // Files and bytes to come, as far as they are counted; from any thread.
    void expect(std::uint64_t files, std::uint64_t bytes);

    // Work on a file begins; from any thread.
    void begin(const std::string& path);
    // Work on a file is done, though its record may have to wait for others; from any thread.
    void addWork(std::uint64_t bytes) {
        worked_ += 1;
        workedBytes_ += bytes;
    }
    // A file has its record. A failure is told at once.
    void add(const Finished& file);
    // Draws what has changed; cheap when called often.
    void pulse();
    // Takes the bar away.
    void finish();

    // Files, failures by kind, and rates, as lines. `skipped` files were recorded before.
    std::string summary(std::uint64_t skipped) const;
    std::uint64_t files() const { return files_; }
    std::uint64_t failures() const { return failures_; }
    std::uint64_t count(std::string_view error) const {
        const auto found = errors_.find(error);
        return found == errors_.end() ? 0 : found->second;
    }
    // Whether a file that the caller named has failed.
    bool givenFailed() const { return givenFailed_; }

private:
    double seconds() const;
    std::string barLine();
    void show(std::string_view line);

    bool onTerminal_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point shown_;
    bool barStands_ = false;
    std::uint64_t files_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t failures_ = 0;
    bool givenFailed_ = false;
    std::map<std::string_view, std::uint64_t> errors_;
    std::mutex currentMutex_;
    std::string current_;                    // the file that was begun last
    std::atomic<std::uint64_t> worked_ = 0;  // files
    std::atomic<std::uint64_t> workedBytes_ = 0;
    std::atomic<std::uint64_t> expectedFiles_ = 0;
    std::atomic<std::uint64_t> expectedBytes_ = 0;
};

// Such as "812 B", "3.4 MB".
std::string amountText(double bytes);

}  // namespace corvy::tools
