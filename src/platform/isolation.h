// Runs operations of foreign libraries in processes of their own.
//
// One program, the worker, stands for each family of libraries ("pdf": corvystack-worker-pdf). It
// is started on first use, loads its libraries once, and forks one child for each operation, under
// limits. Whatever happens to the child (a crash, a hang, too much memory, garbage sent back),
// the caller gets no result, and nothing is left behind: no process, descriptor or file.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "foundation/property_list.h"

namespace corvy::platform {

struct WorkerLimits {
    std::uint64_t addressSpace = std::uint64_t{3} << 30;  // bytes
    double cpuSeconds = 20;
    double wallSeconds = 20;  // from the call to its result, however often parts come
    // Bytes of its parts and its result together, as they cost the caller; also the largest file
    // that it may write.
    std::uint64_t output = std::uint64_t{1} << 30;
    // May open sockets. A family that is asked for both has two programs running.
    bool network = false;
};

struct WorkerRequest {
    std::string family;
    std::string operation;
    Dictionary arguments;
    WorkerLimits limits;
    // Called for each part that the operation sends before its result, as it comes.
    std::function<void(PropertyList part)> part;
    // Answers a question that the operation asks in between.
    std::function<PropertyList(const PropertyList& question)> question;
    // Wait by running the default main context, so that other requests are served meanwhile. The
    // others wait plainly.
    bool runsContext = false;
    // With it: wait so only while this holds, and plainly from then on. Asked again after each
    // slice of 0.01 s at most; empty always holds.
    std::function<bool()> runsContextWhile;
};

// The workers of one process. One thread uses it; an operation that runs the context may be
// entered again.
class WorkerPool {
public:
    // `programFolder` holds the worker programs.
    explicit WorkerPool(std::string programFolder);
    ~WorkerPool();  // ends all workers
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // The operation's result; none when it gave none or its process did not come through.
    // Parts that came before count all the same. What a callback throws reaches the caller, and the
    // operation is over then.
    std::optional<PropertyList> run(const WorkerRequest& request);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// The folder of the running program, or $CORVYSTACK_LIBEXEC when that is set: where helper and
// worker programs lie.
std::string programFolder();

}  // namespace corvy::platform
