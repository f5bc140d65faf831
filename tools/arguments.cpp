#include "tools/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "tools/manual.h"
#include "tools/picture_file.h"

namespace corvy::tools {

namespace {

// Help with the names of values and their defaults, without the library's own words for types.
class PlainFormatter : public CLI::Formatter {
public:
    PlainFormatter() { column_width(24); }

    std::string make_option_opts(const CLI::Option* option) const override {
        std::string text;
        if (option->get_items_expected_max() != 0 && !option->get_positional()) {
            text = " " + option->get_type_name();
            text.resize(std::min(text.size(), text.find(':')));  // its checks stand behind it
        }
        if (!option->get_default_str().empty()) text += " (" + option->get_default_str() + ")";
        return text;
    }
};

}  // namespace

void addPictureOut(CLI::App& app, std::string& path) {
    app.add_option("-o,--out", path,
                   "picture to write: the name ends with " + std::string(kPictureExtensions))
        ->required()
        ->type_name("OUT")
        ->check([](const std::string& name) {
            return isPictureName(name) ? std::string() : "not a picture's name: " + name;
        });
}

std::string checkPositive(const std::string& number) {
    double value = 0;
    const bool isNumber = CLI::detail::lexical_cast(number, value);
    return isNumber && value > 0 && std::isfinite(value) ? "" : number + " is no number above 0";
}

std::string checkNotEmpty(const std::string& text) {
    return text.empty() ? "is empty" : "";
}

void addTimeout(CLI::App& app, double& timeout) {
    app.add_option("--timeout", timeout, "seconds to wait for the helper")
        ->check(checkPositive)
        ->type_name("S")
        ->capture_default_str();
}

Parsed parseArguments(CLI::App& app, int argc, char** argv) {
    const auto formatter = std::make_shared<PlainFormatter>();
    app.formatter(formatter);
    for (CLI::App* command : app.get_subcommands({})) command->formatter(formatter);
    if (argc == 2 && std::string_view(argv[1]) == "--manual-page") {
        print(manualPage(app));
        return {true, kDone};
    }
    if (argc == 2 && std::string_view(argv[1]) == "--completion-words") {
        print(completionWords(app));
        return {true, kDone};
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        print(app.help());
        return {true, kDone};
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "%s: %s; see --help\n", app.get_name().c_str(), error.what());
        return {true, kUsage};
    }
    return {};
}

}  // namespace corvy::tools
