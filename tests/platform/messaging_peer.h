// What the messaging tests and their other process share.
#pragma once

#include "foundation/remote_interface.h"

namespace corvy {

// The object that messaging_peer vends.
const RemoteInterface& testInterface();

}  // namespace corvy
