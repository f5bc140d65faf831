#include "platform/service_manager.h"

#include <systemd/sd-daemon.h>

namespace corvy::platform {

void notifyReady() {
    // The variable goes, so that no worker program speaks in the service's name.
    sd_notify(/*unset_environment=*/1, "READY=1");
}

}  // namespace corvy::platform
