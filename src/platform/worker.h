// The other end of isolation.h: what a worker program is made of.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "foundation/property_list.h"

namespace corvy::platform {

// The way back to the caller while an operation runs.
class WorkerChannel {
public:
    virtual ~WorkerChannel() = default;
    // Hands a part of the result over; it counts even if the operation fails later.
    virtual void sendPart(const PropertyList& part) = 0;
    // Asks the caller and waits for the answer; the null placeholder when nobody answers.
    virtual PropertyList ask(const PropertyList& question) = 0;
    // A folder for the files of this operation alone, also named by TMPDIR from then on. It goes
    // with the operation, however that ends. Empty when there is none.
    virtual std::string temporaryFolder() { return {}; }
};

// The result, or none. What it throws counts as none. Processes that it starts are killed when it
// is over; one that shall go even if this whole program is killed sets PR_SET_PDEATHSIG itself.
using WorkerOperation =
    std::function<std::optional<PropertyList>(const Dictionary& arguments, WorkerChannel& channel)>;

struct WorkerFamily {
    std::string name;
    std::map<std::string, std::string> libraries;  // name to version, for the status
    std::function<void()> initialise;              // once, before the first fork; may be empty
    // After that, for programs that have a subject; may be empty. It runs under limits like those
    // of operations and may fail in any way: operations get their chance all the same, unless it
    // ended the program.
    std::function<void(const std::u16string& subject)> prepare = {};
    std::map<std::string, WorkerOperation> operations;
};

// The whole of a worker program. Started by a pool it serves until the pool goes; started by hand
//     corvystack-worker-FAMILY --once OPERATION [KEY=VALUE | KEY=@FILE]...
// it runs one operation in this very process, without limits, and prints parts and result as JSON
// (for debuggers, sanitizers and profilers). VALUE is true, false, a number or text; @FILE gives
// the bytes of a file. Every family also has the operation "libraries".
int workerMain(const WorkerFamily& family, int argc, char** argv);

}  // namespace corvy::platform
