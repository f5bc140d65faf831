// corvystack metadata and supports: what importers tell of a file.
#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/content_type.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/table.h"

namespace corvy::tools {

namespace {

constexpr std::size_t kLongestShown = 200;

struct MetadataOptions {
    std::string file;
    bool json = false;
    bool pretty = false;
    bool text = false;
    bool type = false;
};

int printType(const MetadataOptions& options, const std::u16string& path) {
    const auto type = platform::contentTypeOfFile(path);
    if (!type) return failWith(options.file, "not a file or folder");
    print(toUtf8(*type) + "\n");
    return kDone;
}

int printMetadata(const MetadataOptions& options) {
    const FileForHelper file(options.file, true);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    if (options.type) return printType(options, file.path());
    HelperAccess helper(Launching::ifNeeded);
    const RemoteValue answer = helper.proxy().call("metaDataForFile:", {PropertyList(file.path())});
    const Dictionary* attributes = answer ? answer->dictionary() : nullptr;
    if (!attributes) return failWith(options.file, "no importer reads it");
    if (options.text) {
        const auto text = stringOf(*attributes, u"kMDItemTextContent");
        if (!text) return failWith(options.file, "its importer tells no text");
        print(toUtf8(*text));
        if (!text->ends_with(u'\n')) print("\n");
    } else if (options.json || options.pretty) {
        print(jsonOf(*attributes, {.pretty = options.pretty, .plainDictionaries = true}) + "\n");
    } else {
        print(tableOf(*attributes, {.droppedPrefix = "kMDItem", .longestValue = kLongestShown}));
    }
    return kDone;
}

}  // namespace

int metadataCommand(int argc, char** argv) {
    CLI::App app("What an importer tells of a file: its attributes and its text.",
                 "corvystack metadata");
    MetadataOptions options;
    app.add_option("FILE", options.file,
                   "the file, or a folder that is a document; - for\nstandard input")
        ->required();
    app.add_flag("--json", options.json, "as one JSON object, with the full names");
    app.add_flag("--pretty", options.pretty, "JSON on several lines");
    auto* text = app.add_flag("--text", options.text, "print the text alone");
    app.add_flag("--type", options.type, "print the content type alone; no importer is asked")
        ->excludes(text);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return printMetadata(options);
}

int supportsCommand(int argc, char** argv) {
    CLI::App app("Whether an importer reads files of this type.", "corvystack supports");
    std::string name;
    app.add_option("FILE", name, "the file; - for standard input")->required();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const FileForHelper file(name, true);
    if (!file.fault().empty()) return failWith(name, file.fault());
    HelperAccess helper(Launching::ifNeeded);
    const RemoteValue answer = helper.proxy().call("supportsFile:", {PropertyList(file.path())});
    const bool supported = answer && answer->boolean().value_or(false);
    print(supported ? "yes\n" : "no\n");
    return supported ? kDone : kFailed;
}

}  // namespace corvy::tools
