// Tables of WordprocessingML: the rows and cells, and where each cell stands.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <vector>

#include "platform/document_readers/word_styles.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

struct WordTable {
    struct Cell {
        pugi::xml_node node;  // <w:tc>
        TableCell cell;
    };
    TextTable table;
    std::vector<Cell> cells;  // row by row; those that continue one above are left out
};

WordTable readWordTable(pugi::xml_node table, WordStyles& styles);

}  // namespace corvy::platform
