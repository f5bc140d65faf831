#include "platform/html_import/selector_matcher.h"

#include <algorithm>
#include <map>
#include <utility>

namespace corvy::platform::css {

namespace {

bool equal(std::string_view a, std::string_view b, bool ignoresCase) {
    return ignoresCase ? std::equal(a.begin(), a.end(), b.begin(), b.end(),
                                    [](char x, char y) { return lowerOf(x) == lowerOf(y); })
                       : a == b;
}

}  // namespace

void AncestorFilter::change(const HtmlTree& tree, NodeIndex node, int by) {
    const auto count = [&](HashedKind kind, Atom name) {
        counts_[hashOfName(kind, name) >> kShift] += by;
    };
    count(HashedKind::type, tree[node].tag);
    if (tree[node].id != kNoAtom) count(HashedKind::id, tree[node].id);
    for (const Atom name : tree.classes(node)) count(HashedKind::className, name);
}

SelectorMatcher::SelectorMatcher(const HtmlTree& tree, const StyleSheets& sheets)
    : tree_(tree), sheets_(sheets) {
    indexRules();
}

// By the most telling name that the element itself must have.
void SelectorMatcher::indexRules() {
    const Selectors& selectors = sheets_.selectors();
    for (std::uint32_t i = 0; i < sheets_.rules().size(); ++i) {
        const ComplexSelector& selector = selectors.selector(sheets_.rules()[i].selector);
        const SelectorPart* best = nullptr;
        for (std::uint32_t p = selector.begin;
             p < selector.end && !isCombinator(selectors.part(p).test); ++p) {
            const SelectorPart& part = selectors.part(p);
            const auto strength = [](Test test) {
                return test == Test::id ? 3 : test == Test::className ? 2 : 1;
            };
            if (part.test <= Test::className &&
                (!best || strength(part.test) > strength(best->test))) {
                best = &part;
            }
        }
        if (!best) {
            others_.push_back(i);
        } else if (best->test == Test::id) {
            byId_[best->name].push_back(i);
        } else if (best->test == Test::className) {
            byClass_[best->name].push_back(i);
        } else {
            byType_[best->name].push_back(i);
        }
    }
}

const std::vector<SelectorMatcher::Match>& SelectorMatcher::matchesOf(
    NodeIndex node, const AncestorFilter& filter) {
    found_.clear();
    const auto tryNamed = [&](const std::unordered_map<Atom, RuleList>& index, Atom name) {
        const auto found = index.find(name);
        if (found != index.end()) tryRules(found->second, node, filter);
    };
    const HtmlNode& element = tree_[node];
    tryNamed(byType_, element.tag);
    tryRules(others_, node, filter);
    const auto classes = tree_.classes(node);
    for (std::size_t i = 0; i < classes.size(); ++i) {
        // A class that is named twice is one class.
        const auto before = classes.first(std::min<std::size_t>(i, 64));
        if (std::find(before.begin(), before.end(), classes[i]) == before.end()) {
            tryNamed(byClass_, classes[i]);
        }
    }
    if (element.id != kNoAtom) tryNamed(byId_, element.id);
    std::ranges::sort(found_, {},
                      [](const Match& match) { return std::pair(match.rank, match.block); });
    return found_;
}

void SelectorMatcher::tryRules(const RuleList& rules, NodeIndex node,
                               const AncestorFilter& filter) {
    for (const std::uint32_t index : rules) {
        const StyleRule& rule = sheets_.rules()[index];
        const ComplexSelector& selector = sheets_.selectors().selector(rule.selector);
        if (!spend(1) && rule.rank >> 63 != 0) return;
        if (!filter.mayMatch(selector) || !matches(selector, node)) continue;
        spend(8);
        found_.push_back({rule.rank, rule.block});
    }
}

bool SelectorMatcher::spend(std::uint64_t cost) {
    spent_ += cost;
    return spent_ <= kBudget;
}

// From right to left. Where a combinator leaves a choice the nearest element is taken; when that
// leads nowhere the next one, and only the choice made last needs to be changed: an element
// further away has fewer ancestors and earlier siblings to offer, never others.
bool SelectorMatcher::matches(const ComplexSelector& selector, NodeIndex node) {
    struct Choice {
        std::uint32_t part = 0;
        NodeIndex node = kNoNode;  // none: there is no choice
    };
    Choice ancestors, siblings;
    const Selectors& selectors = sheets_.selectors();
    std::uint32_t p = selector.begin;
    while (p < selector.end) {
        const SelectorPart& part = selectors.part(p);
        bool ok = spend(1);
        if (!ok) return false;
        switch (part.test) {
            case Test::descendant:
                siblings = {};
                node = tree_[node].parent;
                ancestors = {p + 1, node};
                ok = node != kNoNode;
                break;
            case Test::child:
                node = tree_[node].parent;
                ok = node != kNoNode;
                break;
            case Test::laterSibling:
                node = tree_[node].previousElement;
                siblings = {p + 1, node};
                ok = node != kNoNode;
                break;
            case Test::nextSibling:
                node = tree_[node].previousElement;
                ok = node != kNoNode;
                break;
            default: ok = matchesPart(part, node);
        }
        if (ok) {
            ++p;
            continue;
        }
        if (siblings.node != kNoNode) siblings.node = tree_[siblings.node].previousElement;
        if (siblings.node != kNoNode) {
            p = siblings.part;
            node = siblings.node;
            continue;
        }
        if (ancestors.node != kNoNode) ancestors.node = tree_[ancestors.node].parent;
        if (ancestors.node == kNoNode) return false;
        siblings = {};
        p = ancestors.part;
        node = ancestors.node;
    }
    return true;
}

bool SelectorMatcher::matchesAnyOf(SelectorRange range, NodeIndex node) {
    for (std::uint32_t i = range.begin; i < range.end; ++i) {
        const ComplexSelector& selector = sheets_.selectors().selector(i);
        if (!selector.never && matches(selector, node)) return true;
    }
    return false;
}

bool SelectorMatcher::matchesPart(const SelectorPart& part, NodeIndex node) {
    const HtmlNode& element = tree_[node];
    switch (part.test) {
        case Test::type: return element.tag == part.name;
        case Test::id: return element.id == part.name;
        case Test::className: return tree_.hasClass(node, part.name);
        case Test::attribute: return matchesAttribute(part, node);
        case Test::link:
            return (element.tag == Name::a || element.tag == Name::area) &&
                   tree_.attribute(node, Name::href);
        case Test::root: return element.parent == kNoNode;
        case Test::empty: {
            for (NodeIndex i = node + 1; i < element.end; ++i) {
                if (tree_[i].isElement() || !tree_[i].text.empty()) return false;
            }
            return true;
        }
        case Test::firstChild: return element.position == 1 && element.parent != kNoNode;
        case Test::lastChild:
            return element.parent != kNoNode &&
                   element.position == tree_[element.parent].elementCount;
        case Test::nthChild:
        case Test::nthLastChild:
        case Test::nthOfType:
        case Test::nthLastOfType: return matchesCount(part, node);
        case Test::matchesAny: return matchesAnyOf(sheets_.selectors().list(part.list), node);
        case Test::matchesNone: return !matchesAnyOf(sheets_.selectors().list(part.list), node);
        case Test::language: return matchesLanguage(part.value, node);
        case Test::checked:
            return tree_.attribute(node, sheets_.atoms().find("checked")) ||
                   tree_.attribute(node, sheets_.atoms().find("selected"));
        case Test::disabled: return tree_.attribute(node, Name::disabled).has_value();
        case Test::enabled:
            return (element.tag == Name::input || element.tag == Name::button ||
                    element.tag == Name::select || element.tag == Name::textarea) &&
                   !tree_.attribute(node, Name::disabled);
        default: return false;
    }
}

bool SelectorMatcher::matchesAttribute(const SelectorPart& part, NodeIndex node) const {
    const auto value = tree_.attribute(node, part.name);
    if (!value) return false;
    const std::string_view wanted = part.value;
    const auto same = [&](std::string_view text) { return equal(text, wanted, part.ignoresCase); };
    const bool fits = value->size() >= wanted.size();
    switch (part.attributeTest) {
        case AttributeTest::present: return true;
        case AttributeTest::equal: return same(*value);
        case AttributeTest::word: {
            bool found = false;
            if (!wanted.empty()) {
                forEachWord(*value, [&](std::string_view word) { found = found || same(word); });
            }
            return found;
        }
        case AttributeTest::prefix:
            return !wanted.empty() && fits && same(value->substr(0, wanted.size()));
        case AttributeTest::suffix:
            return !wanted.empty() && fits && same(value->substr(value->size() - wanted.size()));
        case AttributeTest::substring: {
            if (wanted.empty() || !fits) return false;
            return std::search(value->begin(), value->end(), wanted.begin(), wanted.end(),
                               [&](char a, char b) {
                                   return part.ignoresCase ? lowerOf(a) == lowerOf(b) : a == b;
                               }) != value->end();
        }
        case AttributeTest::languagePrefix:
            return fits && same(value->substr(0, wanted.size())) &&
                   (value->size() == wanted.size() || (*value)[wanted.size()] == '-');
    }
    return false;
}

bool SelectorMatcher::matchesLanguage(std::string_view language, NodeIndex node) const {
    for (; node != kNoNode; node = tree_[node].parent) {
        const auto value = tree_.attribute(node, Name::lang);
        if (!value) continue;
        return value->size() >= language.size() &&
               equal(value->substr(0, language.size()), language, true) &&
               (value->size() == language.size() || (*value)[language.size()] == '-');
    }
    return false;
}

bool SelectorMatcher::matchesCount(const SelectorPart& part, NodeIndex node) {
    if (tree_[node].parent == kNoNode) return false;
    if (part.list != kNoList && !matchesAnyOf(sheets_.selectors().list(part.list), node)) {
        return false;
    }
    const std::int64_t distance = positionOf(part, node) - part.offset;
    if (part.step == 0) return distance == 0;
    return distance % part.step == 0 && distance / part.step >= 0;
}

std::int64_t SelectorMatcher::positionOf(const SelectorPart& part, NodeIndex node) {
    const HtmlNode& element = tree_[node];
    if (part.test == Test::nthOfType || part.test == Test::nthLastOfType) {
        if (typePositions_.empty()) countTypes();
        return part.test == Test::nthOfType ? typePositions_[node].position
                                            : typePositions_[node].fromEnd;
    }
    const bool fromEnd = part.test == Test::nthLastChild;
    if (part.list == kNoList) {
        const std::uint32_t count = tree_[element.parent].elementCount;
        return fromEnd ? count + 1 - element.position : element.position;
    }
    std::int64_t position = 1;
    NodeIndex other = fromEnd ? element.nextSibling : element.previousElement;
    while (other != kNoNode && spend(1)) {
        if (tree_[other].isElement() && matchesAnyOf(sheets_.selectors().list(part.list), other)) {
            ++position;
        }
        other = fromEnd ? tree_[other].nextSibling : tree_[other].previousElement;
    }
    return position;
}

void SelectorMatcher::countTypes() {
    typePositions_.resize(tree_.size());
    std::map<std::pair<NodeIndex, Atom>, std::uint32_t> counts;
    for (NodeIndex i = 0; i < tree_.size(); ++i) {
        if (!tree_[i].isElement()) continue;
        typePositions_[i].position = ++counts[{tree_[i].parent, tree_[i].tag}];
    }
    for (NodeIndex i = 0; i < tree_.size(); ++i) {
        if (!tree_[i].isElement()) continue;
        typePositions_[i].fromEnd =
            counts[{tree_[i].parent, tree_[i].tag}] + 1 - typePositions_[i].position;
    }
}

}  // namespace corvy::platform::css
