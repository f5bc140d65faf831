// corvystack date, url and rsrc.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/json.h"
#include "foundation/resource_fork.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "foundation/url_simplification.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"

namespace corvy::tools {

namespace {

// "2009-01-15T10:20:30Z", with milliseconds where there are any.
std::string shown(Date date) {
    const auto milliseconds = static_cast<std::int64_t>(std::floor(date.seconds * 1000 + 0.5));
    const auto seconds =
        static_cast<std::time_t>(std::floor(static_cast<double>(milliseconds) / 1000));
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[64];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    std::string result = text;
    if (const auto rest = milliseconds - seconds * 1000; rest != 0) {
        std::snprintf(text, sizeof text, ".%03d", static_cast<int>(rest));
        result += text;
    }
    return result + "Z";
}

// The words, or the lines of standard input when there are none.
std::vector<std::string> linesOf(const std::vector<std::string>& words) {
    if (!words.empty()) return words;
    std::vector<std::string> lines;
    for (std::string line; std::getline(std::cin, line);) lines.push_back(std::move(line));
    return lines;
}

struct ResourceArguments {
    std::string file;
    std::string type;
    int id = 0;
    std::optional<std::string> text;
    std::string data = "-";
};

int failWith(const ResourceArguments& arguments, const std::string& reason) {
    complain(arguments.file + ": " + reason);
    return kFailed;
}

std::string labelOf(const ResourceArguments& arguments) {
    return arguments.type + " " + std::to_string(arguments.id);
}

int listResources(const ResourceArguments& arguments) {
    const auto fork = ResourceFork::resourceForkForReadingAtPath(pathFromBytes(arguments.file));
    if (!fork) return failWith(arguments, "has no resource fork");
    for (const Resource& resource : fork->resources()) {
        std::string line = toUtf8(stringOfResourceType(resource.type)) + "\t" +
                           std::to_string(resource.id) + "\t" +
                           std::to_string(resource.data.size());
        if (resource.name) line += "\t" + toUtf8(nameOfResource(resource));
        print(line + "\n");
    }
    return kDone;
}

int getResource(const ResourceArguments& arguments, ResourceType type) {
    const auto fork = ResourceFork::resourceForkForReadingAtPath(pathFromBytes(arguments.file));
    const auto id = static_cast<std::int16_t>(arguments.id);
    const auto data = fork ? fork->dataForType(type, id) : std::nullopt;
    if (!data) return failWith(arguments, "has no resource " + labelOf(arguments));
    print(data->chars());
    return kDone;
}

int setResource(const ResourceArguments& arguments, ResourceType type) {
    FileContents contents;
    if (!arguments.text) {
        contents = readFile(arguments.data);
        if (contents.error != 0) {
            complain(arguments.data + ": " + reasonOf(contents.error));
            return kFailed;
        }
    }
    auto fork = ResourceFork::resourceForkForWritingAtPath(pathFromBytes(arguments.file));
    if (!fork) return failWith(arguments, "cannot open its resource fork for writing");
    const auto id = static_cast<std::int16_t>(arguments.id);
    const bool done = arguments.text ? fork->addString(fromUtf8(*arguments.text), type, id)
                                     : fork->addData(contents.bytes, type, id);
    return done ? kDone : failWith(arguments, "cannot store " + labelOf(arguments));
}

int removeResource(const ResourceArguments& arguments, ResourceType type) {
    // Opening for writing would make a fork, even a file.
    if (!ResourceFork::resourceForkForReadingAtPath(pathFromBytes(arguments.file))) {
        return failWith(arguments, "has no resource fork");
    }
    auto fork = ResourceFork::resourceForkForWritingAtPath(pathFromBytes(arguments.file));
    if (!fork) return failWith(arguments, "cannot open its resource fork for writing");
    const bool done = fork->removeType(type, static_cast<std::int16_t>(arguments.id));
    return done ? kDone : failWith(arguments, "cannot remove " + labelOf(arguments));
}

}  // namespace

int dateCommand(int argc, char** argv) {
    CLI::App app("Prints the dates that texts tell, one a line; an empty line for what is no date.",
                 "corvystack date");
    std::vector<std::string> texts;
    bool isHeader = false;
    bool seconds = false;
    app.add_option("TEXT", texts, "texts; without any, the lines of standard input");
    app.add_flag("--http", isHeader, "only the three forms of HTTP headers");
    app.add_flag("--seconds", seconds, "as seconds since 1970");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    int status = kDone;
    for (const std::string& line : linesOf(texts)) {
        const LogCapture log;
        const std::u16string text = fromUtf8(line);
        const auto found = isHeader ? dateFromHTTPHeaderValue(text) : date(text);
        if (!found) {
            complain("no date: " + line);
            status = kFailed;
        }
        print((!found ? std::string() : seconds ? jsonOf(found->seconds) : shown(*found)) + "\n");
    }
    return status;
}

int urlCommand(int argc, char** argv) {
    CLI::App app("Keys of addresses.", "corvystack url");
    app.require_subcommand(1);
    std::vector<std::string> addresses;
    bool tracking = false;
    SimplificationOptions kept{false, false, false, false, false};
    auto* simplify =
        app.add_subcommand("simplify", "print the keys, equal for addresses of one page");
    simplify->add_option("ADDRESS", addresses, "without any, the lines of standard input");
    simplify->add_flag("--keep-sessions", kept.sessionIDs, "leave session identifiers");
    simplify->add_flag("--keep-analytics", kept.analytics, "leave utm_ parameters");
    simplify->add_flag("--keep-index", kept.indexPages, "leave names of index pages");
    simplify->add_flag("--keep-empty", kept.emptyParams, "leave empty parameters");
    simplify->add_flag("--keep-anchors", kept.anchors, "leave fragments");
    simplify->add_flag("--tracking", tracking, "without click identifiers too");
    auto* equal = app.add_subcommand(
        "equal",
        "tell by exit status 0 or 1 whether two addresses are equal but for case, "
        "fragment and slashes");
    std::string first, second;
    equal->add_option("ADDRESS", first, "one address")->required();
    equal->add_option("OTHER", second, "the other")->required();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (equal->parsed()) {
        return isEqualToStringURL(fromUtf8(first), fromUtf8(second)) ? kDone : kFailed;
    }
    const SimplificationOptions options{!kept.sessionIDs, !kept.analytics, !kept.indexPages,
                                        !kept.emptyParams, !kept.anchors};
    for (const std::string& line : linesOf(addresses)) {
        std::u16string address = fromUtf8(line);
        if (tracking) address = stringURLByRemovingTrackingParameters(address);
        print(toUtf8(simplifiedStringURLByRemovingSessionIDs(address, options)) + "\n");
    }
    return kDone;
}

int rsrcCommand(int argc, char** argv) {
    CLI::App app("Resources in the resource fork of a file.", "corvystack rsrc");
    app.require_subcommand(1);
    ResourceArguments arguments;
    auto* list = app.add_subcommand("list", "print type, number, size and name of each");
    auto* get = app.add_subcommand("get", "print the bytes of one");
    auto* set = app.add_subcommand("set", "add or replace one");
    auto* remove = app.add_subcommand("remove", "remove one");
    for (CLI::App* command : {list, get, set, remove}) {
        command->add_option("FILE", arguments.file, "the file whose fork it is")->required();
        if (command == list) continue;
        command->add_option("TYPE", arguments.type, "four characters")->required();
        command->add_option("ID", arguments.id, "the number")
            ->required()
            ->check(CLI::Range(std::numeric_limits<std::int16_t>::min(),
                               std::numeric_limits<std::int16_t>::max()));
    }
    auto* data = set->add_option("DATA", arguments.data,
                                 "file with the bytes; - or none for "
                                 "standard input");
    set->add_option("--text", arguments.text, "store this as a counted text instead")
        ->excludes(data);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (list->parsed()) return listResources(arguments);
    const auto type = resourceTypeOfString(fromUtf8(arguments.type));
    if (!type) {
        complain(arguments.type + ": a type is four characters of the Mac Roman set");
        return kUsage;
    }
    if (get->parsed()) return getResource(arguments, *type);
    return set->parsed() ? setResource(arguments, *type) : removeResource(arguments, *type);
}

}  // namespace corvy::tools
