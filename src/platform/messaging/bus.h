// Owners of libsystemd's bus objects. For the sources of this folder only.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace corvy::platform {

struct BusCloser {
    void operator()(sd_bus* bus) const noexcept { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;

struct MessageReleaser {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageReleaser>;

struct SlotReleaser {
    void operator()(sd_bus_slot* slot) const noexcept { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, SlotReleaser>;

}  // namespace corvy::platform
