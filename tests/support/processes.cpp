#include "tests/support/processes.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <thread>

namespace corvy::test {

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

bool isGone(pid_t pid) {
    return kill(pid, 0) != 0 && errno == ESRCH;
}

OutputToFile::OutputToFile(const std::string& path)
    : output_(dup(STDOUT_FILENO)), error_(dup(STDERR_FILENO)) {
    std::fflush(stdout);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    close(file);
}

OutputToFile::~OutputToFile() {
    std::fflush(stdout);
    dup2(output_, STDOUT_FILENO);
    dup2(error_, STDERR_FILENO);
    close(output_);
    close(error_);
}

}  // namespace corvy::test
