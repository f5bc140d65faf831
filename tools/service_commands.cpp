// corvystack serve, status and importers: the service as a whole.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

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

struct KnownImporter {
    std::u16string path;
    Array types = {};
    std::u16string skipped = {};  // why it is not asked; empty for those that are
};

const Dictionary& dictionaryIn(const Dictionary& status, std::u16string_view key) {
    static const Dictionary none;
    const PropertyList* value = status.find(key);
    return value && value->dictionary() ? *value->dictionary() : none;
}

// In the order of the registry; those that it does not hold at all come last.
std::vector<KnownImporter> importersOf(const Dictionary& status, bool withSkipped) {
    Dictionary skipped = dictionaryIn(status, u"SkippedImporters");
    std::vector<KnownImporter> importers;
    const PropertyList* paths = status.find(u"Importers");
    for (const PropertyList& path : paths && paths->array() ? *paths->array() : Array()) {
        if (!path.string()) continue;
        KnownImporter importer{*path.string()};
        const PropertyList* types = dictionaryIn(status, u"ImporterTypes").find(importer.path);
        if (types && types->array()) importer.types = *types->array();
        importer.skipped = stringOf(skipped, importer.path).value_or(u"");
        skipped.remove(importer.path);
        if (importer.skipped.empty() || withSkipped) importers.push_back(std::move(importer));
    }
    for (const auto& [path, reason] : withSkipped ? skipped : Dictionary()) {
        importers.push_back({path, {}, reason.string() ? *reason.string() : std::u16string()});
    }
    return importers;
}

PropertyList jsonFormOf(const KnownImporter& importer) {
    Dictionary form{{u"path", importer.path}, {u"types", importer.types}};
    if (!importer.skipped.empty()) form.set(u"skipped", importer.skipped);
    return form;
}

std::string readable(const KnownImporter& importer) {
    std::string text = toUtf8(importer.path) + "\n";
    if (!importer.skipped.empty()) text += "  skipped: " + toUtf8(importer.skipped) + "\n";
    for (const PropertyList& type : importer.types) text += "  " + textOf(type) + "\n";
    return text;
}

// It is the name of a file in the runtime folder.
std::string checkName(const std::string& name) {
    const bool isFileName =
        !name.empty() && name != "." && name != ".." && name.find('/') == name.npos;
    return isFileName ? "" : "not a name: " + name;
}

void addName(CLI::App& app, std::string& name, const std::string& purpose) {
    app.add_option("--name", name, "name under which it " + purpose)
        ->check(checkName)
        ->type_name("NAME")
        ->capture_default_str();
}

}  // namespace

int serveCommand(int argc, char** argv) {
    CLI::App app("Runs the service in the foreground, until it is killed.", "corvystack serve");
    std::string name(kCorvyStackHelperName);
    addName(app, name, "registers");
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
    addName(app, name, "is registered");
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
        "Lists the metadata importers of the service, in the order in which they are asked, and "
        "the "
        "types that each reads.",
        "corvystack importers");
    StatusStyle style;
    bool verbose = false;
    addTo(app, style);
    app.add_flag("--verbose", verbose, "also those that are not asked, and why");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;

    HelperAccess helper(Launching::ifNeeded);
    const std::vector<KnownImporter> importers =
        importersOf(platform::statusOf(helper.proxy()), verbose);
    if (style.json || style.pretty) {
        Array list;
        for (const KnownImporter& importer : importers) list.push_back(jsonFormOf(importer));
        print(jsonOf(list, {.pretty = style.pretty, .plainDictionaries = true}) + "\n");
    } else {
        for (const KnownImporter& importer : importers) print(readable(importer));
        if (importers.empty()) complain("the service has no importers");
    }
    return importers.empty() ? kFailed : kDone;
}

}  // namespace corvy::tools
