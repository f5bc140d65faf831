// The elements and texts of an HTML page, as a parser of HTML5 sees them.
//
// The parser itself is behind parseHtml() and the five functions of HtmlTree::Builder; whatever
// calls those makes a tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/html_import/atoms.h"
#include "platform/html_import/text_arena.h"

namespace corvy::platform {

using NodeIndex = std::uint32_t;
inline constexpr NodeIndex kNoNode = 0xFFFFFFFF;

struct HtmlNode {
    Atom tag = kNoAtom;  // kNoAtom for text
    NodeIndex parent = kNoNode;
    NodeIndex nextSibling = kNoNode;
    NodeIndex previousElement = kNoNode;  // the sibling in front of it that is an element
    NodeIndex end = 0;                    // behind the last node below it
    std::uint32_t firstAttribute = 0;
    std::uint32_t attributeCount = 0;
    std::uint32_t firstClass = 0;
    std::uint32_t classCount = 0;
    Atom id = kNoAtom;
    std::uint32_t position = 0;      // among the elements of its parent, from 1
    std::uint32_t elementCount = 0;  // elements that are its children
    std::string_view text = {};

    bool isElement() const { return tag != kNoAtom; }
};

class HtmlTree {
public:
    struct Attribute {
        Atom name;
        std::string_view value;
    };

    // Names of classes and IDs are atoms of this table; in quirks mode of their lower case.
    explicit HtmlTree(AtomTable& atoms) : atoms_(&atoms) {}

    // In document order, so that the nodes below one stand behind it up to its `end`. The first
    // one, if any, is the root element.
    std::span<const HtmlNode> nodes() const { return nodes_; }
    const HtmlNode& operator[](NodeIndex index) const { return nodes_[index]; }
    NodeIndex size() const { return static_cast<NodeIndex>(nodes_.size()); }
    bool quirks() const { return quirks_; }

    // None when the element lacks it.
    std::optional<std::string_view> attribute(NodeIndex node, Atom name) const;
    std::optional<std::string_view> attribute(NodeIndex node, Name name) const {
        return attribute(node, atomOf(name));
    }
    std::span<const Atom> classes(NodeIndex node) const;
    bool hasClass(NodeIndex node, Atom name) const;
    // kNoNode when there is none.
    NodeIndex firstChild(NodeIndex node) const {
        return node + 1 < nodes_[node].end ? node + 1 : kNoNode;
    }
    // The texts below an element, joined.
    std::string textOf(NodeIndex node) const;

    class Builder {
    public:
        explicit Builder(HtmlTree& tree) : tree_(tree) {}

        void setQuirks() { tree_.quirks_ = true; }
        void openElement(std::string_view name);
        // Of the element just opened.
        void addAttribute(std::string_view name, std::string_view value);
        void addText(std::string_view text);
        void closeElement();

    private:
        NodeIndex append();

        struct Open {
            NodeIndex node;
            NodeIndex lastChild = kNoNode;
            NodeIndex lastElement = kNoNode;
        };
        HtmlTree& tree_;
        std::vector<Open> open_;
    };

private:
    AtomTable* atoms_;
    TextArena texts_;
    std::vector<HtmlNode> nodes_;
    std::vector<Attribute> attributes_;
    std::vector<Atom> classes_;
    bool quirks_ = false;
};

// Calls `f` with each word of a list between white space.
template <typename F>
void forEachWord(std::string_view text, F&& f) {
    constexpr std::string_view kSpace = " \t\n\r\f";
    for (std::size_t at = text.find_first_not_of(kSpace); at != text.npos;
         at = text.find_first_not_of(kSpace, at)) {
        const std::size_t end = std::min(text.find_first_of(kSpace, at), text.size());
        f(text.substr(at, end - at));
        at = end;
    }
}

// Parses the UTF-8 text as HTML5 says, scripts being off. What is nested too deep is left out or
// moved up (see nesting_guard.h); nothing is refused.
void parseHtml(std::string_view html, HtmlTree::Builder& builder);

}  // namespace corvy::platform
