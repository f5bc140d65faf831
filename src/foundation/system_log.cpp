#include "foundation/system_log.h"

#include <cxxabi.h>
#include <execinfo.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <typeinfo>
#include <utility>

#include "foundation/text.h"

namespace corvy {

namespace {

constexpr int kMostFrames = 32;

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

void writeToSystem(std::u16string_view entry) {
    const std::string line = toUtf8(entry);
    if (isatty(STDERR_FILENO)) {
        std::fprintf(stderr, "%s\n", line.c_str());
    } else {
        syslog(LOG_USER | LOG_NOTICE, "%s", line.c_str());
    }
}

struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};

std::u16string callStackSymbols() {
    void* frames[kMostFrames];
    const int count = backtrace(frames, kMostFrames);
    const std::unique_ptr<char*, Freer> symbols(backtrace_symbols(frames, count));
    std::string joined;
    // The two innermost frames are this function and its caller.
    for (int i = 2; symbols && i < count; ++i) {
        if (!joined.empty()) joined += '\n';
        joined += symbols.get()[i];
    }
    return fromUtf8(joined);
}

}  // namespace

void systemLog(std::u16string_view entry) {
    if (const LogSink& sink = currentSink()) {
        sink(entry);
    } else {
        writeToSystem(entry);
    }
}

LogSink setLogSink(LogSink sink) {
    return std::exchange(currentSink(), std::move(sink));
}

ExceptionRecord describeException(const std::exception& exception) {
    int status = 0;
    const char* mangled = typeid(exception).name();
    const std::unique_ptr<char, Freer> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status));
    return {fromUtf8(name ? name.get() : mangled), fromUtf8(exception.what()), callStackSymbols()};
}

void logException(std::u16string_view operation, std::u16string_view className,
                  const ExceptionRecord& exception) {
    std::u16string entry(operation);
    entry += u" (";
    entry += className;
    entry += u"):\n";
    entry += exception.name + u'\n' + exception.reason + u'\n' + exception.symbols;
    systemLog(entry);
}

LogCapture::LogCapture() {
    before_ = setLogSink([this](std::u16string_view line) { entries_.emplace_back(line); });
}

LogCapture::~LogCapture() {
    setLogSink(std::move(before_));
}

}  // namespace corvy
