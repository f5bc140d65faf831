// corvystack serve, status and importers: the service as a whole.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <string>

#include "client/helper_connection.h"
#include "client/im_export.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/messaging.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"

namespace corvy::tools {

namespace {

struct StatusStyle {
    bool json = false;
    bool pretty = false;
};

void addTo(CLI::App& app, StatusStyle& style) {
    app.add_flag("--json", style.json, "as one JSON object");
    app.add_flag("--pretty", style.pretty, "JSON on several lines");
}

std::string textOf(const PropertyList& value) {
    if (const std::u16string* text = value.string()) return toUtf8(*text);
    return jsonOf(value, {.plainDictionaries = true});
}

// Plain values first, then lists and tables, one entry a line and indented.
std::string readable(const Dictionary& status) {
    std::string out;
    for (const auto& [key, value] : status) {
        if (!value.array() && !value.dictionary()) {
            out += toUtf8(key) + ": " + textOf(value) + "\n";
        }
    }
    for (const auto& [key, value] : status) {
        const Array* list = value.array();
        const Dictionary* table = value.dictionary();
        if (!list && !table) continue;
        out += toUtf8(key) + ":";
        out += (list ? list->empty() : table->empty()) ? " none\n" : "\n";
        if (list) {
            for (const PropertyList& entry : *list) out += "  " + textOf(entry) + "\n";
        } else {
            for (const auto& [name, entry] : *table) {
                out += "  " + toUtf8(name) + " " + textOf(entry) + "\n";
            }
        }
    }
    return out;
}

}  // namespace

int serveCommand(int argc, char** argv) {
    CLI::App app("Runs the service in the foreground, until it is killed.", "corvystack serve");
    std::string name(kCorvyStackHelperName);
    app.add_option("--name", name, "name under which it registers")
        ->type_name("NAME")
        ->capture_default_str();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;

    std::string program = helperProgramPath(), option = "--name";
    char* arguments[] = {program.data(), option.data(), name.data(), nullptr};
    std::signal(SIGPIPE, SIG_DFL);
    ::execv(program.c_str(), arguments);
    complain("cannot start " + program + ": " + reasonOf(errno));
    return kHelperLost;
}

int statusCommand(int argc, char** argv) {
    CLI::App app("Tells whether the service is registered, and what it offers.",
                 "corvystack status");
    std::string name(kCorvyStackHelperName);
    StatusStyle style;
    app.add_option("--name", name, "name under which it is registered")
        ->type_name("NAME")
        ->capture_default_str();
    addTo(app, style);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;

    Dictionary status{{u"Name", fromUtf8(name)}, {u"Registered", false}};
    const auto proxy = platform::rootProxyForConnectionWithRegisteredName(name);
    if (proxy) {
        status.set(u"Registered", true);
        status.addEntries(platform::statusOf(*proxy));
    }
    if (style.json || style.pretty) {
        print(jsonOf(status, {.pretty = style.pretty, .plainDictionaries = true}) + "\n");
    } else if (proxy) {
        print(name + " is registered\n");
        status.remove(u"Name");
        status.remove(u"Registered");
        print(readable(status));
    } else {
        print(name + " is not registered in " + platform::runtimeDirectory() + "\n");
    }
    return proxy ? kDone : kHelperLost;
}

int importersCommand(int argc, char** argv) {
    CLI::App app(
        "Lists the metadata importers of the service, in the order in which they are "
        "asked.",
        "corvystack importers");
    StatusStyle style;
    addTo(app, style);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;

    HelperAccess helper(Launching::ifNeeded);
    const Dictionary status = platform::statusOf(helper.proxy());
    const PropertyList* importers = status.find(u"Importers");
    const Array none, *list = importers && importers->array() ? importers->array() : &none;
    if (style.json || style.pretty) {
        print(jsonOf(*list, {.pretty = style.pretty, .plainDictionaries = true}) + "\n");
    } else {
        for (const PropertyList& importer : *list) print(textOf(importer) + "\n");
        if (list->empty()) complain("the service has no importers");
    }
    return list->empty() ? kFailed : kDone;
}

}  // namespace corvy::tools
