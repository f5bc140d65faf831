#include "platform/html_import/html_tree.h"

#include <algorithm>
#include <string>

namespace corvy::platform {

NodeIndex HtmlTree::Builder::append() {
    const NodeIndex index = tree_.size();
    HtmlNode& node = tree_.nodes_.emplace_back();
    node.end = index + 1;
    if (open_.empty()) return index;
    Open& parent = open_.back();
    node.parent = parent.node;
    node.previousElement = parent.lastElement;
    if (parent.lastChild != kNoNode) tree_.nodes_[parent.lastChild].nextSibling = index;
    parent.lastChild = index;
    return index;
}

void HtmlTree::Builder::openElement(std::string_view name) {
    const NodeIndex index = append();
    HtmlNode& node = tree_.nodes_[index];
    node.tag = tree_.atoms_->addLowered(name);
    node.firstAttribute = static_cast<std::uint32_t>(tree_.attributes_.size());
    node.position = 1;
    if (!open_.empty()) {
        open_.back().lastElement = index;
        node.position = ++tree_.nodes_[open_.back().node].elementCount;
    }
    open_.push_back({index});
}

void HtmlTree::Builder::addAttribute(std::string_view name, std::string_view value) {
    HtmlNode& node = tree_.nodes_.back();
    const Atom atom = tree_.atoms_->addLowered(name);
    const std::string_view kept = tree_.texts_.keep(value);
    tree_.attributes_.push_back({atom, kept});
    ++node.attributeCount;
    const auto named = [this](std::string_view text) {
        return tree_.quirks_ ? tree_.atoms_->addLowered(text) : tree_.atoms_->add(text);
    };
    if (atom == Name::id && !kept.empty()) node.id = named(kept);
    if (atom == Name::class_) {
        node.firstClass = static_cast<std::uint32_t>(tree_.classes_.size());
        forEachWord(kept, [&](std::string_view word) { tree_.classes_.push_back(named(word)); });
        node.classCount = static_cast<std::uint32_t>(tree_.classes_.size()) - node.firstClass;
    }
}

void HtmlTree::Builder::addText(std::string_view text) {
    if (text.empty()) return;
    const NodeIndex index = append();
    tree_.nodes_[index].text = tree_.texts_.keep(text);
}

void HtmlTree::Builder::closeElement() {
    tree_.nodes_[open_.back().node].end = tree_.size();
    open_.pop_back();
}

std::optional<std::string_view> HtmlTree::attribute(NodeIndex node, Atom name) const {
    const HtmlNode& element = nodes_[node];
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
        const Attribute& attribute = attributes_[element.firstAttribute + i];
        if (attribute.name == name) return attribute.value;
    }
    return std::nullopt;
}

std::span<const Atom> HtmlTree::classes(NodeIndex node) const {
    return std::span(classes_).subspan(nodes_[node].firstClass, nodes_[node].classCount);
}

bool HtmlTree::hasClass(NodeIndex node, Atom name) const {
    const auto all = classes(node);
    return std::find(all.begin(), all.end(), name) != all.end();
}

std::string HtmlTree::textOf(NodeIndex node) const {
    std::string text;
    for (NodeIndex i = node; i < nodes_[node].end; ++i) text += nodes_[i].text;
    return text;
}

}  // namespace corvy::platform
