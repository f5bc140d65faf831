// corvystack webarchive: text, source or address of a saved page.
#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "text/web_archive.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/helper_access.h"
#include "tools/import/record.h"

namespace corvy::tools {

namespace {

struct WebArchiveOptions {
    std::string file;
    bool source = false;
    bool url = false;
};

WebArchiveText askHelper(const std::u16string& path) {
    HelperAccess helper(Launching::ifNeeded);
    const RemoteValue answer =
        helper.proxy().call("searchableTextOfWebArchive:", {PropertyList(path)});
    const Dictionary* entries = answer ? answer->dictionary() : nullptr;
    if (!entries) return {};
    WebArchiveText archive;
    archive.text = stringOf(*entries, u"String");
    archive.source = stringOf(*entries, u"Source");
    if (auto url = stringOf(*entries, u"URL")) archive.baseURL = Url{*std::move(url)};
    return archive;
}

void printLines(std::u16string_view text) {
    print(toUtf8(text));
    if (!text.ends_with(u'\n')) print("\n");
}

int printPart(const WebArchiveOptions& options, const WebArchiveText& archive) {
    if (!archive.text) return failWith(options.file, "not a web archive, or damaged");
    if (options.url) {
        if (!archive.baseURL) return failWith(options.file, "its page has no address");
        printLines(archive.baseURL->absoluteString);
    } else if (options.source) {
        if (!archive.source) return failWith(options.file, "its page is no markup");
        printLines(*archive.source);
    } else {
        if (archive.text->find_first_not_of(u'\n') == std::u16string::npos) {
            return failWith(options.file, explanationOfError("noText"));
        }
        printLines(*archive.text);
    }
    return kDone;
}

}  // namespace

int webArchiveCommand(int argc, char** argv) {
    CLI::App app("The text of a web archive with its frames, read by the helper.",
                 "corvystack webarchive");
    WebArchiveOptions options;
    app.add_option("FILE", options.file, "the archive; - for standard input")->required();
    auto* source = app.add_flag("--source", options.source, "print the source of its page instead");
    app.add_flag("--url", options.url, "print the address of its page instead")->excludes(source);
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const FileForHelper file(options.file);
    if (!file.fault().empty()) return failWith(options.file, file.fault());
    return printPart(options, askHelper(file.path()));
}

}  // namespace corvy::tools
