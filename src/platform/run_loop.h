// The run loop: the process's default main context, as operations wait on it.
//
// Call these on the thread that serves the default main context. What is due is served inside
// them, other requests included.
#pragma once

#include <string_view>

namespace corvy::platform {

// The only mode that has sources.
inline constexpr std::string_view kDefaultRunLoopMode = "NSDefaultRunLoopMode";

// Runs the loop until `seconds` have passed, by the clock, however much is served meanwhile. With
// 0 or less, what is due by now is served once, without waiting.
void runForTimeInterval(double seconds);

// Runs the loop once: until something was served or `seconds` have passed. True when something was
// served. A mode without sources gives false at once.
bool runMode(std::string_view mode, double seconds);

}  // namespace corvy::platform
