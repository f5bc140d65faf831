// How commands read their arguments.
#pragma once

#include "tools/command.h"

namespace CLI {
class App;
}

namespace corvy::tools {

struct Parsed {
    bool ended = false;  // help was asked for, or the arguments are wrong: all is said
    int status = kDone;  // to return when it ended
};
// Help goes to standard output, faults to standard error.
Parsed parseArguments(CLI::App& app, int argc, char** argv);

}  // namespace corvy::tools
