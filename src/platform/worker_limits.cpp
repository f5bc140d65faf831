#include "platform/worker_limits.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace corvy::platform {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "name the AUDIT_ARCH_... of this architecture"
#endif

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
constexpr bool kAddressSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool kAddressSanitizer = false;
#endif

bool limit(decltype(RLIMIT_CPU) resource, rlim_t value) {
    rlimit current{};
    if (::getrlimit(resource, &current) != 0) return false;
    const rlim_t bound = std::min(value, current.rlim_max);
    const rlimit bounds{bound, bound};
    return ::setrlimit(resource, &bounds) == 0;
}

// Lowers the bound that can be raised again; gives what it was.
rlimit lowerSoftly(decltype(RLIMIT_CPU) resource, rlim_t value) {
    rlimit before{};
    if (::getrlimit(resource, &before) == 0) {
        const rlimit bounds{std::min(value, before.rlim_max), before.rlim_max};
        ::setrlimit(resource, &bounds);
    }
    return before;
}

class Filter {
public:
    Filter() {
        add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch));
        returnUnless(BPF_JEQ, kArchitecture, SECCOMP_RET_KILL_PROCESS);
        add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
#if defined(__x86_64__)
        // The x32 calls have numbers of their own from here on; no program of ours makes them.
        constexpr std::uint32_t kFirstOfX32 = 0x40000000;
        add(BPF_JMP | BPF_JGE | BPF_K, kFirstOfX32, 0, 1);
        add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS);
#endif
    }

    void deny(std::uint32_t call, std::uint32_t error) {
        add(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1);
        add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error);
    }

    bool install() {
        add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
        const sock_fprog program{static_cast<unsigned short>(code_.size()), code_.data()};
        // Without the flag, older kernels slow the whole process down as if it ran foreign code.
        return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW,
                         &program) == 0;
    }

private:
    void add(std::uint16_t code, std::uint32_t value, std::uint8_t ifTrue = 0,
             std::uint8_t ifFalse = 0) {
        code_.push_back({code, ifTrue, ifFalse, value});
    }

    void returnUnless(std::uint16_t comparison, std::uint32_t value, std::uint32_t action) {
        add(BPF_JMP | comparison | BPF_K, value, 1, 0);
        add(BPF_RET | BPF_K, action);
    }

    std::vector<sock_filter> code_;
};

}  // namespace

bool confineProgram(bool network) {
    // A limit of 1, unlike 0, also keeps a core from being piped to a crash handler.
    constexpr rlim_t kNoCore = 1;
    if (!limit(RLIMIT_CORE, kNoCore) || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    if (network) return true;
    Filter filter;
    filter.deny(SYS_socket, EACCES);
    filter.deny(SYS_io_uring_setup, EACCES);  // opens sockets without the call above
    return filter.install();
}

bool applyWorkerLimits(const WorkerLimits& limits) {
    const double seconds = std::clamp(std::ceil(limits.cpuSeconds), 1.0, 1e9);
    // The sanitizer's shadow is larger than any limit that means something.
    return (kAddressSanitizer || limit(RLIMIT_AS, limits.addressSpace)) &&
           limit(RLIMIT_CPU, static_cast<rlim_t>(seconds)) && limit(RLIMIT_FSIZE, limits.output) &&
           ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0;
}

PreparationLimits::PreparationLimits() {
    constexpr unsigned kSeconds = 8;
    const WorkerLimits usual;
    addressSpace_ = kAddressSanitizer ? lowerSoftly(RLIMIT_AS, RLIM_INFINITY)
                                      : lowerSoftly(RLIMIT_AS, usual.addressSpace);
    fileSize_ = lowerSoftly(RLIMIT_FSIZE, usual.output);
    ::alarm(kSeconds);
}

PreparationLimits::~PreparationLimits() {
    ::alarm(0);
    ::setrlimit(RLIMIT_FSIZE, &fileSize_);
    ::setrlimit(RLIMIT_AS, &addressSpace_);
}

}  // namespace corvy::platform
