// Attributes of a document as a table for people.
#pragma once

#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy::tools {

struct TableStyle {
    std::string_view droppedPrefix = {};  // of keys that begin with it
    std::size_t longestValue = 0;         // characters that are shown of a value; 0 for all
};

// One entry a line, names and values in two columns. Values stand on one line; those of a list are
// joined by commas; dates are in UTC.
std::string tableOf(const Dictionary& attributes, const TableStyle& style = {});

}  // namespace corvy::tools
