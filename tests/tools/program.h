// Runs the built program for a test.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/processes.h"

namespace corvy::tools {

using test::eventually;
using test::TemporaryFolder;

class Program {
public:
    struct Setup {
        int output = -1;            // descriptor for standard output; otherwise it is kept
        bool unprivileged = false;  // as nobody, when the test runs as root
        std::string folder = {};    // working directory
        std::string input = {};     // file for standard input
    };

    explicit Program(std::vector<std::string> arguments) : Program(std::move(arguments), Setup()) {}
    Program(std::vector<std::string> arguments, const Setup& setup) {
        arguments.insert(arguments.begin(), CORVY_BUILD_DIR "/corvystack");
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        const std::string out = files_.path("out"), err = files_.path("err");
        pid_ = fork();
        if (pid_ != 0) return;
        const auto redirect = [](const std::string& path, int flags, int to) {
            dup2(open(path.c_str(), flags, 0600), to);
        };
        redirect(setup.input.empty() ? "/dev/null" : setup.input, O_RDONLY, STDIN_FILENO);
        redirect(out, O_WRONLY | O_CREAT, STDOUT_FILENO);
        redirect(err, O_WRONLY | O_CREAT, STDERR_FILENO);
        if (setup.output >= 0) dup2(setup.output, STDOUT_FILENO);
        if (!setup.folder.empty() && chdir(setup.folder.c_str()) != 0) _exit(126);
        if (setup.unprivileged && getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
            _exit(126);
        }
        execv(argv[0], argv.data());
        _exit(127);
    }
    ~Program() {
        if (status_ < 0) kill(pid_, SIGKILL), wait();
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // The exit status, or 1000 and the number of the signal.
    int wait() {
        int status = 0;
        if (status_ < 0 && waitpid(pid_, &status, 0) == pid_) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        }
        return status_;
    }
    void signal(int number) const { kill(pid_, number); }
    pid_t pid() const { return pid_; }
    std::string out() const { return files_.read("out"); }
    std::string err() const { return files_.read("err"); }

private:
    TemporaryFolder files_;
    pid_t pid_ = -1;
    int status_ = -1;
};

}  // namespace corvy::tools
