#include "platform/html_import/presentational_hints.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

namespace corvy::platform::css {

namespace {

// A number that a text begins with, behind white space.
std::optional<double> leadingNumber(std::string_view text, std::string_view& rest) {
    while (!text.empty() && isSpaceOf(text.front())) text.remove_prefix(1);
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    rest = text.substr(static_cast<std::size_t>(end - text.data()));
    return std::clamp(number, -1e6, 1e6);
}

// Collects the declarations of one element.
class HintReader {
public:
    HintReader(const HtmlTree& tree, NodeIndex node, AtomTable& atoms,
               std::vector<Declaration>& out)
        : tree_(tree), node_(node), atoms_(atoms), out_(out), tag_(tree[node].tag) {}

    void read() {
        if (tree_[node_].attributeCount == 0 && !isCell()) return;
        if (tag_ == Name::font) {
            readFont();
        } else if (tag_ == Name::body) {
            color(Property::color, Name::text);
            color(Property::backgroundColor, Name::bgcolor);
        } else if (tag_ == Name::a) {
            readLink();
        } else if (tag_ == Name::ol || tag_ == Name::ul || tag_ == Name::li) {
            readListType();
        } else if (tag_ == Name::img || tag_ == Name::iframe || tag_ == Name::object ||
                   tag_ == Name::embed || tag_ == Name::video || tag_ == Name::input) {
            readPicture();
        } else if (tag_ == Name::table) {
            readTable();
        } else if (isCell()) {
            readCell();
        } else if (tag_ == Name::tr || tag_ == Name::tbody || tag_ == Name::thead ||
                   tag_ == Name::tfoot) {
            color(Property::backgroundColor, Name::bgcolor);
            textAlign();
            verticalAlign();
        } else if (tag_ == Name::div || tag_ == Name::p || tag_ == Name::caption || isHeading()) {
            textAlign();
        } else if (tag_ == Name::hr) {
            extent(Property::width, Name::width);
        }
    }

private:
    bool isCell() const { return tag_ == Name::td || tag_ == Name::th; }
    bool isHeading() const {
        const std::string_view name = atoms_.text(tag_);
        return name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6';
    }

    Value& give(Property property, Value::Kind kind) {
        Declaration& declaration = out_.emplace_back();
        declaration.property = property;
        declaration.value.kind = kind;
        return declaration.value;
    }
    // A value as a sheet would have it.
    void declare(std::string_view name, std::string_view value) {
        const TokenList tokens(value);
        readDeclaration(name, TokenCursor(tokens), false, {atoms_}, out_);
    }
    void pixels(Property property, double length) {
        give(property, Value::Kind::length).length = {length, Unit::px};
    }

    void color(Property property, Name attribute) {
        const auto text = tree_.attribute(node_, attribute);
        const auto read = text ? legacyColor(*text) : std::nullopt;
        if (read) give(property, Value::Kind::color).color = *read;
    }

    void extent(Property property, Name attribute) {
        const auto text = tree_.attribute(node_, attribute);
        std::string_view rest;
        const auto number = text ? leadingNumber(*text, rest) : std::nullopt;
        if (!number || *number < 0) return;
        give(property, Value::Kind::length).length = {
            *number, rest.starts_with('%') ? Unit::percent : Unit::px};
    }

    bool attributeIs(Name attribute, std::string_view word) const {
        const auto text = tree_.attribute(node_, attribute);
        return text && equalsNoCase(*text, word);
    }

    void textAlign() {
        for (const std::string_view word : {"left", "right", "center", "justify"}) {
            if (attributeIs(Name::align, word)) declare("text-align", word);
        }
        if (attributeIs(Name::align, "middle")) declare("text-align", "center");
    }
    void verticalAlign() {
        for (const std::string_view word : {"top", "middle", "bottom", "baseline"}) {
            if (attributeIs(Name::valign, word)) declare("vertical-align", word);
        }
    }

    void readFont() {
        color(Property::color, Name::color);
        if (const auto face = tree_.attribute(node_, Name::face)) {
            // The text of the attribute lives as long as the tree, unlike that of a token list.
            const TokenList tokens(*face);
            readDeclaration("font-family", TokenCursor(tokens), false, {atoms_}, out_);
        }
        const auto text = tree_.attribute(node_, Name::size);
        std::string_view rest;
        std::string_view digits = text.value_or("");
        while (!digits.empty() && isSpaceOf(digits.front())) digits.remove_prefix(1);
        const auto number = leadingNumber(digits, rest);
        if (!number) return;
        const bool isRelative = digits[0] == '+' || digits[0] == '-';
        const double step = std::clamp(std::trunc(*number) + (isRelative ? 3 : 0), 1.0, 7.0);
        // 1 is x-small, but 7 the largest of all.
        give(Property::fontSize, Value::Kind::keyword).keyword =
            static_cast<std::uint8_t>(step) + 1;
    }

