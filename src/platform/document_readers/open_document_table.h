// Tables of OpenDocument: the cells, and where each of them stands.
#pragma once

#include <pugixml.hpp>
#include <vector>

#include "platform/document_readers/open_document_styles.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

struct OpenDocumentTable {
    struct Cell {
        pugi::xml_node node;  // empty for an empty cell
        TableCell cell;
    };
    TextTable table;
    std::vector<Cell> cells;  // row by row, without those that others cover
};

OpenDocumentTable readOpenDocumentTable(pugi::xml_node table, const OpenDocumentStyles& styles);

}  // namespace corvy::platform
