// The system's tool that lists importers, where there is one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvy {

struct ImporterListing {
    bool isText = true;                      // what the tool said is UTF-8
    std::vector<std::u16string> paths = {};  // empty as well when it says no list
};

// Runs the tool with "-L" and waits for its end, at most ten seconds. Throws std::system_error when
// it cannot be started.
ImporterListing listedImporters(std::u16string_view tool);

// The list in what the tool says on standard error: from the first "(" at the end of a line on, an
// old-style property list in ASCII.
ImporterListing readImporterListing(std::string_view output);

}  // namespace corvy
