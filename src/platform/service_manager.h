// What the service tells the service manager (systemd), where one started it.
#pragma once

namespace corvy::platform {

// Tells that start-up is done. Does nothing when nobody asked for it.
void notifyReady();

}  // namespace corvy::platform
