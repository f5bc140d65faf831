#include "tools/manual.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace corvy::tools {

namespace {

// Text of a page: nothing in it is taken for a request.
std::string roff(std::string_view text) {
    std::string out;
    bool lineStart = true;
    for (const char unit : text) {
        if (lineStart && (unit == '.' || unit == '\'')) out += "\\&";
        if (unit == '\\') {
            out += "\\e";
        } else if (unit == '-') {
            out += "\\-";
        } else {
            out += unit;
        }
        lineStart = unit == '\n';
    }
    return out;
}

std::string heading(const std::string& name) {
    std::string upper = name;
    std::ranges::transform(upper, upper.begin(), [](char unit) {
        return unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 'a' + 'A') : unit;
    });
    return ".TH " + roff(upper) + " 1 \"\" \"corvystack " CORVY_VERSION "\" \"CorvyStack\"\n";
}

std::string nameSection(const std::string& name, std::string_view summary) {
    return ".SH NAME\n" + roff(name) + " \\- " + roff(summary) + "\n";
}

// Up to the end of its first sentence, on one line.
std::string firstSentence(std::string text) {
    text.resize(std::min(text.size(), text.find(". ")));
    text.resize(std::min(text.size(), text.find(".\n")));
    if (text.ends_with('.')) text.pop_back();
    std::ranges::replace(text, '\n', ' ');
    return text;
}

std::string paragraphs(std::string_view text) {
    std::string out = roff(text);
    for (std::size_t at = 0; (at = out.find("\n\n", at)) != std::string::npos; at += 4) {
        out.replace(at, 2, "\n.PP\n");
    }
    return out + "\n";
}

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() != 0;
}

std::string typeName(const CLI::Option& option) {
    std::string name = option.get_type_name();
    name.resize(std::min(name.size(), name.find(':')));  // its checks stand behind it
    return name;
}

std::string entry(const CLI::Option& option) {
    std::string out = ".TP\n";
    if (option.get_positional()) {
        out += ".I " + roff(option.get_name(true)) + "\n";
    } else {
        out += ".B " + roff(option.get_name(false, true));
        if (takesValue(option)) out += " \\fI" + roff(typeName(option)) + "\\fR";
        out += "\n";
    }
    out += roff(option.get_description());
    if (!option.get_default_str().empty()) out += " (" + roff(option.get_default_str()) + ")";
    return out + "\n";
}

std::string synopsis(const CLI::App& app) {
    std::string out = ".B " + roff(app.get_name()) + "\n";
    std::string rest = "[\\fIOPTION\\fR...]";
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional()) continue;
        const std::string name = "\\fI" + roff(option->get_name(true)) + "\\fR" +
                                 (option->get_items_expected_max() > 1 ? "..." : "");
        rest += option->get_required() ? " " + name : " [" + name + "]";
    }
    return out + rest + "\n";
}

std::string entries(const CLI::App& app) {
    std::string out;
    for (const CLI::Option* option : app.get_options()) out += entry(*option);
    return out;
}

}  // namespace

std::string manualPage(const CLI::App& app) {
    std::string name = app.get_name();
    std::ranges::replace(name, ' ', '-');
    std::string page = heading(name) + nameSection(name, firstSentence(app.get_description()));
    page += ".SH SYNOPSIS\n";
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty()) page += synopsis(app);
    for (const CLI::App* command : commands) {
        if (command != commands.front()) page += ".br\n";
        page += ".B " + roff(app.get_name()) + "\n" + synopsis(*command);
    }
    page += ".SH DESCRIPTION\n" + paragraphs(app.get_description());
    page += ".SH OPTIONS\n" + entries(app);
    for (const CLI::App* command : commands) {
        page += ".SS " + roff(command->get_name()) + "\n" + paragraphs(command->get_description()) +
                entries(*command);
    }
    if (const std::string footer = app.get_footer(); !footer.empty()) {
        page += ".SH NOTES\n" + paragraphs(footer);
    }
    return page + ".SH SEE ALSO\n.BR corvystack (1)\n";
}

std::string manualPage(const std::vector<std::pair<std::string_view, std::string_view>>& commands) {
    std::string page = heading("corvystack") +
                       nameSection("corvystack", "takes documents apart in processes of their own");
    page +=
        ".SH SYNOPSIS\n.B corvystack\n\\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n"
        ".SH DESCRIPTION\nTexts, thumbnails, rich text, properties and metadata of documents, "
        "through a helper whose workers die\nin its place when a document brings them down; and "
        "a toolkit for texts and web pages.\n.SH COMMANDS\n";
    for (const auto& [name, summary] : commands) {
        page += ".TP\n.BR corvystack\\-" + roff(name) + " (1)\n" + roff(summary) + "\n";
    }
    return page +
           ".SH EXIT STATUS\n0 done, 1 the operation found nothing or failed, 2 wrong usage, 3 the "
           "helper could not be reached or died, 130 interrupted.\n"
           ".SH ENVIRONMENT\n.TP\n.B CORVYSTACK_RUNTIME_DIR\nfolder of the helper's socket\n"
           ".TP\n.B CORVYSTACK_LIBEXEC\nfolder of the helper's programs\n";
}

std::string completionWords(const CLI::App& app) {
    std::string words;
    const auto add = [&](const CLI::App& part) {
        for (const CLI::Option* option : part.get_options()) {
            for (const std::string& name : option->get_lnames()) words += "--" + name + "\n";
        }
    };
    add(app);
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        words += command->get_name() + "\n";
        add(*command);
    }
    return words;
}

}  // namespace corvy::tools
