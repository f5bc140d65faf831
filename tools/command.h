// What the commands of the program share: their table, their exit statuses, and how they speak
// to the person in front.
#pragma once

#include <string>
#include <string_view>

namespace corvy::tools {

enum ExitStatus {
    kDone = 0,
    kFailed = 1,      // the operation gave its failure value
    kUsage = 2,       // wrong arguments
    kHelperLost = 3,  // the helper could not be reached, or died
    kInterrupted = 130
};

// A command of the program. `run` gets its own name as argv[0] and returns an exit status; what it
// throws ends the program with a message and the status that fits.
struct Command {
    std::string_view name;
    std::string_view summary;
    int (*run)(int argc, char** argv);
};

// "corvystack: MESSAGE" on standard error.
void complain(std::string_view message);
// A path for people: without what a terminal would take for a command.
std::string shownPath(std::string_view path);
// Writes to standard output, without a line feed of its own.
void print(std::string_view text);
// Once, at the end: the error number, 0 when everything that was printed has been written.
int endOfPrinting();

// Complains of the file; gives kFailed.
int failWith(const std::string& file, std::string_view reason);

// The text of an error number, such as "No such file or directory".
std::string reasonOf(int errorNumber);

}  // namespace corvy::tools
