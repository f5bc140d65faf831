// Files for the importers' tests: archives made of their entries, and those that lie in examples/.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corvy::test {

using Entries = std::vector<std::pair<std::string, std::string>>;

// `format` and `filter` as libarchive numbers them; at most 1 MiB.
std::string packed(int format, int filter, const Entries& entries);
std::string zipped(const Entries& entries);

std::string contentOf(const char* path);

}  // namespace corvy::test
