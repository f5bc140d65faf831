// corvystack rtfd: a document, or an HTML page, as rich text.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>

#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/rich_text/flat_rtfd.h"
#include "platform/rich_text/rtfd_package.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/helper_access.h"

namespace corvy::tools {

namespace {

// In seconds: above what the helper gives to a page or a document.
constexpr double kTimeout = 25;

struct RtfdOptions {
    std::string file;
    std::string out;  // package to write
    std::string base;
    std::string charset;
    bool isHtml = false;
    bool offline = false;
    double timeout = kTimeout;
};

// The address that was given, or that of the file itself: what lies beside it belongs to the page.
std::optional<Url> baseOf(const RtfdOptions& options) {
    if (!options.base.empty()) {
        const auto normalized = normalizedStringURL(fromUtf8(options.base));
        return normalized ? URLWithNormalizedStringURL(*normalized) : std::nullopt;
    }
    if (options.file == "-") return std::nullopt;
    return URLOfPath(std::filesystem::absolute(options.file).native());
}

// A package where the name says so, else the flat form.
int writeRtfd(const Bytes* flat, const RtfdOptions& options) {
    const auto folder = flat ? platform::folderOfFlatRtfd(*flat) : std::nullopt;
    if (!folder) return failWith(options.file, "cannot be converted");
    int error = 0;
    if (hasSuffixNoCase(pathFromBytes(options.out), u".rtfd")) {
        error = makeFolder(options.out);
        if (error == 0) error = platform::writePackage(options.out, *folder);
    } else {
        error = writeFile(options.out, flat->chars());
    }
    return error == 0 ? kDone : failWith(options.out, reasonOf(error));
}

int convertDocument(const RtfdOptions& options) {
    const FileForHelper file(options.file, true);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer =
        helper.proxy().call("attributedStringWithContentsOfFile:", {PropertyList(file.path())});
    const Dictionary* document = answer ? answer->dictionary() : nullptr;
    const PropertyList* rtfd = document ? document->find(u"Rtfd") : nullptr;
    return writeRtfd(rtfd ? rtfd->bytes() : nullptr, options);
}

int convertHtml(const RtfdOptions& options) {
    FileContents contents = readFile(options.file);
    if (contents.error != 0) return failWith(options.file, reasonOf(contents.error));
    const auto base = baseOf(options);
    if (!base && !options.base.empty()) {
        complain("rtfd: " + options.base + " is no address");
        return kUsage;
    }
    RemoteValue charset;
    if (!options.charset.empty()) charset = PropertyList(fromUtf8(options.charset));
    HelperAccess helper(Launching::ifNeeded, options.timeout);
    const RemoteValue answer =
        helper.proxy().call("RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
                            {PropertyList(std::move(contents.bytes)),
                             base ? RemoteValue(PropertyList(*base)) : RemoteValue(),
                             PropertyList(!options.offline), std::move(charset)});
    return writeRtfd(answer ? answer->bytes() : nullptr, options);
}

}  // namespace

int rtfdCommand(int argc, char** argv) {
    CLI::App app(
        "Rich text of a document, or of an HTML page, made by the helper. What a document is, "
        "its\ncontent tells.",
        "corvystack rtfd");
    RtfdOptions options;
    app.add_option("FILE", options.file, "the document; - for standard input")->required();
    app.add_option("-o,--out", options.out,
                   "what to write: a package when it ends in .rtfd, else one file in the flat form")
        ->required()
        ->type_name("OUT");
    auto* html = app.add_flag("--html", options.isHtml,
                              "it is an HTML page, and shall load what it refers to");
    app.add_option("--base", options.base, "address of the page (default: that of the file)")
        ->type_name("URL")
        ->needs(html);
    app.add_option("--charset", options.charset, "charset that its transport declared")
        ->type_name("NAME")
        ->needs(html);
    app.add_flag("--offline", options.offline,
                 "load nothing from beyond this machine and its networks")
        ->needs(html);
    addTimeout(app, options.timeout);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return options.isHtml ? convertHtml(options) : convertDocument(options);
}

}  // namespace corvy::tools
