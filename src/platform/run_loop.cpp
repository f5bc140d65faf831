#include "platform/run_loop.h"

#include <glib.h>

#include <algorithm>
#include <limits>

namespace corvy::platform {

namespace {

// Wakes the default context at a time, once. It comes after everything else, so it is never served
// in the same turn as something that is due.
class Alarm {
public:
    explicit Alarm(gint64 time) : source_(g_source_new(&kFunctions, sizeof(Source))) {
        g_source_set_priority(source_, std::numeric_limits<gint>::max());
        g_source_set_ready_time(source_, time);
        reinterpret_cast<Source*>(source_)->alarm = this;
        g_source_attach(source_, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    ~Alarm() {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    bool rung() const { return rung_; }

private:
    struct Source {
        GSource base;
        Alarm* alarm;
    };
    static gboolean ring(GSource* source, GSourceFunc, gpointer) {
        reinterpret_cast<Source*>(source)->alarm->rung_ = true;
        return G_SOURCE_REMOVE;
    }
    static inline GSourceFuncs kFunctions = {nullptr, nullptr, ring, nullptr, nullptr, nullptr};

    GSource* source_;
    bool rung_ = false;
};

// The monotonic time, in microseconds, `seconds` from now.
gint64 timeAfter(double seconds) {
    constexpr double kLongest = 1e9;  // some thirty years
    return g_get_monotonic_time() + static_cast<gint64>(std::clamp(seconds, 0.0, kLongest) * 1e6);
}

}  // namespace

void runForTimeInterval(double seconds) {
    if (!(seconds > 0)) {
        g_main_context_iteration(nullptr, FALSE);
        return;
    }
    const gint64 end = timeAfter(seconds);
    const Alarm alarm(end);
    while (g_get_monotonic_time() < end) g_main_context_iteration(nullptr, TRUE);
}

bool runMode(std::string_view mode, double seconds) {
    if (mode != kDefaultRunLoopMode) return false;
    if (!(seconds > 0)) return g_main_context_iteration(nullptr, FALSE);
    const Alarm alarm(timeAfter(seconds));
    while (!alarm.rung()) {
        if (g_main_context_iteration(nullptr, TRUE) && !alarm.rung()) return true;
    }
    return false;
}

}  // namespace corvy::platform
