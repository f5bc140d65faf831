// Answers the calls that D-Bus tools make of every object: what it looks like, its properties, and
// the greeting that they expect of a message bus.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "foundation/remote_interface.h"
#include "platform/messaging/bus.h"

namespace corvy::platform {

// What a service tells of itself.
struct ServiceFace {
    RemoteInterface interface;
    std::map<std::string, std::function<PropertyList()>> status;
    double requestTimeout = 15;  // seconds
    double replyTimeout = 15;
};

// Answers the call at once if it is one of these. False when it is not.
bool answerStandardCall(sd_bus_message* call, const ServiceFace& face);

}  // namespace corvy::platform
