// Tables of binary Word documents, which are paragraphs that end cells and rows.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/document_readers/word_binary_properties.h"
#include "platform/rich_text/text_style.h"

namespace corvy::platform {

struct WordBinaryParagraph {
    std::uint32_t start = 0;  // in the document's text
    std::uint32_t end = 0;    // without its mark
    bool isCellEnd = false;
    std::uint16_t style = 0;
    WordParagraphProperties own;
    WordParagraphProperties properties;  // with those of the style

    bool isInTable() const { return properties.inTable.value_or(false); }
};

struct WordBinaryTable {
    struct Cell {
        TableCell cell;
        std::span<const WordBinaryParagraph> paragraphs;
    };
    TextTable table;
    std::vector<Cell> cells;  // row by row
};

// The table that the paragraphs make. Tables inside its cells are paragraphs of these.
WordBinaryTable layOutWordBinaryTable(std::span<const WordBinaryParagraph> paragraphs);

}  // namespace corvy::platform
