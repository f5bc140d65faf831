#include "tools/command.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "foundation/text.h"

namespace corvy::tools {

namespace {

int gPrintError = 0;

// The first one tells why; what is written after it may even succeed.
void notePrintError() {
    if (gPrintError == 0) gPrintError = errno;
}

}  // namespace

void complain(std::string_view message) {
    // One write, so that lines of several threads and processes do not mix.
    const std::string line = "corvystack: " + std::string(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string shownPath(std::string_view path) {
    std::u16string text = pathFromBytes(path);
    std::ranges::replace_if(
        text, [](char16_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }, u'?');
    return toUtf8(text);
}

void print(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) notePrintError();
}

int endOfPrinting() {
    if (std::fflush(stdout) != 0) notePrintError();
    return gPrintError;
}

int failWith(const std::string& file, std::string_view reason) {
    complain(file + ": " + std::string(reason));
    return kFailed;
}

std::string reasonOf(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

}  // namespace corvy::tools
