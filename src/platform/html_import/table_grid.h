// Where the cells of the tables of a page stand.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "platform/html_import/html_tree.h"
#include "platform/html_import/style_resolver.h"

namespace corvy::platform {

struct CellPlace {
    NodeIndex table = kNoNode;
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    std::uint32_t rowSpan = 1;
    std::uint32_t columnSpan = 1;
};

struct TableGrid {
    std::uint32_t columns = 0;
    std::unordered_map<NodeIndex, CellPlace> cells;
};

// Of one table, without those within it. A cell outside of every row is in one that it shares with
// its neighbours.
TableGrid gridOfTable(const HtmlTree& tree, const css::StyleResolver& styles, NodeIndex table);

}  // namespace corvy::platform
