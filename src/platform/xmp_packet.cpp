#include "platform/xmp_packet.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

// Those of a list, or the one of the element itself. The first of a list of languages is that of
// which the others are translations, unless one is marked as such.
std::vector<std::u16string> valuesOf(Node property) {
    std::vector<std::u16string> values;
    const auto add = [&values](std::u16string_view text, bool isFirst = false) {
        text = trimWhite(text);
        if (text.empty() || values.size() == kMostXmpValues) return;
        values.emplace(isFirst ? values.begin() : values.end(), text);
    };
    for (const char* kind : {"rdf:Seq", "rdf:Bag", "rdf:Alt"}) {
        for (const Node item : property.child(kind).children("rdf:li")) {
            add(textBelow(item), attributeOf(item, "xml:lang") == "x-default");
        }
    }
    // A structure has elements of its own, whose texts are not the property's.
    if (!property.find_child([](Node child) { return child.type() == pugi::node_element; })) {
        add(textBelow(property));
    }
    return values;
}

}  // namespace

XmpPacket::XmpPacket(std::span<const std::byte> bytes) {
    if (bytes.size() > kMostXmpBytes) return;
    const auto add = [this](const char* name, std::vector<std::u16string> values) {
        if (values.empty() || properties_.size() == kMostXmpProperties) return;
        properties_.try_emplace(name, std::move(values));
    };
    const pugi::xml_document packet = parseXml(bytes);
    for (const Node description : descendant(packet, "rdf:RDF").children("rdf:Description")) {
        for (const pugi::xml_attribute attribute : description.attributes()) {
            const std::u16string value = fromUtf8(attribute.value());
            const std::u16string_view text = trimWhite(value);
            if (!text.empty()) add(attribute.name(), {std::u16string(text)});
        }
        for (const Node property : description.children()) add(property.name(), valuesOf(property));
    }
}

const std::vector<std::u16string>& XmpPacket::values(std::string_view name) const {
    static const std::vector<std::u16string> kNone;
    const auto found = properties_.find(name);
    return found == properties_.end() ? kNone : found->second;
}

std::u16string XmpPacket::text(std::string_view name) const {
    const auto& all = values(name);
    return all.empty() ? std::u16string() : all.front();
}

std::optional<double> XmpPacket::number(std::string_view name) const {
    return numberOf(toUtf8(text(name)));
}

std::optional<Date> XmpPacket::date(std::string_view name) const {
    return isoDateOf(toUtf8(text(name)));
}

}  // namespace corvy::platform
