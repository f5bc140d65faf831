#include "platform/document_readers/open_document_table.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

constexpr std::uint32_t kMostColumns = 256;
// Cells of one table. Repeated ones are few in texts; in sheets they fill the page.
constexpr std::size_t kMostCells = 100'000;

std::uint32_t countOf(Node node, const char* name) {
    const double count = numberOf(attributeOf(node, name)).value_or(1);
    return static_cast<std::uint32_t>(std::clamp(count, 1.0, static_cast<double>(kMostColumns)));
}

// "0.05pt solid #000000"
void readBorder(std::optional<std::string_view> text, double& width,
                std::optional<RgbColor>& color) {
    if (!text) return;
    width = 0;
    color.reset();
    if (text->find("none") != std::string_view::npos) return;
    constexpr double kThinnest = 0.25, kThickest = 6;
    std::string_view rest = *text;
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        if (word.starts_with('#')) color = colorOf(word);
        if (const auto points = pointsOf(word)) {
            width = *points > 0 ? std::clamp(*points, kThinnest, kThickest) : 0;
        }
    }
}

class TableReader {
public:
    TableReader(Node table, const OpenDocumentStyles& styles) : table_(table), styles_(styles) {}

    OpenDocumentTable read() {
        readFrame();
        gather(table_, 0);
        return std::move(made_);
    }

private:
    void readFrame() {
        const Node properties =
            styles_.node("table", attributeOf(table_, "table:style-name").value_or(""))
                .child("style:table-properties");
        if (const auto percent = numberOf(attributeOf(properties, "style:rel-width"))) {
            made_.table.width = TextLength{std::clamp(*percent, 1.0, 100.0), true};
        } else if (const auto width = pointsOf(attributeOf(properties, "style:width"))) {
            made_.table.width = TextLength{*width, false};
        }
        made_.table.columns = 1;
        made_.table.collapsesBorders =
            attributeOf(properties, "table:border-model") == "collapsing";
        const std::string_view alignment = attributeOf(properties, "table:align").value_or("");
        if (alignment == "center") made_.table.alignment = TextAlignment::center;
        if (alignment == "right") made_.table.alignment = TextAlignment::right;
        made_.table.background = openDocumentColor(attributeOf(properties, "fo:background-color"));
    }

    // Rows and columns stand in the table, or in groups of them.
    void gather(Node parent, int depth) {
        if (depth > kMaxXmlDepth) return;
        for (const Node node : parent.children()) {
            const std::string_view name = node.name();
            if (name == "table:table-row") {
                const std::uint32_t repeats = countOf(node, "table:number-rows-repeated");
                for (std::uint32_t i = 0; i < repeats; ++i) readRow(node, i > 0);
            } else if (name == "table:table-column") {
                readColumns(node);
            } else if (name.ends_with("-rows") || name.ends_with("-columns") ||
                       name.ends_with("-group")) {
                gather(node, depth + 1);
            }
        }
    }

    void readColumns(Node node) {
        const Node properties =
            styles_.node("table-column", attributeOf(node, "table:style-name").value_or(""))
                .child("style:table-column-properties");
        const double width = pointsOf(attributeOf(properties, "style:column-width")).value_or(0);
        const std::uint32_t repeats = countOf(node, "table:number-columns-repeated");
        for (std::uint32_t i = 0; i < repeats && widths_.size() < kMostColumns; ++i) {
            widths_.push_back(width);
        }
    }

    // kept: what is repeated is there, but empty. Texts repeat empty cells only, and a few bytes
    // could else stand for any number of pages.
    void readRow(Node row, bool isCopy) {
        std::uint32_t column = 0;
        for (const Node node : row.children()) {
            const std::string_view name = node.name();
            const bool isCell = name == "table:table-cell";
            if (!isCell && name != "table:covered-table-cell") continue;
            const std::uint32_t repeats = countOf(node, "table:number-columns-repeated");
            for (std::uint32_t i = 0; i < repeats && column < kMostColumns; ++i, ++column) {
                if (isCell && made_.cells.size() < kMostCells) {
                    addCell(node, column, isCopy || i > 0);
                }
            }
        }
        made_.table.columns = std::max(made_.table.columns, column);
        ++row_;
    }

    void addCell(Node node, std::uint32_t column, bool isEmpty) {
        TableCell cell;
        cell.row = row_;
        cell.column = column;
        cell.rowSpan = countOf(node, "table:number-rows-spanned");
        cell.columnSpan =
            std::min(countOf(node, "table:number-columns-spanned"), kMostColumns - column);
        double width = 0;
        for (std::size_t i = column; i < column + cell.columnSpan && i < widths_.size(); ++i) {
            width += widths_[i];
        }
        if (width > 0) cell.width = TextLength{width, false};
        const Node properties =
            styles_.node("table-cell", attributeOf(node, "table:style-name").value_or(""))
                .child("style:table-cell-properties");
        const double padding = pointsOf(attributeOf(properties, "fo:padding")).value_or(0);
        const auto paddingAt = [&](const char* name) {
            return pointsOf(attributeOf(properties, name)).value_or(padding);
        };
        cell.padding = {paddingAt("fo:padding-left"), paddingAt("fo:padding-top"),
                        paddingAt("fo:padding-right"), paddingAt("fo:padding-bottom")};
        const auto borderAt = [&](const char* name, double& breadth,
                                  std::optional<RgbColor>& color) {
            readBorder(attributeOf(properties, "fo:border"), breadth, color);
            readBorder(attributeOf(properties, name), breadth, color);
        };
        borderAt("fo:border-left", cell.borderWidth.left, cell.borderColor.left);
        borderAt("fo:border-top", cell.borderWidth.top, cell.borderColor.top);
        borderAt("fo:border-right", cell.borderWidth.right, cell.borderColor.right);
        borderAt("fo:border-bottom", cell.borderWidth.bottom, cell.borderColor.bottom);
        cell.background = openDocumentColor(attributeOf(properties, "fo:background-color"));
        const std::string_view alignment =
            attributeOf(properties, "style:vertical-align").value_or("");
        if (alignment == "middle") cell.alignment = VerticalAlignment::middle;
        if (alignment == "bottom") cell.alignment = VerticalAlignment::bottom;
        made_.cells.push_back({isEmpty ? Node() : node, cell});
    }

    Node table_;
    const OpenDocumentStyles& styles_;
    OpenDocumentTable made_;
    std::vector<double> widths_;
    std::uint32_t row_ = 0;
};

}  // namespace

OpenDocumentTable readOpenDocumentTable(Node table, const OpenDocumentStyles& styles) {
    return TableReader(table, styles).read();
}

}  // namespace corvy::platform
