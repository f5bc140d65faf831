#include "platform/document_readers/word_numbering.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"
#include "platform/document_readers/xml_part.h"
#include "platform/rich_text/rtf_encoding.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

// The first of the two children that is there.
Node either(Node node, const char* name, const char* otherName) {
    const Node found = node.child(name);
    return found ? found : node.child(otherName);
}

CounterForm formOf(std::string_view name) {
    if (name == "lowerLetter" || name == "4") return CounterForm::lowerAlpha;
    if (name == "upperLetter" || name == "3") return CounterForm::upperAlpha;
    if (name == "lowerRoman" || name == "2") return CounterForm::lowerRoman;
    if (name == "upperRoman" || name == "1") return CounterForm::upperRoman;
    return CounterForm::decimal;
}

std::size_t levelNumber(Node node) {
    const double number = numberOf(attributeOf(node, "w:ilvl")).value_or(0);
    return static_cast<std::size_t>(std::clamp(number, 0.0, 8.0));
}

std::int32_t integerOf(Node node, std::int32_t otherwise) {
    constexpr double kMost = 1'000'000'000;
    const double number = numberOf(wordValue(node)).value_or(otherwise);
    return static_cast<std::int32_t>(std::clamp(number, -kMost, kMost));
}

}  // namespace

void beginListItem(ParagraphStyle& style, const ParagraphProperties& properties,
                   WordNumbering& numbering, const ListPlace& place, DocumentStory& story,
                   const TextStyle& mark) {
    const std::u16string marker = numbering.nextMarker(place);
    if (marker.empty()) return;
    std::vector<std::uint32_t> lists;
    for (const auto& [key, list] : numbering.listsOf(place)) {
        lists.push_back(story.listFor(key, list));
    }
    const double head = properties.head.value_or(0);
    makeListItem(style, std::move(lists), head + properties.firstLine.value_or(0), head);
    story.append(u"\t" + marker + u"\t", mark);
}

std::u16string wordSymbolText(std::u16string_view text, std::u16string_view font) {
    std::u16string mapped(text);
    const SymbolFont symbols = symbolFontNamed(font, false);
    for (char16_t& unit : mapped) {
        if (unit >= 0xF020 && unit <= 0xF0FF && symbols != SymbolFont::none) {
            unit = characterOfSymbolFont(symbols, static_cast<std::uint8_t>(unit & 0xFF));
        }
    }
    return mapped;
}

std::u16string bulletText(std::u16string_view bullet, std::u16string_view font) {
    const std::u16string text = wordSymbolText(bullet, font);
    // In the private area it would be shown as a box.
    const bool isPrivate = text.size() == 1 && text[0] >= 0xE000 && text[0] < 0xF900;
    return isPrivate ? u"\x2022" : text;
}

WordNumbering::Level WordNumbering::readLevel(Node node, const WordTheme& theme) {
    Level level;
    level.start = integerOf(node.child("w:start"), 1);
    const std::string_view form = wordValue(either(node, "w:numFmt", "w:nfc"));
    level.form = formOf(form);
    level.isBullet = form == "bullet" || form == "23";
    level.isNone = form == "none" || form == "255";
    level.text = fromUtf8(wordValue(node.child("w:lvlText"))).substr(0, kMaxMarkerText);
    if (level.isBullet) {
        const TextProperties marker = wordTextProperties(node.child("w:rPr"), theme);
        level.text = bulletText(level.text, marker.font.value_or(u""));
    }
    level.style = wordValue(node.child("w:pStyle"));
    level.paragraph = wordParagraphProperties(node.child("w:pPr"));
    return level;
}

