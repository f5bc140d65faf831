// corvystack pdf: text and properties of one PDF document, or one made of an image file.
#include <CLI/CLI.hpp>
#include <cerrno>
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
#include "tools/table.h"

namespace corvy::tools {

namespace {

// In seconds: above the minute that the helper gives to the text of one document.
constexpr double kTimeout = 90;

struct PdfOptions {
    std::string file;
    std::string rich;  // package to write
    std::string out;   // PDF to write
    double timeout = kTimeout;
    bool json = false;
    bool pretty = false;
};

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

int pdfInfo(const PdfOptions& options) {
    auto answer = convert(options, false);
    if (!answer) return kFailed;
    answer->remove(u"String");
    if (options.json || options.pretty) {
        print(jsonOf(*answer, {.pretty = options.pretty, .plainDictionaries = true}) + "\n");
        return kDone;
    }
    print(tableOf(*answer));
    return kDone;
}

int pdfFromImage(const PdfOptions& options) {
    const FileForHelper file(options.file, true);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer =
        helper.proxy().call("PDFImageRepOfFile:", {PropertyList(file.path())});
    const Bytes* pdf = answer ? answer->bytes() : nullptr;
    if (pdf == nullptr) return failWith(options.file, "is no PDF, nor can it be made one");
    const int error = writeFile(options.out, pdf->chars());
    return error == 0 ? kDone : failWith(options.out, reasonOf(error));
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
    auto* fromImage =
        app.add_subcommand("from-image", "make a PDF of a PostScript file or PDF bundle");
    fromImage->add_option("FILE", options.file, "the file, or a PDF bundle; - for standard input")
        ->required();
    fromImage->add_option("-o,--out", options.out, "PDF to write")
        ->required()
        ->type_name("OUT.pdf");
    for (CLI::App* command : {text, info}) {
        command->add_option("FILE", options.file, "the document; - for standard input")->required();
    }
    for (CLI::App* command : {text, info, fromImage}) {
        addTimeout(*command, options.timeout);
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (fromImage->parsed()) return pdfFromImage(options);
    return text->parsed() ? pdfText(options) : pdfInfo(options);
}

}  // namespace corvy::tools
