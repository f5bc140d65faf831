#include "platform/messaging/bus_source.h"

#include <poll.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace corvy::platform {

// Lies in memory of GLib's, zeroed and never destructed; hence the plain pointers.
struct BusSource::Source {
    GSource base;
    sd_bus* bus;
    Hooks* hooks;
    gpointer tag;
    int events;  // those that are polled for
};

namespace {

constexpr int kMessagesPerTurn = 32;

GIOCondition conditionOf(int events) {
    return static_cast<GIOCondition>(events & (POLLIN | POLLOUT));
}

// Milliseconds, rounded up, until a monotonic time in microseconds; -1 for never.
gint millisecondsUntil(std::uint64_t time) {
    if (time == std::numeric_limits<std::uint64_t>::max()) return -1;
    const auto now = static_cast<std::uint64_t>(g_get_monotonic_time());
    if (time <= now) return 0;
    constexpr std::uint64_t kLongest = std::numeric_limits<gint>::max();
    return static_cast<gint>(std::min((time - now + 999) / 1000, kLongest));
}

}  // namespace

gboolean BusSource::prepare(GSource* base, gint* timeout) {
    auto* source = reinterpret_cast<Source*>(base);
    *timeout = -1;
    int events = sd_bus_get_events(source->bus);
    std::uint64_t due = std::numeric_limits<std::uint64_t>::max();
    if (events < 0 || sd_bus_get_timeout(source->bus, &due) < 0) return TRUE;  // closed
    if (source->hooks->paused()) {
        events &= ~POLLIN;
    } else {
        *timeout = millisecondsUntil(due);
    }
    if (events != source->events) {  // each change would wake the context
        source->events = events;
        g_source_modify_unix_fd(base, source->tag, conditionOf(events));
    }
    return *timeout == 0;
}

gboolean BusSource::check(GSource* base) {
    auto* source = reinterpret_cast<Source*>(base);
    if (g_source_query_unix_fd(base, source->tag) != 0) return TRUE;
    gint timeout = -1;
    return prepare(base, &timeout);
}

gboolean BusSource::dispatch(GSource* base, GSourceFunc, gpointer) {
    auto* source = reinterpret_cast<Source*>(base);
    const GIOCondition ready = g_source_query_unix_fd(base, source->tag);
    bool open = sd_bus_is_open(source->bus) > 0;
    if (open && source->hooks->paused()) {
        // What is waiting to be written still goes out. A peer that hung up gets nothing any more.
        if ((ready & (G_IO_HUP | G_IO_ERR)) != 0) open = false;
        if (open && (ready & G_IO_OUT) != 0) open = sd_bus_process(source->bus, nullptr) >= 0;
    } else {
        int done = open ? 1 : -1;
        for (int i = 0; i < kMessagesPerTurn && done > 0 && !source->hooks->paused(); ++i) {
            done = sd_bus_process(source->bus, nullptr);
            open = sd_bus_is_open(source->bus) > 0;
        }
        if (done < 0) open = false;
    }
    if (open && sd_bus_is_open(source->bus) > 0) return G_SOURCE_CONTINUE;
    // The hook may destroy the source, and itself with it.
    const std::function<void()> lost = std::exchange(source->hooks->lost, nullptr);
    if (lost) lost();
    return G_SOURCE_REMOVE;
}

BusSource::BusSource(sd_bus* bus, Hooks hooks) {
    static GSourceFuncs functions = {prepare, check, dispatch, nullptr, nullptr, nullptr};
    GSource* base = g_source_new(&functions, sizeof(Source));
    source_ = reinterpret_cast<Source*>(base);
    source_->bus = sd_bus_ref(bus);
    source_->hooks = std::make_unique<Hooks>(std::move(hooks)).release();
    source_->events = POLLIN;
    source_->tag = g_source_add_unix_fd(base, sd_bus_get_fd(bus), conditionOf(POLLIN));
    g_source_attach(base, nullptr);
}

BusSource::~BusSource() {
    g_source_destroy(&source_->base);
    delete source_->hooks;
    sd_bus_unref(source_->bus);
    g_source_unref(&source_->base);
}

}  // namespace corvy::platform
