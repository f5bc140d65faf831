// corvystack rtfd: an HTML page as a package of rich text.
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

// In seconds: above the quarter of a minute that the helper gives to a page.
constexpr double kTimeout = 20;

struct RtfdOptions {
    std::string file;
    std::string output;  // package to write
    std::string base;
    std::string charset;
    bool isHtml = false;
    bool offline = false;
    double timeout = kTimeout;
};

int failWith(const std::string& file, std::string_view reason) {
    complain(file + ": " + std::string(reason));
    return kFailed;
}

// The address that was given, or that of the file itself: what lies beside it belongs to the page.
std::optional<Url> baseOf(const RtfdOptions& options) {
    if (!options.base.empty()) {
        const auto normalized = normalizedStringURL(fromUtf8(options.base));
        return normalized ? URLWithNormalizedStringURL(*normalized) : std::nullopt;
    }
    if (options.file == "-") return std::nullopt;
    return URLOfPath(std::filesystem::absolute(options.file).native());
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
    const Bytes* flat = answer ? answer->bytes() : nullptr;
    const auto folder = flat ? platform::folderOfFlatRtfd(*flat) : std::nullopt;
    if (!folder) return failWith(options.file, "cannot be converted");
    int error = makeFolder(options.output);
    if (error == 0) error = platform::writePackage(options.output, *folder);
    if (error != 0) {
        return failWith(options.output, reasonOf(error));
    }
    return kDone;
}

}  // namespace

int rtfdCommand(int argc, char** argv) {
    CLI::App app("Rich text of an HTML page, as an RTFD package, made by the helper.",
                 "corvystack rtfd");
    RtfdOptions options;
    app.add_flag("--html", options.isHtml, "the document is an HTML page")->required();
    app.add_option("FILE", options.file, "the page; - for standard input")->required();
    app.add_option("-o,--output", options.output, "the package to write")
        ->required()
        ->type_name("OUT.rtfd");
    app.add_option("--base", options.base, "address of the page (default: that of the file)")
        ->type_name("URL");
    app.add_option("--charset", options.charset, "charset that its transport declared")
        ->type_name("NAME");
    app.add_flag("--offline", options.offline,
                 "load nothing from beyond this machine and its networks");
    app.add_option("--timeout", options.timeout, "seconds to wait for the helper")
        ->check(CLI::PositiveNumber)
        ->type_name("S")
        ->capture_default_str();
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    return convertHtml(options);
}

}  // namespace corvy::tools
