#include "platform/rich_text/rtf_tables.h"

#include <algorithm>
#include <utility>

namespace corvy::platform {

namespace {

constexpr std::size_t kMostCells = 64;    // of a row
constexpr std::int32_t kTolerance = 10;   // twips by which bounds of one column may differ
constexpr std::int32_t kThinBorder = 10;  // twips
constexpr std::int32_t kNoBorder = -1;    // whatever its width

std::optional<TextLength> lengthOf(RtfWidth width) {
    if (width.unit == 2) return TextLength{width.value / 50.0, true};
    if (width.unit == 3) return TextLength{width.value / kTwipsPerPoint, false};
    return std::nullopt;
}

Edges<double> pointsOf(const Edges<std::int32_t>& twips, std::int32_t besides) {
    const auto points = [](std::int32_t own, std::int32_t otherwise) {
        return (own >= 0 ? own : otherwise) / kTwipsPerPoint;
    };
    return {points(twips.left, besides), points(twips.top, 0), points(twips.right, besides),
            points(twips.bottom, 0)};
}

// The number of the column that begins at a bound.
std::uint32_t columnAt(const std::vector<std::int32_t>& bounds, std::int32_t bound) {
    const auto found = std::ranges::lower_bound(bounds, bound - kTolerance);
    return static_cast<std::uint32_t>(found - bounds.begin());
}

std::int32_t leftOf(const RtfRow& row, std::size_t cell) {
    return cell == 0 ? row.left : row.cells[cell - 1].right;
}

template <typename Values>
auto* edgeOf(Values& values, RtfWord edge) {
    switch (edge) {
        case RtfWord::clbrdrl:
        case RtfWord::clpadl: return &values.left;
        case RtfWord::clbrdrt:
        case RtfWord::clpadt: return &values.top;
        case RtfWord::clbrdrr:
        case RtfWord::clpadr: return &values.right;
        default: return &values.bottom;
    }
}

void applyBorderWord(RtfRow& row, RtfWord word, std::int32_t value) {
    if (row.edge == RtfWord::unknown) return;
    std::int32_t& width = *edgeOf(row.next.borderWidth, row.edge);
    switch (word) {
        case RtfWord::brdrw:
            if (width != kNoBorder) width = std::clamp(value, 0, 2000);
            break;
        case RtfWord::brdrcf: *edgeOf(row.next.borderColor, row.edge) = value; break;
        case RtfWord::brdrnone:
        case RtfWord::brdrnil: width = kNoBorder; break;
        default:
            if (width <= 0) width = kThinBorder;
    }
}

void endCellDefinition(RtfRow& row, std::int32_t right) {
    // kept: the most common word processor takes left and top for each other, here alone. Its cells
    // have padding on the left and right, as a rule.
    Edges<std::int32_t>& padding = row.next.padding;
    if (padding.left < 0 && padding.top == padding.right) std::swap(padding.left, padding.top);
    row.next.right = right;
    if (!row.cells.empty() && right < row.cells.back().right)
        row.next.right = row.cells.back().right;
    if (row.cells.size() < kMostCells) row.cells.push_back(row.next);
    row.next = {};
    row.edge = RtfWord::unknown;
}

void applyRowWord(RtfRow& row, RtfWord word, std::int32_t value) {
    switch (word) {
        case RtfWord::trleft: row.left = value; break;
        case RtfWord::trgaph: row.gap = std::max(value, 0); break;
        case RtfWord::trql: row.alignment = TextAlignment::left; break;
        case RtfWord::trqc: row.alignment = TextAlignment::center; break;
        case RtfWord::trqr: row.alignment = TextAlignment::right; break;
        case RtfWord::trwWidth: row.width.value = value; break;
        case RtfWord::trftsWidth: row.width.unit = value; break;
        case RtfWord::trcbpat: row.background = value; break;
        case RtfWord::lastrow: row.isLast = true; break;
        case RtfWord::cellx: endCellDefinition(row, value); break;
        case RtfWord::clmgf: row.next.startsColumns = true; break;
        case RtfWord::clmrg: row.next.continuesColumns = true; break;
        case RtfWord::clvmgf: row.next.startsRows = true; break;
        case RtfWord::clvmrg: row.next.continuesRows = true; break;
        case RtfWord::clvertalt: row.next.alignment = VerticalAlignment::top; break;
        case RtfWord::clvertalc: row.next.alignment = VerticalAlignment::middle; break;
        case RtfWord::clvertalb: row.next.alignment = VerticalAlignment::bottom; break;
        case RtfWord::clwWidth: row.next.width.value = value; break;
        case RtfWord::clftsWidth: row.next.width.unit = value; break;
        case RtfWord::clcbpat: row.next.background = value; break;
        case RtfWord::clpadl:
        case RtfWord::clpadt:
        case RtfWord::clpadr:
        case RtfWord::clpadb: *edgeOf(row.next.padding, word) = std::max(value, 0); break;
        default: row.edge = word; break;  // one of the cell's borders
    }
}

}  // namespace

RtfTables::Level& RtfTables::level(std::int32_t depth) {
    const auto count = static_cast<std::size_t>(depth);
    if (levels_.size() < count) levels_.resize(count);
    return levels_[count - 1];
}

RtfRow& RtfTables::definitionAt(std::int32_t depth) {
    std::shared_ptr<RtfRow>& definition = level(depth).definition;
    // Rows that are over share it.
    if (definition.use_count() > 1) definition = std::make_shared<RtfRow>(*definition);
    return *definition;
}

void RtfTables::apply(std::int32_t depth, RtfWordEntry entry, bool hasValue, std::int32_t value) {
    if (entry.word == RtfWord::trowd) {
        level(depth).definition = std::make_shared<RtfRow>();
        return;
    }
    RtfRow& row = definitionAt(depth);
    const std::int32_t number = hasValue ? value : 0;
    switch (entry.kind) {
        case RtfWordKind::row: applyRowWord(row, entry.word, number); break;
        case RtfWordKind::border: applyBorderWord(row, entry.word, number); break;
        default: row.edge = RtfWord::unknown; break;
    }
}

std::uint32_t RtfTables::cellAt(std::int32_t depth) {
    std::uint32_t outer = kNoCell;
    level(depth);
    for (std::int32_t i = 1; i <= depth; ++i) {
        Level& current = level(i);
        if (current.table == kNoCell) {
            current.table = static_cast<std::uint32_t>(tables_.size());
            tables_.emplace_back();
        }
        if (current.row == kNoCell) {
            std::vector<std::uint32_t>& rows = tables_[current.table].rows;
            current.row = static_cast<std::uint32_t>(rows_.size());
            rows_.push_back({current.table, static_cast<std::uint32_t>(rows.size()), {}});
            rows.push_back(current.row);
        }
        if (current.cell == kNoCell) {
            current.cell = static_cast<std::uint32_t>(cells_.size());
            cells_.push_back({current.row, current.column, outer});
        }
        outer = current.cell;
    }
    return outer;
}

bool RtfTables::isContinued(std::int32_t depth) const {
    const auto index = static_cast<std::size_t>(depth) - 1;
    if (index >= levels_.size()) return false;
    const Level& current = levels_[index];
    const std::vector<RtfCell>& cells = current.definition->cells;
    return current.column < cells.size() &&
           (cells[current.column].continuesColumns || cells[current.column].continuesRows);
}

void RtfTables::endCell(std::int32_t depth) {
    leave(depth);
    Level& current = level(depth);
    current.cell = kNoCell;
    ++current.column;
}

void RtfTables::endRow(std::int32_t depth) {
    leave(depth);
    Level& current = level(depth);
    closeRow(current);
    if (current.definition->isLast) current.table = kNoCell;
}

void RtfTables::leave(std::int32_t depth) {
    for (auto i = static_cast<std::size_t>(depth); i < levels_.size(); ++i) {
        closeRow(levels_[i]);
        levels_[i].table = kNoCell;
    }
}

void RtfTables::closeRow(Level& current) {
    if (current.row != kNoCell) rows_[current.row].definition = current.definition;
    current.row = current.cell = kNoCell;
    current.column = 0;
}

void RtfTables::measure(Table& table) const {
    std::vector<std::int32_t> all;
    std::uint32_t mostCells = 0;
    for (const std::uint32_t row : table.rows) {
        const RtfRow& definition = *rows_[row].definition;
        if (!definition.cells.empty()) all.push_back(definition.left);
        for (const RtfCell& cell : definition.cells) all.push_back(cell.right);
        mostCells = std::max(mostCells, static_cast<std::uint32_t>(definition.cells.size()));
    }
    std::ranges::sort(all);
    for (const std::int32_t bound : all) {
        if (table.bounds.empty() || bound - table.bounds.back() > kTolerance) {
            table.bounds.push_back(bound);
        }
    }
    // Rows that overlap nothing of each other, or cells without a width, make no grid.
    if (table.bounds.size() <= mostCells) table.bounds.clear();
}

TableCell RtfTables::resolve(const Cell& cell, const RtfResources& resources) const {
    const Row& row = rows_[cell.row];
    const Table& table = tables_[row.table];
    const RtfRow& definition = *row.definition;
    TableCell result;
    result.table = table.index;
    result.row = row.number;
    result.column = cell.column;
    if (cell.column >= definition.cells.size()) return result;

    const RtfCell& own = definition.cells[cell.column];
    std::size_t last = cell.column;
    while (own.startsColumns && last + 1 < definition.cells.size() &&
           definition.cells[last + 1].continuesColumns) {
        ++last;
    }
    const std::int32_t left = leftOf(definition, cell.column);
    const std::int32_t right = definition.cells[last].right;
    if (!table.bounds.empty()) {
        result.column = columnAt(table.bounds, left);
        result.columnSpan =
            std::max(columnAt(table.bounds, right), result.column + 1) - result.column;
    } else {
        result.columnSpan = static_cast<std::uint32_t>(last - cell.column + 1);
    }
    if (own.startsRows) {
        const auto continues = [&](std::uint32_t other) {
            const RtfRow& below = *rows_[other].definition;
            for (std::size_t i = 0; i < below.cells.size(); ++i) {
                if (std::abs(leftOf(below, i) - left) <= kTolerance)
                    return below.cells[i].continuesRows;
            }
            return false;
        };
        while (row.number + result.rowSpan < table.rows.size() &&
               continues(table.rows[row.number + result.rowSpan])) {
            ++result.rowSpan;
        }
    }
    result.width = own.width.unit == 0 ? lengthOf({right - left, 3}) : lengthOf(own.width);
    result.padding = pointsOf(own.padding, definition.gap);
    result.borderWidth = pointsOf(own.borderWidth, 0);
    result.borderColor = {
        resources.color(own.borderColor.left), resources.color(own.borderColor.top),
        resources.color(own.borderColor.right), resources.color(own.borderColor.bottom)};
    result.background = resources.color(own.background);
    result.alignment = own.alignment;
    return result;
}

void RtfTables::addTo(AttributedText& text, const RtfResources& resources) {
    leave(0);
    for (Table& table : tables_) {
        measure(table);
        const RtfRow& first = *rows_[table.rows.front()].definition;
        TextTable result;
        result.width = lengthOf(first.width);
        result.alignment = first.alignment;
        result.background = resources.color(first.background);
        for (const std::uint32_t row : table.rows) {
            result.columns = std::max(
                result.columns, static_cast<std::uint32_t>(rows_[row].definition->cells.size()));
        }
        if (table.bounds.size() > 1) {
            result.columns = static_cast<std::uint32_t>(table.bounds.size() - 1);
        }
        table.index = text.addTable(result);
    }
    resolved_.reserve(cells_.size());
    for (const Cell& cell : cells_) resolved_.push_back(resolve(cell, resources));
}

std::vector<TableCell> RtfTables::cellsOf(std::uint32_t cell) const {
    std::vector<TableCell> cells;
    for (; cell != kNoCell; cell = cells_[cell].outer) cells.push_back(resolved_[cell]);
    std::ranges::reverse(cells);
    return cells;
}

void RtfTables::clear() {
    tables_.clear();
    rows_.clear();
    cells_.clear();
    resolved_.clear();
}

}  // namespace corvy::platform
