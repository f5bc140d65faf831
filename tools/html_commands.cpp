// corvystack html: what a page says of itself, without its markup, or as the scanner sees it.
#include <sys/ioctl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "markup/entities.h"
#include "markup/link_queries.h"
#include "markup/queries.h"
#include "markup/stripping.h"
#include "text/article.h"
#include "text/article_reader.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/markup/input.h"
#include "tools/markup/tag_listing.h"

namespace corvy::tools {

namespace {

struct HtmlOptions {
    MarkupInput input{.isSavedPage = true};
    bool raw = false;
    bool json = false;
    bool links = false;
    bool objects = false;
    bool reader = false;
    std::string name;  // of a meta tag, or of the tags to strip
    std::string attributes;
    std::vector<std::string> bodies;
    std::vector<std::string> except;
};

int printTitle(std::u16string_view page, const HtmlOptions& options) {
    return printFound(options.raw ? htmlTitle(page) : normalizedHtmlTitle(page));
}

std::string oneLine(std::u16string_view markup) {
    std::string line = toUtf8(stringByConvertingEntitiesToCharacters(markup));
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return line;
}

int printMetas(std::u16string_view page, const HtmlOptions& options) {
    if (!options.name.empty()) {
        return printFound(htmlMetaAttributeWithName(page, fromUtf8(options.name)));
    }
    const Dictionary metas = htmlMetaAttributes(page);
    if (metas.empty()) return kFailed;
    if (options.json) {
        print(jsonOf(metas, {.plainDictionaries = true}) + "\n");
        return kDone;
    }
    for (const auto& [name, content] : metas) {
        print(oneLine(name) + ": " + oneLine(*content.string()) + "\n");
    }
    return kDone;
}

int printList(const std::vector<std::u16string>& list) {
    for (const std::u16string& line : list) print(toUtf8(line) + "\n");
    return list.empty() ? kFailed : kDone;
}

int printBase(std::u16string_view page) {
    const auto base = htmlBaseURL(page);
    return printFound(base ? std::optional(base->absoluteString) : std::nullopt);
}

std::u16string upperCaseName(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; });
    return fromUtf8(name);
}

std::vector<std::u16string> prefixesOf(const std::vector<std::string>& names) {
    std::vector<std::u16string> prefixes;
    prefixes.reserve(names.size());
    for (const std::string& name : names) {
        prefixes.push_back(fromUtf8(name.starts_with('<') ? name : "<" + name));
    }
    return prefixes;
}

int printStripped(std::u16string_view page, const HtmlOptions& options) {
    std::optional<std::u16string> result;
    if (!options.name.empty()) {
        result = stripTag(page, upperCaseName(options.name));
    } else if (!options.attributes.empty()) {
        result = stripAttributesOfTag(page, upperCaseName(options.attributes));
    } else if (!options.bodies.empty()) {
        result = stripTagBodies(page, prefixesOf(options.bodies));
    } else if (!options.except.empty()) {
        result = stripTagBodiesExcept(page, prefixesOf(options.except));
    } else if (options.links) {
        result = stripLinks(page);
    } else if (options.objects) {
        result = stripObjectsAndReplaceImages(page, false);
    } else {
        result = stripTags(page);
    }
    if (!result) return kFailed;
    print(toUtf8(*result));
    if (!result->empty() && !result->ends_with(u'\n')) print("\n");
    return kDone;
}

// Columns of the terminal, or what suits a file.
std::size_t lineWidth() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return TagListingStyle().width;
}

int printArticle(std::u16string_view page, const HtmlOptions& options) {
    return printFound(options.reader ? articleText(page) : stripToArticle(page));
}

int printTags(std::u16string_view page, const HtmlOptions& options) {
    const std::string listing = tagListing(page, {lineWidth(), options.json});
    print(listing);
    return listing.empty() ? kFailed : kDone;
}

}  // namespace

int htmlCommand(int argc, char** argv) {
    CLI::App app("What an HTML page says of itself, and the page without its markup.",
                 "corvystack html");
    app.require_subcommand(1);
    HtmlOptions options;
    auto* title = app.add_subcommand("title", "print the title");
    title->add_flag("--raw", options.raw, "as it stands in the markup");
    auto* meta = app.add_subcommand("meta", "list the meta tags");
    meta->add_option("--name", options.name, "print the content of this one")->type_name("NAME");
    meta->add_flag("--json", options.json, "as one JSON object");
    auto* images = app.add_subcommand("images", "list the addresses of images");
    auto* icon = app.add_subcommand("icon", "print the address of the shortcut icon");
    auto* base = app.add_subcommand("base", "print the base address");
    auto* canonical = app.add_subcommand("canonical", "print the canonical address");
    auto* strip = app.add_subcommand("strip", "print the page without its tags");
    auto* what = strip->add_option_group("instead of all tags");
    what->require_option(0, 1);
    what->add_option("--tag", options.name, "the tags of this name")->type_name("NAME");
    what->add_option("--attributes", options.attributes, "attributes of the tags of this name")
        ->type_name("NAME");
    what->add_option("--bodies", options.bodies, "elements whose tag begins so, with content")
        ->type_name("PREFIX")
        ->allow_extra_args(false);
    what->add_option("--except", options.except, "all but such elements")
        ->type_name("PREFIX")
        ->allow_extra_args(false);
    what->add_flag("--links", options.links, "links with their text");
    what->add_flag("--objects", options.objects, "embedded objects, scripts and advertising");
    auto* article = app.add_subcommand("article", "print the page cut down to its main article");
    article->add_flag("--reader", options.reader,
                      "print its text instead, for any page that holds prose");
    auto* tags = app.add_subcommand("tags", "list tags and texts as the scanner sees them");
    tags->add_flag("--json", options.json, "one JSON object for each tag, with its location");
    for (CLI::App* command : app.get_subcommands({})) {
        command->add_option("FILE", options.input.file, "the page; - for standard input")
            ->required();
        command->add_option("--charset", options.input.charset, "as if declared by the server")
            ->type_name("NAME");
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const auto page = readMarkup(options.input);
    if (!page) return kFailed;
    if (title->parsed()) return printTitle(*page, options);
    if (meta->parsed()) return printMetas(*page, options);
    if (images->parsed()) return printList(htmlImages(*page));
    if (icon->parsed()) return printFound(htmlFavIcon(*page));
    if (base->parsed()) return printBase(*page);
    if (canonical->parsed()) return printFound(htmlCanonicalURL(*page));
    if (strip->parsed()) return printStripped(*page, options);
    if (article->parsed()) return printArticle(*page, options);
    return tags->parsed() ? printTags(*page, options) : kUsage;
}

}  // namespace corvy::tools
