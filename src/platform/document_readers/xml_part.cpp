#include "platform/document_readers/xml_part.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

namespace {

using Renames = std::vector<std::pair<std::string, std::string>>;  // "ns0:" to "w:"

Renames renamesOf(pugi::xml_node root, std::span<const XmlPrefix> prefixes) {
    Renames renames;
    for (const pugi::xml_attribute attribute : root.attributes()) {
        const std::string_view name = attribute.name();
        if (!name.starts_with("xmlns")) continue;
        const auto known =
            std::ranges::find(prefixes, std::string_view(attribute.value()), &XmlPrefix::nameSpace);
        if (known == prefixes.end()) continue;
        std::string own = name.size() > 6 ? std::string(name.substr(6)) + ":" : "";
        std::string usual = std::string(known->prefix) + ":";
        if (own != usual) renames.emplace_back(std::move(own), std::move(usual));
    }
    // The one without a prefix, which fits every name, comes last.
    std::ranges::sort(renames, std::greater<>());
    return renames;
}

std::optional<std::string> renamed(std::string_view name, const Renames& renames,
                                   bool isAttribute) {
    for (const auto& [own, usual] : renames) {
        if (own.empty() ? !isAttribute && name.find(':') == std::string_view::npos
                        : name.starts_with(own)) {
            return usual + std::string(name.substr(own.size()));
        }
    }
    return std::nullopt;
}

void rename(pugi::xml_node node, const Renames& renames) {
    if (node.type() != pugi::node_element) return;
    if (const auto name = renamed(node.name(), renames, false)) node.set_name(name->c_str());
    for (pugi::xml_attribute attribute : node.attributes()) {
        const auto name = renamed(attribute.name(), renames, true);
        if (name) attribute.set_name(name->c_str());
    }
}

}  // namespace

pugi::xml_document parseXml(std::span<const std::byte> bytes, std::span<const XmlPrefix> prefixes) {
    pugi::xml_document document;
    document.load_buffer(bytes.data(), bytes.size(),
                         pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                             pugi::parse_wconv_attribute | pugi::parse_ws_pcdata);
    const pugi::xml_node root = document.document_element();
    if (const Renames renames = renamesOf(root, prefixes); !renames.empty()) {
        rename(root, renames);
        visitBelow(root, [&](pugi::xml_node node) {
            rename(node, renames);
            return false;
        });
    }
    return document;
}

pugi::xml_node descendant(pugi::xml_node node, std::string_view name) {
    pugi::xml_node found;
    visitBelow(node, [&](pugi::xml_node below) {
        if (name == below.name()) found = below;
        return static_cast<bool>(found);
    });
    return found;
}

std::vector<pugi::xml_node> descendants(pugi::xml_node node, std::string_view name) {
    std::vector<pugi::xml_node> found;
    visitBelow(node, [&](pugi::xml_node below) {
        if (name == below.name()) found.push_back(below);
        return false;
    });
    return found;
}

std::u16string textBelow(pugi::xml_node node) {
    std::string text;
    visitBelow(node, [&](pugi::xml_node below) {
        text += below.value();
        return false;
    });
    return fromUtf8(text);
}

std::optional<std::string_view> attributeOf(pugi::xml_node node, const char* name) {
    const pugi::xml_attribute attribute = node.attribute(name);
    return attribute ? std::optional<std::string_view>(attribute.value()) : std::nullopt;
}

std::optional<double> numberOf(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    double number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<double> pointsOf(std::optional<std::string_view> text, double perPoint) {
    const std::optional<double> number = numberOf(text);
    if (!number) return std::nullopt;
    struct Unit {
        std::string_view name;
        double points;
    };
    static constexpr Unit kUnits[] = {{"pt", 1},  {"cm", 72 / 2.54}, {"mm", 72 / 25.4},
                                      {"in", 72}, {"inch", 72},      {"pc", 12},
                                      {"pi", 12}, {"px", 0.75}};
    if (text->ends_with('%') || text->ends_with("em")) return std::nullopt;
    double points = *number / perPoint;
    for (const Unit& known : kUnits) {
        if (text->ends_with(known.name)) points = *number * known.points;
    }
    constexpr double kLongest = 100'000, kPrecision = 1000;
    return std::round(std::clamp(points, -kLongest, kLongest) * kPrecision) / kPrecision;
}

std::optional<RgbColor> colorOf(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    if (text->starts_with('#')) text->remove_prefix(1);
    std::uint32_t value = 0;
    const char* const end = text->data() + text->size();
    if (text->size() != 6 || std::from_chars(text->data(), end, value, 16).ptr != end) {
        return std::nullopt;
    }
    return RgbColor{static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
                    static_cast<std::uint8_t>(value)};
}

std::optional<Date> isoDateOf(std::string_view text) {
    std::tm time{};
    int parsed = 0;
    const std::string whole(text.substr(0, 64));
    const int fields = std::sscanf(whole.c_str(), "%4d-%2d-%2d%n", &time.tm_year, &time.tm_mon,
                                   &time.tm_mday, &parsed);
    if (fields != 3 || time.tm_year < 1601) return std::nullopt;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    std::string_view rest = std::string_view(whole).substr(static_cast<std::size_t>(parsed));
    if (std::sscanf(std::string(rest).c_str(), "T%2d:%2d:%2d%n", &time.tm_hour, &time.tm_min,
                    &time.tm_sec, &parsed) == 3) {
        rest.remove_prefix(static_cast<std::size_t>(parsed));
        rest.remove_prefix(std::min(rest.find_first_of("Z+-"), rest.size()));
    }
    int hours = 0, minutes = 0;
    if (std::sscanf(std::string(rest).c_str(), "%3d:%2d", &hours, &minutes) == 2) {
        const int sign = rest.front() == '-' ? -1 : 1;
        return Date{static_cast<double>(::timegm(&time) - hours * 3600 - sign * minutes * 60)};
    }
    if (rest.starts_with('Z')) return Date{static_cast<double>(::timegm(&time))};
    // Without a zone it is the writer's, and taken for ours.
    time.tm_isdst = -1;
    return Date{static_cast<double>(std::mktime(&time))};
}

void setTextAttribute(Dictionary& attributes, const char16_t* key, std::u16string_view text) {
    text = trimWhite(text);
    if (text.empty()) return;
    if (std::u16string_view(key) != document_attribute::kKeywords) {
        attributes.set(key, text);
        return;
    }
    Array words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(u",;"), text.size());
        const auto word = trimWhite(text.substr(0, end));
        if (!word.empty()) words.emplace_back(word);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    attributes.set(key, std::move(words));
}

void setDateAttribute(Dictionary& attributes, const char16_t* key, std::string_view text) {
    if (const auto date = isoDateOf(text)) attributes.set(key, *date);
}

}  // namespace corvy::platform
