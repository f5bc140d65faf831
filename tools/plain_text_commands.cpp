// corvystack text and errorpage.
#include <CLI/CLI.hpp>
#include <string>

#include "foundation/text.h"
#include "markup/file_types.h"
#include "markup/queries.h"
#include "text/error_page.h"
#include "text/plain_text.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/import/file_type.h"
#include "tools/markup/input.h"

namespace corvy::tools {

namespace {

// What is no markup has no tags, and its lines are its own.
bool isTextFile(const std::string& file) {
    const FileType* type = typeForName(file);
    return type && type->kind == "text" && !isMarkupExtension(pathExtension(fromUtf8(file)));
}

}  // namespace

int textCommand(int argc, char** argv) {
    CLI::App app("Prints the plain text of a page; of a text file, the file itself.",
                 "corvystack text");
    MarkupInput input{.isSavedPage = true};
    PlainTextOptions options;
    bool noAlts = false, simple = false;
    app.add_option("FILE", input.file, "the page; - for standard input")->required();
    app.add_flag("--reformat", options.reformat, "join hard-wrapped lines of preformatted text");
    app.add_flag("--only-body", options.onlyBody, "only the body, when there is one");
    app.add_flag("--remove-junk", options.removeJunk, "leave out invisible and overlong text");
    app.add_flag("--google-tags", options.googleTags, "obey googleoff and googleon comments");
    app.add_flag("--no-alts", noAlts, "leave out the alternative texts of images");
    app.add_flag("--simple", simple, "only runs of text, without lines; no other switch counts");
    app.add_option("--charset", input.charset, "as if declared by the server")->type_name("NAME");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    options.imageAlts = !noAlts;
    const auto page = readMarkup(input);
    if (!page) return kFailed;
    const std::u16string text = isTextFile(input.file) ? *page
                                : simple ? stringByConvertingHtml2SimplifiedPlainText(*page)
                                         : stringByConvertingHtml2PlainText(*page, options);
    print(toUtf8(text));
    if (!text.empty() && !text.ends_with(u'\n')) print("\n");
    return kDone;
}

int errorPageCommand(int argc, char** argv) {
    CLI::App app(
        "Tells whether a page is an error page of its server, or one for readers who load too "
        "many pages: 0 and its kind, else 1.",
        "corvystack errorpage");
    MarkupInput input{.isSavedPage = true};
    std::string givenTitle, url;
    app.add_option("FILE", input.file, "the page or its text; - for standard input")->required();
    app.add_option("--title", givenTitle, "instead of the page's own title")->type_name("TITLE");
    app.add_option("--url", url, "the address of the page")->type_name("ADDRESS");
    app.add_option("--charset", input.charset, "as if declared by the server")->type_name("NAME");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const auto page = readMarkup(input);
    if (!page) return kFailed;
    const bool plain = isTextFile(input.file);
    // The title is no part of the body, else it would speak for the text as well.
    const std::u16string text =
        plain ? *page : stringByConvertingHtml2PlainText(*page, {.onlyBody = true});
    const std::u16string title =
        !givenTitle.empty() || plain ? fromUtf8(givenTitle) : normalizedHtmlTitle(*page);
    if (exceededPageLoadFrequencyTitle(title, text)) {
        print("page load frequency exceeded\n");
        return kDone;
    }
    if (!isErrorPageTitle(title, text, fromUtf8(url))) return kFailed;
    print("error page\n");
    return kDone;
}

}  // namespace corvy::tools
