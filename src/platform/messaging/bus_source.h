// Drives a bus connection from the default main context.
#pragma once

#include <glib.h>

#include <functional>

#include "platform/messaging/bus.h"

namespace corvy::platform {

// While it lives, messages are read, dispatched and written as the context runs.
class BusSource {
public:
    struct Hooks {
        // True: no more messages are read for now. Asked in every turn of the context.
        std::function<bool()> paused;
        // The connection is gone; called once, from the context. It may destroy the source.
        std::function<void()> lost;
    };

    BusSource(sd_bus* bus, Hooks hooks);
    ~BusSource();
    BusSource(const BusSource&) = delete;
    BusSource& operator=(const BusSource&) = delete;

private:
    struct Source;
    static gboolean prepare(GSource* source, gint* timeout);
    static gboolean check(GSource* source);
    static gboolean dispatch(GSource* source, GSourceFunc callback, gpointer data);

    Source* source_;
};

}  // namespace corvy::platform
