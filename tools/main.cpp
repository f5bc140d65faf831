// The program `corvystack`: finds the command and runs it.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/helper_connection.h"
#include "foundation/remote_interface.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/interrupt.h"
#include "tools/manual.h"

namespace {

using namespace corvy::tools;

// In the order in which help shows them.
constexpr Command kCommands[] = {
    {"import", "turn files and folders into records of text and properties", importCommand},
    {"report", "records as a page to look at, in one file", reportCommand},
    {"index", "make records searchable", indexCommand},
    {"search", "find files by their text", searchCommand},
    {"pdf", "text and properties of a PDF document", pdfCommand},
    {"thumbnail", "a small picture of an image, PDF or PostScript file", thumbnailCommand},
    {"poster", "a frame of a movie, or the cover of a sound", posterCommand},
    {"rtfd", "a document, or an HTML page, as rich text", rtfdCommand},
    {"webarchive", "text, source or address of a web archive", webArchiveCommand},
    {"metadata", "what an importer tells of a file", metadataCommand},
    {"supports", "whether an importer reads a file's type", supportsCommand},
    {"text", "the plain text of a page", textCommand},
    {"html", "title, metas, images, tags, ... of an HTML page", htmlCommand},
    {"feed", "items of a feed, or the feed as a page", feedCommand},
    {"entities", "character references into characters, and back", entitiesCommand},
    {"charset", "character sets of pages, and their names", charsetCommand},
    {"date", "dates out of texts", dateCommand},
    {"url", "keys of addresses, and whether two are equal", urlCommand},
    {"rsrc", "resources in the resource fork of a file", rsrcCommand},
    {"errorpage", "tell whether a page is an error page of its server", errorPageCommand},
    {"toolkit", "call operations of the toolkit by JSON lines", toolkitCommand},
    {"importers", "list the metadata importers of the service", importersCommand},
    {"serve", "run the service in the foreground", serveCommand},
    {"status", "tell whether the service runs, and what it offers", statusCommand},
    {"call", "call one operation of the service by its name", callCommand},
};

std::string overview() {
    std::string text =
        "Usage: corvystack COMMAND [ARGUMENT...]\n"
        "       corvystack COMMAND --help\n\n"
        "Takes documents apart in processes of their own.\n\nCommands:\n";
    for (const Command& command : kCommands) {
        std::string name(command.name);
        name.resize(12, ' ');
        text += "  " + name + std::string(command.summary) + "\n";
    }
    return text +
           "\nOptions:\n"
           "  --help      this overview\n"
           "  --version   version and features\n\n"
           "Exit status: 0 done, 1 the operation found nothing or failed, 2 wrong usage,\n"
           "3 the helper could not be reached or died, 130 interrupted.\n";
}

std::string version() {
    std::string text = "corvystack " CORVY_VERSION "\n";
    text += "helper: " + corvy::helperProgramPath();
    if (::access(corvy::helperProgramPath().c_str(), X_OK) != 0) text += " (missing)";
    text += "\ndocument families:";
    const auto families = workerFamilies();
    for (const std::string& family : families) text += " " + family;
    return text + (families.empty() ? " none\n" : "\n");
}

std::string commandNames() {
    std::string names;
    for (const Command& command : kCommands) names += std::string(command.name) + "\n";
    return names;
}

std::string manual() {
    std::vector<std::pair<std::string_view, std::string_view>> commands;
    for (const Command& command : kCommands) commands.emplace_back(command.name, command.summary);
    return manualPage(commands);
}

const Command* commandNamed(std::string_view name) {
    for (const Command& command : kCommands) {
        if (command.name == name) return &command;
    }
    return nullptr;
}

int complainOfCommand(std::string_view word) {
    complain("no command " + std::string(word) + "; `corvystack --help` lists them");
    return kUsage;
}

int dispatch(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(overview().c_str(), stderr);
        return kUsage;
    }
    const std::string_view word = argv[1];
    if (word == "--version") {
        print(version());
        return kDone;
    }
    if (word == "--commands") {
        print(commandNames());
        return kDone;
    }
    if (word == "--manual-page") {
        print(manual());
        return kDone;
    }
    if (word == "--help" || word == "-h" || word == "help") {
        if (word != "help" || argc == 2) {
            print(overview());
            return kDone;
        }
        const Command* command = commandNamed(argv[2]);
        if (!command) return complainOfCommand(argv[2]);
        char help[] = "--help";
        char* arguments[] = {argv[2], help, nullptr};
        return command->run(2, arguments);
    }
    const Command* command = commandNamed(word);
    return command ? command->run(argc - 1, argv + 1) : complainOfCommand(word);
}

int guarded(int argc, char** argv) {
    try {
        return dispatch(argc, argv);
    } catch (const HelperUnreachable& error) {
        if (isInterrupted()) return kInterrupted;
        complain(error.what());
        return kHelperLost;
    } catch (const corvy::TransportError& error) {
        if (isInterrupted()) return kInterrupted;
        complain(explanationOf(error));
        return kHelperLost;
    } catch (const std::exception& error) {
        complain(error.what());
        return kFailed;
    }
}

// Without this a file or socket that is opened later would get the number of a standard stream that
// the starter has closed, and what is printed would go there.
void reserveStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0) continue;
        // The lowest number that is free. Opened the wrong way round: using it stays an error.
        if (::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    reserveStandardStreams();
    // A reader that goes away must not kill the program before it has ended its helpers. Not
    // SIG_IGN: that would be handed down to them.
    std::signal(SIGPIPE, [](int) {});
    const int status = guarded(argc, argv);
    const int error = endOfPrinting();
    if (error == 0 || status != kDone) return status;
    // A reader that has gone wants no message.
    if (error != EPIPE) complain("cannot write to standard output: " + reasonOf(error));
    return kFailed;
}
