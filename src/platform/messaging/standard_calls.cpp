#include "platform/messaging/standard_calls.h"

#include <string_view>
#include <vector>

#include "platform/messaging/introspection.h"
#include "platform/messaging/wire.h"

namespace corvy::platform {

namespace {

constexpr std::string_view kBusPath = "/org/freedesktop/DBus";

std::string_view orEmpty(const char* text) {
    return text == nullptr ? std::string_view() : text;
}

// The names below a node of the object tree; none when it is no inner node.
std::vector<std::string> childrenOf(std::string_view path, std::string_view object) {
    const std::string prefix = path == "/" ? "/" : std::string(path) + "/";
    if (!object.starts_with(prefix) || object.size() == prefix.size()) return {};
    const std::string_view rest = object.substr(prefix.size());
    return {std::string(rest.substr(0, rest.find('/')))};
}

// Sends a reply that `append` fills; it throws NotSendable.
template <typename Append>
void reply(sd_bus_message* call, Append append) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_return(call, &made) < 0) return;
    const Message message(made);
    try {
        append(made);
    } catch (const std::exception& failure) {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "%s", failure.what());
        return;
    }
    sd_bus_message_send(made);
}

void introspect(sd_bus_message* call, const ServiceFace& face, std::string_view path) {
    std::string xml;
    if (path == face.interface.objectPath) {
        std::map<std::string, std::string> types;
        for (const auto& [name, property] : face.status) {
            types[name] = wire::propertySignature(property());
        }
        xml = describeObject(face.interface, types);
    } else {
        xml = describeNode(childrenOf(path, face.interface.objectPath));
    }
    sd_bus_reply_method_return(call, "s", xml.c_str());
}

void appendTimeouts(sd_bus_message* message, const ServiceFace& face) {
    if (sd_bus_message_append(message, "v", "(dd)", face.requestTimeout, face.replyTimeout) < 0) {
        throw wire::NotSendable("time-outs");
    }
}

void getProperty(sd_bus_message* call, const ServiceFace& face) {
    const char* interface = nullptr;
    const char* name = nullptr;
    if (sd_bus_message_read(call, "ss", &interface, &name) <= 0) {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Interface and property");
        return;
    }
    const bool any = orEmpty(interface).empty();
    if (name == kTimeoutsProperty && (any || interface == face.interface.name)) {
        reply(call, [&](sd_bus_message* message) { appendTimeouts(message, face); });
        return;
    }
    const auto found = face.status.find(name);
    if (found == face.status.end() || !(any || interface == kStatusInterface)) {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_PROPERTY, "No property %s", name);
        return;
    }
    reply(call, [&](sd_bus_message* message) { wire::appendProperty(message, found->second()); });
}

void getAllProperties(sd_bus_message* call, const ServiceFace& face) {
    const char* interface = nullptr;
    if (sd_bus_message_read(call, "s", &interface) <= 0) {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Interface");
        return;
    }
    const bool any = orEmpty(interface).empty();
    reply(call, [&](sd_bus_message* message) {
        const auto check = [](int result) {
            if (result < 0) throw wire::NotSendable("properties");
        };
        const auto entry = [&](std::string_view name, auto append) {
            check(sd_bus_message_open_container(message, 'e', "sv"));
            check(sd_bus_message_append_basic(message, 's', std::string(name).c_str()));
            append();
            check(sd_bus_message_close_container(message));
        };
        check(sd_bus_message_open_container(message, 'a', "{sv}"));
        if (any || interface == face.interface.name) {
            entry(kTimeoutsProperty, [&] { appendTimeouts(message, face); });
        }
        if (any || interface == kStatusInterface) {
            for (const auto& property : face.status) {
                entry(property.first, [&] { wire::appendProperty(message, property.second()); });
            }
        }
        check(sd_bus_message_close_container(message));
    });
}

// Tools greet the bus before they speak to an object, and register for its signals.
bool answerGreeting(sd_bus_message* call, std::string_view member) {
    if (member == "Hello") {
        sd_bus_reply_method_return(call, "s", ":1.1");
    } else if (member == "AddMatch" || member == "RemoveMatch") {
        sd_bus_reply_method_return(call, nullptr);
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool answerStandardCall(sd_bus_message* call, const ServiceFace& face) {
    const std::string_view path = orEmpty(sd_bus_message_get_path(call));
    const std::string_view interface = orEmpty(sd_bus_message_get_interface(call));
    const std::string_view member = orEmpty(sd_bus_message_get_member(call));

    if (path == kBusPath && interface == "org.freedesktop.DBus") {
        return answerGreeting(call, member);
    }
    const bool isObject = path == face.interface.objectPath;
    if (interface == "org.freedesktop.DBus.Introspectable" && member == "Introspect") {
        if (!isObject && childrenOf(path, face.interface.objectPath).empty()) return false;
        introspect(call, face, path);
        return true;
    }
    // The library answers this one itself; beyond that it knows of no object here.
    if (!isObject || interface == "org.freedesktop.DBus.Peer") return false;
    const bool isProperties = interface == "org.freedesktop.DBus.Properties";
    if (isProperties && member == "Get") {
        getProperty(call, face);
    } else if (isProperties && member == "GetAll") {
        getAllProperties(call, face);
    } else if (isProperties && member == "Set") {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_PROPERTY_READ_ONLY,
                                   "Properties cannot be set");
    } else {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_METHOD, "No operation %s",
                                   sd_bus_message_get_member(call));
    }
    return true;
}

}  // namespace corvy::platform
