#include "tools/import/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/command.h"
#include "tools/import/record.h"

namespace corvy::tools {

namespace {

using std::chrono::steady_clock;

constexpr auto kBarInterval = std::chrono::milliseconds(100);
constexpr auto kLineInterval = std::chrono::seconds(5);
constexpr int kMostBarWidth = 24;  // else an eighth of the terminal: the rest must fit too

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

std::string countText(std::uint64_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string durationText(double seconds) {
    if (seconds < 1) return format("%.3f s", seconds);
    if (seconds < 60) return format(seconds < 10 ? "%.1f s" : "%.0f s", seconds);
    const auto whole = static_cast<long>(std::lround(seconds));
    char text[64];
    if (whole < 3600) {
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    }
    return text;
}

std::string rateText(double files, double bytes, double seconds) {
    const double rate = files / seconds;
    return format(rate < 10 ? "%.1f files/s, " : "%.0f files/s, ", rate) +
           format("%.1f MB/s", bytes / seconds / 1e6);
}

int terminalWidth() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// The last component of the path, so that it has a place on the line.
std::string shownName(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return shownPath(path.substr(path.rfind('/') + 1));
}

// Cut to so many characters, which a terminal shows in at least as many columns.
std::string_view cutTo(std::string_view text, std::size_t characters) {
    std::size_t end = 0;
    while (end < text.size()) {
        const bool starts = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (starts && characters-- == 0) break;
        ++end;
    }
    return text.substr(0, end);
}

}  // namespace

std::string amountText(double bytes) {
    static constexpr const char* kUnits[] = {"B", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    while (bytes >= 999.5 && unit + 1 < std::size(kUnits)) bytes /= 1000, ++unit;
    return format(unit == 0 || bytes >= 99.95 ? "%.0f " : "%.1f ", bytes) + kUnits[unit];
}

Progress::Progress(bool onTerminal)
    : onTerminal_(onTerminal), start_(steady_clock::now()), shown_(start_) {}

void Progress::expect(std::uint64_t files, std::uint64_t bytes) {
    expectedBytes_ = bytes;
    expectedFiles_ = files;
}

void Progress::begin(const std::string& path) {
    const std::scoped_lock lock(currentMutex_);
    current_ = path;
}

void Progress::add(const Finished& file) {
    ++files_;
    bytes_ += file.bytes;
    if (file.error.empty()) return;
    ++errors_[file.error];
    if (isRemark(file.error)) return;
    ++failures_;
    givenFailed_ = givenFailed_ || file.given;
    if (barStands_) show("");
    barStands_ = false;
    complain(shownPath(file.path) + ": " + std::string(explanationOfError(file.error)));
}

void Progress::pulse() {
    const auto now = steady_clock::now();
    if (now - shown_ < (onTerminal_ ? steady_clock::duration(kBarInterval)
                                    : steady_clock::duration(kLineInterval))) {
        return;
    }
    shown_ = now;
    if (onTerminal_) {
        show(barLine());
        barStands_ = true;
    } else {
        complain(countText(files_, "file") + " done, " + amountText(static_cast<double>(bytes_)) +
                 ", " + countText(failures_, "failure"));
    }
}

void Progress::finish() {
    if (barStands_) show("");
    barStands_ = false;
}

double Progress::seconds() const {
    return std::max(1e-3, std::chrono::duration<double>(steady_clock::now() - start_).count());
}

std::string Progress::barLine() {
    const double passed = seconds();
    const std::uint64_t worked = worked_, expected = expectedFiles_;
    const auto files = static_cast<double>(worked), bytes = static_cast<double>(workedBytes_);
    std::string line;
    if (expected == 0) {
        line = countText(worked, "file") + ", " + amountText(bytes);
    } else {
        // Half by files and half by bytes: small files cost by their number, large by their size.
        const auto allBytes = static_cast<double>(expectedBytes_);
        const double share = std::min(
            1.0,
            0.5 * files / static_cast<double>(expected) +
                0.5 * (allBytes > 0 ? bytes / allBytes : files / static_cast<double>(expected)));
        const int width = std::min(kMostBarWidth, terminalWidth() / 8);
        const int filled = static_cast<int>(share * width);
        line = "[" + std::string(static_cast<std::size_t>(filled), '#') +
               std::string(static_cast<std::size_t>(width - filled), '.') + "] " +
               std::to_string(worked) + "/" + std::to_string(expected);
        const double left = std::ceil(passed / share - passed);
        if (share > 0.02) {
            line += ", " + (left < 60 ? format("%.0f s", left) : durationText(left)) + " left";
        }
    }
    line += ", " + rateText(files, bytes, passed);
    if (failures_ > 0) line += ", " + countText(failures_, "failure");
    const std::scoped_lock lock(currentMutex_);
    return line + "  " + shownName(current_);
}

// Replaces the bar by the line.
void Progress::show(std::string_view line) {
    const auto width = static_cast<std::size_t>(terminalWidth() - 1);
    const std::string text = "\r" + std::string(cutTo(line, width)) + "\x1B[K";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

std::string Progress::summary(std::uint64_t skipped) const {
    const double passed = seconds();
    std::string text = countText(files_, "file") + ", " + amountText(static_cast<double>(bytes_)) +
                       " in " + durationText(passed);
    if (files_ > 0) {
        text +=
            " (" + rateText(static_cast<double>(files_), static_cast<double>(bytes_), passed) + ")";
    }
    text += "\n";
    if (skipped > 0) text += "  " + std::to_string(skipped) + " already recorded\n";
    std::string failures, remarks;
    for (const auto& [error, count] : errors_) {
        std::string& list = isRemark(error) ? remarks : failures;
        list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(error);
    }
    if (!remarks.empty()) text += "  nothing to import: " + remarks + "\n";
    if (!failures.empty()) text += "  " + countText(failures_, "failure") + ": " + failures + "\n";
    return text;
}

}  // namespace corvy::tools
