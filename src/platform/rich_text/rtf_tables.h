// The tables of an RTF document, gathered from the rows that it consists of.
//
// RTF has no tables, only paragraphs that end as cells and rows. The bounds of a row's cells may be
// told before or behind its text, and only all rows together tell the columns: so paragraphs get
// their cells when the table has ended.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/rich_text/attributed_text.h"
#include "platform/rich_text/rtf_state.h"

namespace corvy::platform {

struct RtfWidth {
    std::int32_t value = 0;
    std::int32_t unit = 0;  // 0: not told, 1: none, 2: fiftieths of a percent, 3: twips
};

struct RtfCell {
    std::int32_t right = 0;      // twips, as padding and borders
    bool startsColumns = false;  // merged with those that continue it on its right
    bool continuesColumns = false;
    bool startsRows = false;
    bool continuesRows = false;
    RtfWidth width;
    Edges<std::int32_t> padding{-1, -1, -1, -1};  // -1: that of the row
    Edges<std::int32_t> borderWidth;
    Edges<std::int32_t> borderColor;
    std::int32_t background = 0;
    VerticalAlignment alignment = VerticalAlignment::top;
};

struct RtfRow {
    std::vector<RtfCell> cells;
    RtfCell next;  // what was said of the cell whose bound is still to come
    std::int32_t left = 0;
    std::int32_t gap = 0;
    std::int32_t background = 0;
    RtfWidth width;
    TextAlignment alignment = TextAlignment::natural;
    bool isLast = false;
    RtfWord edge = RtfWord::unknown;  // of the next cell, that words on borders speak of
};

class RtfTables {
public:
    static constexpr std::uint32_t kNoCell = 0xFFFFFFFF;

    // Words on the row at that depth, from 1.
    void apply(std::int32_t depth, RtfWordEntry entry, bool hasValue, std::int32_t value);
    // The cell at that depth that text now stands in.
    std::uint32_t cellAt(std::int32_t depth);
    // It was told before its text that the cell belongs to the one before it or above it.
    bool isContinued(std::int32_t depth) const;
    void endCell(std::int32_t depth);
    void endRow(std::int32_t depth);
    // Ends the tables that are deeper.
    void leave(std::int32_t depth);

    // Adds the tables to the text. Then cellsOf() holds, until clear().
    void addTo(AttributedText& text, const RtfResources& resources);
    // From the outermost in.
    std::vector<TableCell> cellsOf(std::uint32_t cell) const;
    void clear();

private:
    struct Table {
        std::vector<std::uint32_t> rows;
        std::uint32_t index = 0;           // in the text
        std::vector<std::int32_t> bounds;  // of its columns, in order
    };
    struct Row {
        std::uint32_t table;
        std::uint32_t number;
        std::shared_ptr<const RtfRow> definition;
    };
    struct Cell {
        std::uint32_t row;
        std::uint32_t column;
        std::uint32_t outer;  // the cell that its table stands in
    };
    struct Level {
        std::uint32_t table = kNoCell;
        std::uint32_t row = kNoCell;
        std::uint32_t cell = kNoCell;
        std::uint32_t column = 0;
        std::shared_ptr<RtfRow> definition = std::make_shared<RtfRow>();
    };

    Level& level(std::int32_t depth);
    RtfRow& definitionAt(std::int32_t depth);
    void closeRow(Level& level);
    void measure(Table& table) const;
    TableCell resolve(const Cell& cell, const RtfResources& resources) const;

    std::vector<Level> levels_;
    std::vector<Table> tables_;
    std::vector<Row> rows_;
    std::vector<Cell> cells_;
    std::vector<TableCell> resolved_;
};

}  // namespace corvy::platform
