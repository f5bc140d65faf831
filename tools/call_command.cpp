// corvystack call: one vended operation by its name.
#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "client/im_export.h"
#include "tools/arguments.h"
#include "tools/call_values.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/helper_access.h"
#include "tools/interrupt.h"

namespace corvy::tools {

namespace {

std::string operationList() {
    std::string list = "Operations and their arguments:\n";
    for (const RemoteMethod& method : CorvyImExport().methods) {
        list += "  " + method.selector + "\n     ";
        for (const RemoteArgument& argument : method.arguments) list += " " + argument.name;
        list += "\n";
    }
    return list;
}

// nil and NO are how operations fail.
bool isFailure(const RemoteValue& result) {
    return !result || result->boolean() == false;
}

}  // namespace

int callCommand(int argc, char** argv) {
    CLI::App app("Calls one operation of the helper, and prints its result as JSON.",
                 "corvystack call");
    std::string operation;
    std::vector<std::string> texts;
    double timeout = 0;
    ResultStyle style;
    bool launch = false, noLaunch = false;
    app.add_option("OPERATION", operation, "full name, colons included")->required();
    app.add_option("ARG", texts,
                   "true, false, an integer, null, @FILE (the bytes of a\nfile; @- standard "
                   "input), url:ADDRESS, or a string\n(str: before it forces one)");
    app.add_option("--timeout", timeout, "seconds for request and reply, instead of 15")
        ->check(checkPositive)
        ->type_name("S");
    app.add_option("--out", style.outFolder, "folder to which bytes are written as files")
        ->check(checkNotEmpty)
        ->type_name("DIR");
    app.add_flag("--pretty", style.pretty, "JSON on several lines");
    auto* launchFlag = app.add_flag("--launch", launch, "use a private helper");
    app.add_flag("--no-launch", noLaunch, "never start a helper")->excludes(launchFlag);
    app.footer(operationList());
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;

    const RemoteMethod* method = CorvyImExport().methodForSelector(operation);
    if (!method) {
        complain("no operation " + operation + "; `corvystack call --help` lists them");
        return kUsage;
    }
    std::vector<RemoteValue> arguments;
    try {
        arguments = argumentsOf(*method, texts);
    } catch (const std::invalid_argument& error) {
        complain(error.what());
        return kUsage;
    }
    if (!style.outFolder.empty()) {
        if (const int error = makeFolder(style.outFolder)) {
            complain("cannot make " + style.outFolder + ": " + reasonOf(error));
            return kFailed;
        }
    }
    HelperAccess helper(launch     ? Launching::always
                        : noLaunch ? Launching::never
                                   : Launching::ifNeeded,
                        timeout);
    const RemoteValue result = helper.proxy().call(method->selector, std::move(arguments));
    print(jsonOfResult(result, style) + "\n");
    return isFailure(result) ? kFailed : kDone;
}

}  // namespace corvy::tools
