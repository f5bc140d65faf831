// Work on many items by several threads, with results in the order of the items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tools/import/walk.h"

namespace corvy::tools {

struct Job {
    std::uint64_t number = 0;  // from 0, without gaps
    FoundFile file = {};
};

// What became of a job.
struct Finished {
    std::string record = {};  // as it is written, with its line feed
    std::string path = {};
    bool given = false;
    std::uint64_t bytes = 0;
    std::string_view error = {};
};

struct ScheduleLimits {
    std::size_t threads = 1;
    // Results that wait for an earlier one, and jobs under way, are at most so many, and no job
    // is begun while the waiting results hold more than `waitingBytes`.
    std::size_t ahead = 4096;
    std::size_t waitingBytes = std::size_t{64} << 20;
};

struct Schedule {
    // The next file, or none. Called by one thread at a time.
    std::function<std::optional<FoundFile>()> next;
    // Does the work; none when it was given up. Called by `threads` threads, each with its index.
    std::function<std::optional<Finished>(std::size_t thread, Job job)> work;
    // Takes the results, on the calling thread.
    std::function<void(Finished)> emit;
    // Called on the calling thread some ten times a second and before each result; false stops.
    std::function<bool()> goOn;
    // Called once when it stops, on the calling thread: makes `work` return soon.
    std::function<void()> giveUp;
};

// True when all jobs are done. After a stop the results that are there are still emitted, in
// order; files in work have none. What `next` or `work` throws stops it, and is thrown again here.
bool runInOrder(const Schedule& schedule, const ScheduleLimits& limits);

}  // namespace corvy::tools
