#include "platform/messaging/introspection.h"

#include <glib.h>

#include <memory>
#include <utility>

#include "platform/messaging/wire.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kLongestDescription = std::size_t{1} << 20;

constexpr std::string_view kHead =
    "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
    " \"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n";

constexpr std::string_view kStandardInterfaces =
    R"( <interface name="org.freedesktop.DBus.Peer">
  <method name="Ping"/>
  <method name="GetMachineId">
   <arg type="s" name="machine_uuid" direction="out"/>
  </method>
 </interface>
 <interface name="org.freedesktop.DBus.Introspectable">
  <method name="Introspect">
   <arg type="s" name="data" direction="out"/>
  </method>
 </interface>
 <interface name="org.freedesktop.DBus.Properties">
  <method name="Get">
   <arg type="s" name="interface" direction="in"/>
   <arg type="s" name="property" direction="in"/>
   <arg type="v" name="value" direction="out"/>
  </method>
  <method name="GetAll">
   <arg type="s" name="interface" direction="in"/>
   <arg type="a{sv}" name="properties" direction="out"/>
  </method>
  <method name="Set">
   <arg type="s" name="interface" direction="in"/>
   <arg type="s" name="property" direction="in"/>
   <arg type="v" name="value" direction="in"/>
  </method>
 </interface>
)";

std::string quoted(std::string_view text) {
    const std::unique_ptr<gchar, decltype(&g_free)> escaped(
        g_markup_escape_text(text.data(), static_cast<gssize>(text.size())), &g_free);
    return "\"" + std::string(escaped.get()) + "\"";
}

std::string argument(std::string_view name, RemoteType type, std::string_view direction) {
    std::string line = "   <arg type=" + quoted(wire::signatureOf(type));
    if (!name.empty()) line += " name=" + quoted(name);
    return line + " direction=" + quoted(direction) + "/>\n";
}

std::string property(std::string_view name, std::string_view type) {
    return "  <property name=" + quoted(name) + " type=" + quoted(type) +
           " access=\"read\">\n"
           "   <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\""
           " value=\"false\"/>\n"
           "  </property>\n";
}

std::optional<RemoteType> typeOf(std::string_view signature) {
    for (const RemoteType type : {RemoteType::object, RemoteType::flag, RemoteType::size}) {
        if (signature == wire::signatureOf(type)) return type;
    }
    return std::nullopt;
}

// Collects a description while the markup is read.
struct DescriptionReader {
    Description found;
    std::string path;
    unsigned nodes = 0;     // open ones
    bool ours = false;      // inside the interface that counts
    RemoteMethod method;    // the one that is open
    unsigned results = 0;   // of that method
    bool callable = false;  // that method has our types only

    void start(std::string_view element, const std::map<std::string, std::string>& attributes);
    void end(std::string_view element);
};

void DescriptionReader::start(std::string_view element,
                              const std::map<std::string, std::string>& attributes) {
    const auto attribute = [&](const char* name) {
        const auto at = attributes.find(name);
        return at == attributes.end() ? std::string() : at->second;
    };
    if (element == "node") {
        if (++nodes == 2) found.children.push_back(attribute("name"));
    } else if (element == "interface" && nodes == 1) {
        const std::string name = attribute("name");
        ours = !found.interface && !name.starts_with("org.freedesktop.DBus.") &&
               name != kStatusInterface;
        if (ours) found.interface = RemoteInterface{path, name, {}};
    } else if (element == "method" && ours) {
        method = {};
        method.member = method.selector = attribute("name");
        results = 0;
        callable = true;
    } else if (element == "arg" && ours) {
        const std::optional<RemoteType> type = typeOf(attribute("type"));
        callable = callable && type;
        if (!type) return;
        if (attribute("direction") == "out") {
            method.result = *type;
            ++results;
        } else {
            method.arguments.push_back({attribute("name"), *type});
        }
    } else if (element == "annotation" && ours && attribute("name") == kSelectorAnnotation) {
        method.selector = attribute("value");
    }
}

void DescriptionReader::end(std::string_view element) {
    if (element == "node") {
        --nodes;
    } else if (element == "interface") {
        ours = false;
    } else if (element == "method" && ours && callable && results == 1) {
        found.interface->methods.push_back(std::move(method));
    }
}

void startElement(GMarkupParseContext*, const gchar* element, const gchar** names,
                  const gchar** values, gpointer reader, GError**) {
    std::map<std::string, std::string> attributes;
    for (; *names != nullptr; ++names, ++values) attributes[*names] = *values;
    static_cast<DescriptionReader*>(reader)->start(element, attributes);
}

void endElement(GMarkupParseContext*, const gchar* element, gpointer reader, GError**) {
    static_cast<DescriptionReader*>(reader)->end(element);
}

}  // namespace

std::string describeObject(const RemoteInterface& interface,
                           const std::map<std::string, std::string>& status) {
    std::string xml = std::string(kHead) + "<node>\n";
    xml += " <interface name=" + quoted(interface.name) + ">\n";
    for (const RemoteMethod& method : interface.methods) {
        xml += "  <method name=" + quoted(method.member) + ">\n";
        for (const RemoteArgument& in : method.arguments) xml += argument(in.name, in.type, "in");
        xml += argument("result", method.result, "out");
        xml += "   <annotation name=" + quoted(kSelectorAnnotation) +
               " value=" + quoted(method.selector) + "/>\n  </method>\n";
    }
    xml += property(kTimeoutsProperty, "(dd)") + " </interface>\n";
    if (!status.empty()) {
        xml += " <interface name=" + quoted(kStatusInterface) + ">\n";
        for (const auto& [name, type] : status) xml += property(name, type);
        xml += " </interface>\n";
    }
    return xml.append(kStandardInterfaces) + "</node>\n";
}

std::string describeNode(const std::vector<std::string>& children) {
    std::string xml = std::string(kHead) + "<node>\n";
    for (const std::string& child : children) xml += " <node name=" + quoted(child) + "/>\n";
    return xml + "</node>\n";
}

std::optional<Description> readDescription(std::string_view xml, const std::string& path) {
    if (xml.size() > kLongestDescription) return std::nullopt;
    constexpr GMarkupParser kParser = {startElement, endElement, nullptr, nullptr, nullptr};
    DescriptionReader reader;
    reader.path = path;
    const std::unique_ptr<GMarkupParseContext, decltype(&g_markup_parse_context_free)> context(
        g_markup_parse_context_new(&kParser, G_MARKUP_PREFIX_ERROR_POSITION, &reader, nullptr),
        &g_markup_parse_context_free);
    if (!g_markup_parse_context_parse(context.get(), xml.data(), static_cast<gssize>(xml.size()),
                                      nullptr) ||
        !g_markup_parse_context_end_parse(context.get(), nullptr)) {
        return std::nullopt;
    }
    return std::move(reader.found);
}

}  // namespace corvy::platform
