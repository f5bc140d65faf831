// How commands read their arguments.
#pragma once

#include <string>

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

// The picture to write, by a name that says its format.
void addPictureOut(CLI::App& app, std::string& path);

// Checks of options; what is wrong, empty when nothing is.
std::string checkPositive(const std::string& number);
std::string checkNotEmpty(const std::string& text);

// --timeout, in seconds.
void addTimeout(CLI::App& app, double& timeout);

}  // namespace corvy::tools
