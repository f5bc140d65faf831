// corvystack pdf: text and properties of one PDF document.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "platform/rich_text/flat_rtfd.h"
#include "platform/rich_text/rtfd_package.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/helper_access.h"
#include "tools/import/record.h"

namespace corvy::tools {

namespace {

// In seconds: above the minute that the helper gives to the text of one document.
constexpr double kTimeout = 90;

struct PdfOptions {
    std::string file;
    std::string rich;  // package to write
    double timeout = kTimeout;
    bool json = false;
    bool pretty = false;
};

int failWith(const std::string& file, std::string_view reason) {
    complain(file + ": " + std::string(reason));
    return kFailed;
}

// The answer for the file; none, after a message, when it is no PDF or cannot be read.
std::optional<Dictionary> convert(const PdfOptions& options, bool attributed) {
    FileContents contents = readFile(options.file);
    if (contents.error != 0) {
        failWith(options.file, reasonOf(contents.error));
        return std::nullopt;
    }
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer =
        helper.proxy().call("attributed:stringWithPDF:",
                            {PropertyList(attributed), PropertyList(std::move(contents.bytes))});
    if (answer && answer->dictionary()) return *answer->dictionary();
    failWith(options.file, "not a PDF, or damaged beyond reading");
    return std::nullopt;
}

int writeRich(const PdfOptions& options, const Dictionary& answer) {
    const PropertyList* rich = answer.find(u"String");
    const Bytes* flat = rich ? rich->bytes() : nullptr;
    const auto folder = flat ? platform::folderOfFlatRtfd(*flat) : std::nullopt;
    if (!folder) return failWith(options.file, explanationOfError("noText"));
    int error = makeFolder(options.rich);
    if (error == 0) error = platform::writePackage(options.rich, *folder);
    if (error != 0) {
        return failWith(options.rich, reasonOf(error));
    }
    return kDone;
}

int pdfText(const PdfOptions& options) {
    const auto answer = convert(options, !options.rich.empty());
    if (!answer) return kFailed;
    if (answer->contains(u"Locked")) return failWith(options.file, explanationOfError("locked"));
    if (!options.rich.empty()) return writeRich(options, *answer);
    const auto text = stringOf(*answer, u"String");
    if (!text || text->empty()) return failWith(options.file, explanationOfError("noText"));
    print(toUtf8(*text));
    if (!text->ends_with(u'\n')) print("\n");
    return kDone;
}

std::string shown(const PropertyList& value) {
    if (const std::u16string* text = value.string()) return toUtf8(*text);
    if (const Date* date = value.date()) {
        const auto seconds = static_cast<std::time_t>(std::floor(date->seconds));
        return timeText({.tv_sec = seconds, .tv_nsec = 0}).replace(19, 4, "");
    }
    return jsonOf(value, {.plainDictionaries = true});
}

int pdfInfo(const PdfOptions& options) {
    auto answer = convert(options, false);
    if (!answer) return kFailed;
    answer->remove(u"String");
    if (options.json || options.pretty) {
        print(jsonOf(*answer, {.pretty = options.pretty, .plainDictionaries = true}) + "\n");
        return kDone;
    }
    std::size_t width = 0;
    for (const auto& [key, value] : *answer) width = std::max(width, toUtf8(key).size());
    for (const auto& [key, value] : *answer) {
        std::string name = toUtf8(key) + ":";
        name.resize(width + 2, ' ');
        print(name + shown(value) + "\n");
    }
    return kDone;
}

}  // namespace

int pdfCommand(int argc, char** argv) {
    CLI::App app("Text and properties of a PDF document, taken by the helper.", "corvystack pdf");
    app.require_subcommand(1);
    PdfOptions options;
    auto* text = app.add_subcommand("text", "print the text");
    text->add_option("--rich", options.rich, "write rich text as this RTFD package instead")
        ->type_name("OUT.rtfd");
    auto* info = app.add_subcommand("info", "print page count and attributes");
    info->add_flag("--json", options.json, "as one JSON object");
    info->add_flag("--pretty", options.pretty, "JSON on several lines");
    for (CLI::App* command : {text, info}) {
        command->add_option("FILE", options.file, "the document; - for standard input")->required();
        command->add_option("--timeout", options.timeout, "seconds to wait for the helper")
            ->check(CLI::PositiveNumber)
            ->type_name("S")
            ->capture_default_str();
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return text->parsed() ? pdfText(options) : pdfInfo(options);
}

}  // namespace corvy::tools
