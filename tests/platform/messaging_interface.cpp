#include "tests/platform/messaging_peer.h"

namespace corvy {

const RemoteInterface& testInterface() {
    using enum RemoteType;
    static const RemoteInterface interface = {
        "/TestObject",
        "org.corvystack.Test1",
        {
            {"echo:", "Echo", {{"value", object}}, object},
            {"isNil:", "IsNil", {{"value", object}}, flag},
            {"add:to:negated:",
             "AddToNegated",
             {{"a", size}, {"b", size}, {"negated", flag}},
             size},
            {"raise:", "Raise", {{"reason", object}}, object},
            {"nestedTo:", "NestedTo", {{"depth", size}}, object},
            {"wrongType", "WrongType", {}, flag},
            {"runLoopFor:", "RunLoopFor", {{"milliseconds", size}}, size},
            {"sleepFor:", "SleepFor", {{"milliseconds", size}}, flag},
            {"stillBusy", "StillBusy", {}, flag},
        }};
    return interface;
}

}  // namespace corvy
