#include "platform/document_readers/word_binary_table.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace corvy::platform {

namespace {

struct Row {
    std::vector<std::span<const WordBinaryParagraph>> cells;
    WordRow definition;
};

std::vector<Row> rowsOf(std::span<const WordBinaryParagraph> paragraphs) {
    std::vector<Row> rows(1);
    std::size_t start = 0;
    for (std::size_t i = 0; i < paragraphs.size(); ++i) {
        const WordBinaryParagraph& paragraph = paragraphs[i];
        const bool isInner = paragraph.properties.depth.value_or(1) > 1;
        if (paragraph.isCellEnd && !isInner && paragraph.properties.endsRow.value_or(false)) {
            rows.back().definition = paragraph.properties.row.value_or(WordRow());
            rows.emplace_back();
            start = i + 1;
        } else if ((paragraph.isCellEnd && !isInner) || i + 1 == paragraphs.size()) {
            rows.back().cells.push_back(paragraphs.subspan(start, i + 1 - start));
            start = i + 1;
        }
    }
    if (rows.back().cells.empty()) rows.pop_back();
    return rows;
}

// The bounds of columns, which rows need not share.
class Columns {
public:
    void add(double bound) {
        if (find(bound) == bounds_.end()) {
            bounds_.insert(std::ranges::lower_bound(bounds_, bound), bound);
        }
    }
    std::uint32_t indexOf(double bound) const {
        return static_cast<std::uint32_t>(find(bound) - bounds_.begin());
    }
    std::uint32_t count() const {
        return static_cast<std::uint32_t>(bounds_.size() < 2 ? 1 : bounds_.size() - 1);
    }

private:
    std::vector<double>::const_iterator find(double bound) const {
        constexpr double kSame = 1;  // point
        return std::ranges::find_if(bounds_,
                                    [&](double known) { return std::abs(known - bound) < kSame; });
    }
    std::vector<double> bounds_;
};

struct Place {
    double left;
    double right;
};

// Of a cell, also where the row says nothing of it.
Place placeOf(const Row& row, std::size_t index) {
    constexpr double kUsualWidth = 72;
    const std::vector<WordRowCell>& cells = row.definition.cells;
    if (index < cells.size()) {
        return {index == 0 ? row.definition.left : cells[index - 1].right, cells[index].right};
    }
    const double end = cells.empty() ? row.definition.left : cells.back().right;
    const auto further = static_cast<double>(index - cells.size());
    return {end + further * kUsualWidth, end + (further + 1) * kUsualWidth};
}

void drawEdges(TableCell& cell, const WordRow& row, const WordRowCell& told, bool isTop,
               bool isBottom, bool isRight) {
    const auto draw = [&](std::size_t own, std::size_t ofTable, double& width,
                          std::optional<RgbColor>& color) {
        const std::optional<WordCellEdge>& edge =
            told.edges[own] ? told.edges[own] : row.edges[ofTable];
        if (!edge) return;
        width = edge->width;
        color = edge->color;
    };
    constexpr std::size_t kTop = 0, kLeft = 1, kBottom = 2, kRight = 3, kHorizontal = 4,
                          kVertical = 5;
    draw(kTop, isTop ? kTop : kHorizontal, cell.borderWidth.top, cell.borderColor.top);
    draw(kBottom, isBottom ? kBottom : kHorizontal, cell.borderWidth.bottom,
         cell.borderColor.bottom);
    draw(kLeft, cell.column == 0 ? kLeft : kVertical, cell.borderWidth.left, cell.borderColor.left);
    draw(kRight, isRight ? kRight : kVertical, cell.borderWidth.right, cell.borderColor.right);
}

}  // namespace

WordBinaryTable layOutWordBinaryTable(std::span<const WordBinaryParagraph> paragraphs) {
    const std::vector<Row> rows = rowsOf(paragraphs);
    Columns columns;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            columns.add(placeOf(row, i).left);
            columns.add(placeOf(row, i).right);
        }
    }
    WordBinaryTable made;
    made.table.columns = columns.count();
    made.table.collapsesBorders = true;
    std::map<std::uint32_t, std::size_t> merged;  // column to the cell that goes on below
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::map<std::uint32_t, std::size_t> mergedHere;
        for (std::size_t i = 0; i < rows[r].cells.size(); ++i) {
            const WordRow& definition = rows[r].definition;
            const WordRowCell told =
                i < definition.cells.size() ? definition.cells[i] : WordRowCell();
            const Place place = placeOf(rows[r], i);
            TableCell cell;
            cell.row = static_cast<std::uint32_t>(r);
            cell.column = columns.indexOf(place.left);
            const std::uint32_t end = columns.indexOf(place.right);
            cell.columnSpan = end > cell.column ? end - cell.column : 1;
            const auto owner = merged.find(cell.column);
            if (told.continuesRows && owner != merged.end()) {
                ++made.cells[owner->second].cell.rowSpan;
                mergedHere[cell.column] = owner->second;
                continue;
            }
            if (told.continuesColumns && !made.cells.empty() &&
                made.cells.back().cell.row == cell.row) {
                made.cells.back().cell.columnSpan += cell.columnSpan;
                continue;
            }
            if (place.right > place.left) cell.width = TextLength{place.right - place.left, false};
            cell.padding.left = cell.padding.right = definition.padding;
            cell.alignment = told.alignment;
            drawEdges(cell, definition, told, r == 0, r + 1 == rows.size(), end >= columns.count());
            if (told.startsRows) mergedHere[cell.column] = made.cells.size();
            made.cells.push_back({cell, rows[r].cells[i]});
        }
        merged = std::move(mergedHere);
    }
    return made;
}

}  // namespace corvy::platform
