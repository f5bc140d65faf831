// What the service tells of itself beside its operations, for people and tools.
#pragma once

#include <map>
#include <string>

#include "platform/messaging.h"
#include "service/corvy_stack_helper.h"

namespace corvy {

// Version, ProcessId, Importers (paths in order), ImporterTypes (path to types), SkippedImporters
// (path to reason), Libraries (name to version). `helper` must outlive them.
std::map<std::string, platform::Connection::Property> statusProperties(CorvyStackHelper& helper);

}  // namespace corvy
