// The vended protocol: the name under which the helper registers, and its ten operations.
#pragma once

#include <string_view>

#include "foundation/remote_interface.h"

namespace corvy {

inline constexpr std::string_view kCorvyStackHelperName = "CorvyStackHelper64.1";

// Operations in the protocol's order.
const RemoteInterface& CorvyImExport();

}  // namespace corvy
