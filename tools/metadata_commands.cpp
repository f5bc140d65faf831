// corvystack metadata and supports: what importers tell of a file.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
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

int printType(const std::string& file) {
    const auto type = platform::contentTypeOfFile(pathFromBytes(file));
    if (!type) return failWith(file, "not a file or folder");
    print(toUtf8(*type) + "\n");
    return kDone;
}

int printMetadata(const MetadataOptions& options) {
    if (options.type) return printType(options.file);
    // Some documents are folders, so whether it can be opened as a file says nothing.
    std::error_code error;
    if (!std::filesystem::exists(options.file, error)) {
        return failWith(options.file, reasonOf(error ? error.value() : ENOENT));
    }
    HelperAccess helper(Launching::ifNeeded);
    const RemoteValue answer =
        helper.proxy().call("metaDataForFile:", {pathForHelper(options.file)});
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
    app.add_option("FILE", options.file, "the file, or a folder that is a document")->required();
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
    std::string file;
    app.add_option("FILE", file, "the file")->required();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    HelperAccess helper(Launching::ifNeeded);
    const RemoteValue answer = helper.proxy().call("supportsFile:", {pathForHelper(file)});
    const bool supported = answer && answer->boolean().value_or(false);
    print(supported ? "yes\n" : "no\n");
    return supported ? kDone : kFailed;
}

}  // namespace corvy::tools
