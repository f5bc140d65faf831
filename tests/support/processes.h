// Real programs and their traces, for tests that start children.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "tests/support/temporary_folder.h"

namespace corvy::test {

// "" when there is no such file.
std::string contentsOf(const std::string& path);

// Runs until the condition holds; false when it does not within 20 s.
bool eventually(const std::function<bool()>& condition);

// No process has the number any more, not even as a zombie.
bool isGone(pid_t pid);

// Sends standard output and standard error to a file while it lives.
class OutputToFile {
public:
    explicit OutputToFile(const std::string& path);
    ~OutputToFile();
    OutputToFile(const OutputToFile&) = delete;
    OutputToFile& operator=(const OutputToFile&) = delete;

private:
    int output_;
    int error_;
};

}  // namespace corvy::test