    // The colour that the body gives to links.
    void readLink() {
        if (!tree_.attribute(node_, Name::href)) return;
        for (NodeIndex i = tree_[node_].parent; i != kNoNode; i = tree_[i].parent) {
            if (tree_[i].tag != Name::body) continue;
            const auto text = tree_.attribute(i, Name::link);
            const auto read = text ? legacyColor(*text) : std::nullopt;
            if (read) give(Property::color, Value::Kind::color).color = *read;
        }
    }

    void readListType() {
        const auto type = tree_.attribute(node_, Name::type);
        if (!type) return;
        if (*type == "1") declare("list-style-type", "decimal");
        if (*type == "a") declare("list-style-type", "lower-alpha");
        if (*type == "A") declare("list-style-type", "upper-alpha");
        if (*type == "i") declare("list-style-type", "lower-roman");
        if (*type == "I") declare("list-style-type", "upper-roman");
        for (const std::string_view word : {"none", "disc", "circle", "square"}) {
            if (equalsNoCase(*type, word)) declare("list-style-type", word);
        }
    }

    void readPicture() {
        extent(Property::width, Name::width);
        extent(Property::height, Name::height);
        for (const std::string_view word : {"left", "right"}) {
            if (attributeIs(Name::align, word)) declare("float", word);
        }
    }

    void readTable() {
        extent(Property::width, Name::width);
        color(Property::backgroundColor, Name::bgcolor);
        for (const std::string_view word : {"left", "right"}) {
            if (attributeIs(Name::align, word)) declare("float", word);
        }
        if (attributeIs(Name::align, "center")) declare("margin-inline", "auto");
        if (borderOf(node_) > 0) borders(borderOf(node_));
    }

    void readCell() {
        color(Property::backgroundColor, Name::bgcolor);
        extent(Property::width, Name::width);
        textAlign();
        verticalAlign();
        NodeIndex table = tree_[node_].parent;
        while (table != kNoNode && tree_[table].tag != Name::table) table = tree_[table].parent;
        if (table == kNoNode) return;
        std::string_view rest;
        const auto padding = tree_.attribute(table, Name::cellpadding);
        const auto number = padding ? leadingNumber(*padding, rest) : std::nullopt;
        for (std::size_t edge = 0; number && edge < 4; ++edge) {
            pixels(atEdge(Property::paddingTop, edge), std::max(*number, 0.0));
        }
        if (borderOf(table) > 0) borders(1);
    }

    // The width of the border of a table; an attribute without a number asks for the least.
    double borderOf(NodeIndex table) const {
        const auto text = tree_.attribute(table, Name::border);
        if (!text) return 0;
        std::string_view rest;
        return std::max(leadingNumber(*text, rest).value_or(1), 0.0);
    }
    void borders(double width) {
        for (std::size_t edge = 0; edge < 4; ++edge) {
            pixels(atEdge(Property::borderTopWidth, edge), width);
            give(atEdge(Property::borderTopStyle, edge), Value::Kind::keyword).keyword =
                static_cast<std::uint8_t>(BorderStyle::line);
            give(atEdge(Property::borderTopColor, edge), Value::Kind::color).color = {128, 128,
                                                                                      128};
        }
    }

    const HtmlTree& tree_;
    NodeIndex node_;
    AtomTable& atoms_;
    std::vector<Declaration>& out_;
    Atom tag_;
};

}  // namespace

void addPresentationalHints(const HtmlTree& tree, NodeIndex node, AtomTable& atoms,
                            std::vector<Declaration>& out) {
    HintReader(tree, node, atoms, out).read();
}

bool isNeverShown(Atom tag) {
    constexpr Name kNames[] = {Name::audio,  Name::canvas,   Name::datalist, Name::head,
                               Name::math,   Name::noframes, Name::rp,       Name::script,
                               Name::select, Name::style,    Name::svg,      Name::template_,
                               Name::title,  Name::video};
    return std::any_of(std::begin(kNames), std::end(kNames),
                       [tag](Name name) { return tag == name; });
}

}  // namespace corvy::platform::css
