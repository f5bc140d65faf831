// What other programs are told of a command's arguments: manual pages, completion.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace corvy::tools {

// The command's page for man(1), in roff.
std::string manualPage(const CLI::App& app);
// The page of the program itself: its commands with their summaries.
std::string manualPage(const std::vector<std::pair<std::string_view, std::string_view>>& commands);

// Options and subcommands, one a line, as a shell completes them.
std::string completionWords(const CLI::App& app);

}  // namespace corvy::tools
