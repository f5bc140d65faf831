// Writes a page, whose styles are known, as attributed text.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "foundation/property_list.h"
#include "platform/html_import/html_tree.h"
#include "platform/html_import/resource_loader.h"
#include "platform/html_import/style_resolver.h"
#include "platform/html_import/table_grid.h"
#include "platform/html_import/text_flow.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

// What was loaded for the elements of a page.
struct PageResources {
    std::unordered_map<NodeIndex, Resource> images;
    std::unordered_map<NodeIndex, AttributedText> frames;
};

class PageWriter {
public:
    // All of it must outlive the writer.
    PageWriter(const HtmlTree& tree, const css::StyleResolver& styles,
               const PageResources& resources, const std::optional<Url>& baseURL);

    AttributedText write();

private:
    // An element whose content is being written.
    struct Box {
        NodeIndex node = kNoNode;
        bool isBlock = false;
        bool isItem = false;  // of a list, with a marker
        bool isCell = false;
        bool isTable = false;
        // What was before it, for when it ends.
        double left = 0;  // insets, pixels
        double right = 0;
        std::uint32_t link = 0;
        int level = 0;  // of superscripts
        css::Color background;
        css::Color ground;
        std::size_t block = 0;
    };
    struct Item {
        std::u16string marker;
        bool isWritten = false;
        std::uint32_t list = 0;
        TextFlow::StyleIndex style = 0;
    };
    struct ListState {
        std::uint32_t list = 0;
        std::int32_t next = 1;
        std::int32_t step = 1;
    };

    void open(NodeIndex node);
    void close();
    // True when the element is written by that: nothing in it counts.
    bool writeWhole(NodeIndex node, const css::ComputedStyle& style);
    void openBlock(NodeIndex node, const css::ComputedStyle& style, Box& box);
    void openItem(NodeIndex node, const css::ComputedStyle& style, Box& box);
    void openTable(NodeIndex node, const css::ComputedStyle& style, Box& box);
    void openCell(NodeIndex node, const css::ComputedStyle& style, Box& box);
    void openInline(NodeIndex node, const css::ComputedStyle& style);
    void followLink(NodeIndex node);
    void writeText(NodeIndex node);
    void writeImage(NodeIndex node, const css::ComputedStyle& style);
    ListState& listOf(NodeIndex item, const css::ComputedStyle& style);
    ParagraphStyle beginParagraph();
    TextFlow::StyleIndex textStyle(NodeIndex node);
    TextStyle makeTextStyle(const css::ComputedStyle& style) const;

    const HtmlTree& tree_;
    const css::StyleResolver& styles_;
    const PageResources& resources_;
    const std::optional<Url>& baseURL_;
    AttributedText text_;
    TextFlow flow_;
    std::vector<Box> boxes_;
    std::vector<Item> items_;
    std::vector<TableCell> cells_;
    struct OpenTable {
        TableGrid grid;
        std::uint32_t index = 0;
    };
    std::vector<OpenTable> tables_;
    std::unordered_map<NodeIndex, ListState> lists_;

    // The state that boxes save.
    double left_ = 0;
    double right_ = 0;
    std::uint32_t link_ = 0;  // index in links_; 0 is none
    int level_ = 0;
    css::Color background_ = {0, 0, 0, 0};  // of the inline boxes
    css::Color ground_ = {0, 0, 0, 0};      // of the blocks
    std::size_t block_ = 0;                 // index in boxes_ of the innermost block

    std::vector<std::u16string> links_ = {{}};
    // By computed style, link, level, background and ground.
    using StyleKey = std::tuple<std::uint32_t, std::uint32_t, int, std::uint32_t, std::uint32_t>;
    std::map<StyleKey, TextFlow::StyleIndex> textStyles_;
    StyleKey lastKey_ = {0xFFFFFFFF, 0, 0, 0, 0};
    TextFlow::StyleIndex lastStyle_ = 0;
};

}  // namespace corvy::platform