WordNumbering::WordNumbering(Node numbering, const WordTheme& theme) {
    std::map<std::string_view, Levels> abstracts;
    std::map<std::string_view, std::string_view> abstractOfStyle, styleOfAbstract;
    for (const Node node : numbering.children()) {
        const std::string_view name = node.name();
        if (name != "w:abstractNum" && name != "w:listDef") continue;
        const std::string_view identifier =
            attributeOf(node, name == "w:listDef" ? "w:listDefId" : "w:abstractNumId").value_or("");
        Levels& levels = abstracts[identifier];
        for (const Node level : node.children("w:lvl")) {
            levels[levelNumber(level)] = readLevel(level, theme);
        }
        if (const Node link = either(node, "w:styleLink", "w:listStyleLink")) {
            abstractOfStyle[wordValue(link)] = identifier;
        }
        if (const Node link = node.child("w:numStyleLink")) {
            styleOfAbstract[identifier] = wordValue(link);
        }
    }
    for (const Node node : numbering.children()) {
        const std::string_view name = node.name();
        if (name != "w:num" && name != "w:list") continue;
        std::string_view abstract = wordValue(either(node, "w:abstractNumId", "w:ilst"));
        if (const auto style = styleOfAbstract.find(abstract); style != styleOfAbstract.end()) {
            const auto other = abstractOfStyle.find(style->second);
            if (other != abstractOfStyle.end()) abstract = other->second;
        }
        const auto levels = abstracts.find(abstract);
        if (levels == abstracts.end()) continue;
        List list{std::string(abstract), levels->second, {}};
        for (const Node change : node.children("w:lvlOverride")) {
            const std::size_t level = levelNumber(change);
            if (const Node own = change.child("w:lvl")) list.levels[level] = readLevel(own, theme);
            if (const Node start = change.child("w:startOverride")) {
                list.restarts[level] = integerOf(start, 1);
            }
        }
        const char* const key = name == "w:list" ? "w:ilfo" : "w:numId";
        lists_.try_emplace(fromUtf8(attributeOf(node, key).value_or("")), std::move(list));
    }
}

const WordNumbering::List* WordNumbering::find(const std::u16string& list) const {
    const auto found = list.empty() ? lists_.end() : lists_.find(list);
    return found == lists_.end() ? nullptr : &found->second;
}

const WordNumbering::Level* WordNumbering::levelAt(const ListPlace& place) const {
    const List* list = find(place.list);
    return list == nullptr ? nullptr : &list->levels.at(place.level);
}

std::optional<std::uint8_t> WordNumbering::levelOfStyle(const std::u16string& list,
                                                        std::string_view style) const {
    const List* found = find(list);
    for (std::size_t i = 0; found != nullptr && i < kLevels; ++i) {
        if (!style.empty() && found->levels[i].style == style) return static_cast<std::uint8_t>(i);
    }
    return std::nullopt;
}

std::u16string WordNumbering::nextMarker(const ListPlace& place) {
    const List* list = find(place.list);
    if (list == nullptr) return {};
    auto& counters = counters_[list->abstract];
    const Level& own = list->levels.at(place.level);
    auto& counter = counters.at(place.level);
    bool& isRestarted = restarted_[place.list].at(place.level);
    if (list->restarts[place.level] && !isRestarted) {
        counter = list->restarts[place.level];
    } else {
        counter = counter ? *counter + 1 : own.start;
    }
    isRestarted = true;
    for (std::size_t deeper = place.level + 1U; deeper < kLevels; ++deeper) {
        counters[deeper].reset();
    }
    if (own.isNone && own.text.empty()) return {};
    if (own.isBullet) return own.text;
    std::u16string marker;
    for (std::size_t i = 0; i < own.text.size(); ++i) {
        const char16_t digit = i + 1 < own.text.size() ? own.text[i + 1] : u'\0';
        if (own.text[i] != u'%' || digit < u'1' || digit > u'9') {
            marker += own.text[i];
            continue;
        }
        const auto level = static_cast<std::size_t>(digit - u'1');
        ++i;
        if (list->levels[level].isNone) continue;
        // A level that has no item yet counts as if it had its first.
        marker += counterText(counters[level].value_or(list->levels[level].start),
                              list->levels[level].form);
    }
    return marker;
}

std::vector<std::pair<std::u16string, TextList>> WordNumbering::listsOf(
    const ListPlace& place) const {
    std::vector<std::pair<std::u16string, TextList>> lists;
    const List* list = find(place.list);
    for (std::size_t i = 0; list != nullptr && i <= place.level; ++i) {
        const Level& level = list->levels[i];
        TextList made;
        made.start = list->restarts[i].value_or(level.start);
        if (level.isBullet || level.isNone) {
            made.markerFormat = bulletFormat(level.text);
        } else {
            // Only its own counter is part of the form.
            const char16_t counter[] = {u'%', static_cast<char16_t>(u'1' + i), 0};
            const std::size_t at = level.text.find(counter);
            const std::size_t before = level.text.substr(0, at).find(u'%');
            const std::u16string start =
                before == std::u16string::npos ? level.text.substr(0, at) : std::u16string();
            made.markerFormat = start + std::u16string(counterName(level.form));
            if (at != std::u16string::npos) made.markerFormat += level.text.substr(at + 2);
        }
        lists.emplace_back(place.list + u'/' + fromUtf8(std::to_string(i)), std::move(made));
    }
    return lists;
}

}  // namespace corvy::platform
