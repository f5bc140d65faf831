// corvystack feed: the items of a feed, or the feed as a page.
#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "feeds/feed.h"
#include "feeds/feed_page.h"
#include "foundation/json.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "foundation/user_defaults.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/markup/input.h"

namespace corvy::tools {

namespace {

int printItems(std::u16string_view feed, const std::optional<Url>& baseURL, bool pretty) {
    for (const PropertyList& item : getItemsOfFeed(feed, baseURL)) {
        print(jsonOf(item, {.pretty = pretty, .plainDictionaries = true}) + "\n");
    }
    return kDone;
}

}  // namespace

int feedCommand(int argc, char** argv) {
    CLI::App app("Items of RSS and Atom feeds.", "corvystack feed");
    app.require_subcommand(1);
    MarkupInput input{.isSavedPage = true};
    std::string url, styleSheet;
    bool pretty = false, linked = false;
    auto* items = app.add_subcommand("items", "print one JSON object for each item");
    items->add_flag("--pretty", pretty, "indented, one entry a line");
    auto* html = app.add_subcommand("html", "print the feed as a page to read");
    html->add_option("--style", styleSheet,
                     "style sheet; otherwise that of the user default linkableFeedStyleSheet")
        ->type_name("FILE");
    html->add_flag("--linked", linked, "link the style sheet instead of including it");
    for (CLI::App* command : {items, html}) {
        command->add_option("FILE", input.file, "the feed; - for standard input")->required();
        command->add_option("--url", url, "the address of the feed")->type_name("ADDRESS");
        command->add_option("--charset", input.charset, "as if declared by the server")
            ->type_name("NAME");
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const auto feed = readMarkup(input);
    if (!feed) return kFailed;
    if (!isFeed(*feed)) {
        complain(input.file + ": not a feed");
        return kFailed;
    }
    setLogSink([](std::u16string_view) {});  // a date that cannot be read shows in the result
    std::optional<Url> baseURL;
    if (!url.empty()) baseURL = Url{fromUtf8(url)};
    if (items->parsed()) return printItems(*feed, baseURL, pretty);
    if (!styleSheet.empty()) {
        UserDefaults::standard().setForProcess(u"linkableFeedStyleSheet",
                                               pathFromBytes(styleSheet));
    }
    print(toUtf8(stringByConvertingFeedToDisplayHTML(*feed, linked, baseURL)) + "\n");
    return kDone;
}

}  // namespace corvy::tools
