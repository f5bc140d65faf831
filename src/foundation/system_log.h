// The system log: one sink for the whole process.
//
// Lines go to standard error when that is a terminal, else to the system's log service. Tests and
// the toolkit bridge put a sink of their own in place and read what was written.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace corvy {

using LogSink = std::function<void(std::u16string_view line)>;

// Writes one entry (it may hold line feeds).
void systemLog(std::u16string_view entry);

// Puts a sink in place; an empty one restores the default. Returns the one before, empty when it
// was the default.
LogSink setLogSink(LogSink sink);

// What the log tells about an exception.
struct ExceptionRecord {
    std::u16string name;  // of its class
    std::u16string reason;
    std::u16string symbols;  // of the call stack, joined by line feeds
};

// Describes an exception at the place that catches it; the stack is that of the catcher.
ExceptionRecord describeException(const std::exception& exception);

// "OPERATION (CLASS):\nNAME\nREASON\nSYMBOLS"
void logException(std::u16string_view operation, std::u16string_view className,
                  const ExceptionRecord& exception);

// Collects entries while it lives, instead of writing them.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<std::u16string>& entries() const { return entries_; }

private:
    std::vector<std::u16string> entries_;
    LogSink before_;
};

}  // namespace corvy
