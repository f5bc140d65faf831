#include "platform/rich_text/rtf_table_layout.h"

#include <algorithm>
#include <array>

#include "platform/rich_text/rtf_output.h"

namespace corvy::platform {

namespace {

constexpr std::uint32_t kMostColumns = 64;      // readers take no more
constexpr std::int64_t kContainerWidth = 8640;  // twips: what tables are taken to stand in
constexpr std::int64_t kNarrowest = 20;         // twips

std::int64_t twipsOf(TextLength length) {
    if (!length.percent) return RtfOutput::twips(length.value);
    return static_cast<std::int64_t>(kContainerWidth * std::clamp(length.value, 0.0, 100.0) / 100);
}

std::uint32_t endColumn(const TableCell& cell) {
    return std::min(cell.column + std::max(cell.columnSpan, 1U), kMostColumns);
}

// The right bounds of the columns.
std::vector<std::int64_t> boundsOf(const std::map<std::uint32_t, std::vector<RtfLayoutCell>>& rows,
                                   const TextTable& table, std::uint32_t columns) {
    std::vector<std::int64_t> widths(columns, 0);
    for (const auto& [number, cells] : rows) {
        for (const RtfLayoutCell& each : cells) {
            const TableCell& cell = each.cell;
            if (!cell.width || endColumn(cell) != cell.column + 1) continue;
            widths[cell.column] = std::max(widths[cell.column], twipsOf(*cell.width));
        }
    }
    const std::int64_t whole = table.width ? twipsOf(*table.width) : kContainerWidth;
    std::int64_t right = 0;
    for (std::int64_t& width : widths) {
        right += std::max(width > 0 ? width : whole / columns, kNarrowest);
        width = right;
    }
    return widths;
}

}  // namespace

RtfTableLayout::RtfTableLayout(const AttributedText& text) : tables_(text.tables().size()) {
    for (const AttributedText::Run& run : text.paragraphRuns()) {
        for (const TableCell& cell : text.paragraphStyle(run.style).cells) {
            if (cell.table >= tables_.size()) continue;
            std::vector<RtfLayoutCell>& cells = tables_[cell.table][cell.row];
            const bool isKnown = std::ranges::any_of(cells, [&cell](const RtfLayoutCell& known) {
                return known.cell.column == cell.column;
            });
            if (!isKnown && cell.column < kMostColumns) cells.push_back({cell});
        }
    }
    for (std::size_t i = 0; i < tables_.size(); ++i) layOut(tables_[i], text.tables()[i]);
}

void RtfTableLayout::layOut(Rows& rows, const TextTable& table) {
    std::uint32_t columns = std::clamp(table.columns, 1U, kMostColumns);
    for (const auto& [number, cells] : rows) {
        for (const RtfLayoutCell& each : cells) columns = std::max(columns, endColumn(each.cell));
    }
    const std::vector<std::int64_t> bounds = boundsOf(rows, table, columns);

    // For each column the cell above that reaches down to the row.
    std::array<const TableCell*, kMostColumns> above{};
    for (auto& [number, cells] : rows) {
        std::ranges::sort(cells, {}, [](const RtfLayoutCell& each) { return each.cell.column; });
        std::vector<RtfLayoutCell> all;
        std::uint32_t column = 0;
        const auto fillUpTo = [&, row = number](std::uint32_t end, bool withGaps) {
            while (column < end) {
                const TableCell* reaching = above[column];
                const bool continues = reaching != nullptr && reaching->column == column &&
                                       reaching->row + reaching->rowSpan > row;
                if (!continues && !withGaps) {
                    ++column;
                    continue;
                }
                TableCell filler = continues ? *reaching : TableCell{};
                filler.column = column;
                const std::uint32_t next = continues ? endColumn(filler) : column + 1;
                column = std::min(next, end);
                all.push_back({filler, bounds[column - 1], true, continues});
            }
        };
        for (const RtfLayoutCell& each : cells) {
            if (each.cell.column < column) continue;  // overlaps the one before
            fillUpTo(each.cell.column, true);
            column = endColumn(each.cell);
            all.push_back({each.cell, bounds[column - 1], false, false});
        }
        fillUpTo(columns, false);
        cells = std::move(all);
        for (const RtfLayoutCell& each : cells) {
            if (!each.isContinuation) above[each.cell.column] = nullptr;
        }
        for (const RtfLayoutCell& each : cells) {
            if (!each.isContinuation && each.cell.rowSpan > 1) {
                above[each.cell.column] = &each.cell;
            }
        }
    }
}

const std::vector<RtfLayoutCell>& RtfTableLayout::row(std::uint32_t table,
                                                      std::uint32_t row) const {
    return tables_[table].at(row);
}

bool RtfTableLayout::isLastRow(std::uint32_t table, std::uint32_t row) const {
    return tables_[table].rbegin()->first == row;
}

}  // namespace corvy::platform
