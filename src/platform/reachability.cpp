#include "platform/reachability.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "foundation/descriptor.h"

namespace corvy::platform {

namespace {

using Clock = std::chrono::steady_clock;

// A route that covers more than this is no network that the machine is part of: tunnels claim all
// the world in halves, and have no gateway either.
constexpr unsigned char kShortestPrefix4 = 8;
constexpr unsigned char kShortestPrefix6 = 16;

struct Target {
    unsigned char family = AF_UNSPEC;
    std::array<std::byte, 16> bytes{};
    std::size_t size = 0;
    int interface = 0;  // 0: any
};

std::optional<Target> targetOf(const sockaddr& address) {
    Target target;
    if (address.sa_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &address, sizeof v4);
        target.family = AF_INET;
        target.size = sizeof v4.sin_addr;
        std::memcpy(target.bytes.data(), &v4.sin_addr, target.size);
        return target;
    }
    if (address.sa_family != AF_INET6) return std::nullopt;
    sockaddr_in6 v6{};
    std::memcpy(&v6, &address, sizeof v6);
    if (IN6_IS_ADDR_V4MAPPED(&v6.sin6_addr)) {
        target.family = AF_INET;
        target.size = 4;
        std::memcpy(target.bytes.data(), &v6.sin6_addr.s6_addr[12], target.size);
        return target;
    }
    target.family = AF_INET6;
    target.size = sizeof v6.sin6_addr;
    std::memcpy(target.bytes.data(), &v6.sin6_addr, target.size);
    target.interface = static_cast<int>(v6.sin6_scope_id);
    return target;
}

struct RouteQuery {
    nlmsghdr header{};
    rtmsg route{};
    std::array<char, 64> attributes{};

    void add(unsigned short type, const void* data, std::size_t size) {
        const rtattr attribute{static_cast<unsigned short>(RTA_LENGTH(size)), type};
        char* end = attributes.data() + used;
        std::memcpy(end, &attribute, sizeof attribute);
        std::memcpy(end + RTA_LENGTH(0), data, size);
        used += RTA_ALIGN(RTA_LENGTH(size));
        header.nlmsg_len = static_cast<std::uint32_t>(offsetof(RouteQuery, attributes) + used);
    }
    std::size_t used = 0;
};

std::uint32_t flagsOfRoute(const nlmsghdr* message) {
    const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(message));
    if (route->rtm_type == RTN_LOCAL) return kReachable | kIsLocalAddress;
    if (route->rtm_type != RTN_UNICAST) return 0;
    bool hasGateway = false;
    auto left = static_cast<int>(RTM_PAYLOAD(message));
    for (const rtattr* attribute = RTM_RTA(route); RTA_OK(attribute, left);
         attribute = RTA_NEXT(attribute, left)) {
        hasGateway = hasGateway || attribute->rta_type == RTA_GATEWAY ||
                     attribute->rta_type == RTA_VIA || attribute->rta_type == RTA_MULTIPATH;
    }
    const unsigned char shortest =
        route->rtm_family == AF_INET ? kShortestPrefix4 : kShortestPrefix6;
    const bool isDirect = !hasGateway && route->rtm_dst_len >= shortest;
    return kReachable | (isDirect ? kIsDirect : 0);
}

std::uint32_t flagsOfAll(const addrinfo* addresses) {
    if (!addresses) return 0;
    std::uint32_t flags = ~0U;
    for (const addrinfo* each = addresses; each; each = each->ai_next) {
        flags &= connectionFlagsForAddress(*each->ai_addr);
    }
    return flags;
}

std::uint32_t resolvedFlags(const std::string& host, int hints) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = hints;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0) return 0;
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, ::freeaddrinfo);
    return flagsOfAll(addresses.get());
}

bool isLoopbackName(std::string_view host) {
    return host == "localhost" || host.ends_with(".localhost");
}

// Looks names up, each in a thread of its own: a lookup cannot be called off, it goes on by itself,
// and what it finds serves the next time.
class Resolver {
public:
    std::uint32_t flagsOf(const std::string& host) {
        double patience = kResolveSeconds;
        {
            const std::lock_guard lock(mutex_);
            const auto known = answers_.find(host);
            if (known != answers_.end() && secondsSince(known->second.at) < kKeptSeconds) {
                return known->second.flags;
            }
            // Where one name has no answer others will have none: nobody waits for them all.
            if (secondsSince(lastTimeout_) < kKeptSeconds) patience = kImpatientSeconds;
            if (pending_ >= kMostPending) return 0;
            ++pending_;
        }
        auto promise = std::make_shared<std::promise<std::uint32_t>>();
        std::future<std::uint32_t> answer = promise->get_future();
        try {
            std::thread([this, host, promise] {
                const std::uint32_t flags = resolvedFlags(host, 0);
                finish(host, flags);
                promise->set_value(flags);
            }).detach();
        } catch (const std::system_error&) {
            finish(host, 0);
            return 0;
        }
        const std::chrono::duration<double> most(patience);
        if (answer.wait_for(most) == std::future_status::ready) return answer.get();
        const std::lock_guard lock(mutex_);
        lastTimeout_ = Clock::now();
        return 0;
    }

private:
    static constexpr double kImpatientSeconds = 0.05;
    static constexpr std::size_t kMostPending = 32;
    static constexpr std::size_t kMostAnswers = 1024;

    struct Answer {
        std::uint32_t flags = 0;
        Clock::time_point at;
    };

    static double secondsSince(Clock::time_point time) {
        return std::chrono::duration<double>(Clock::now() - time).count();
    }

    void finish(const std::string& host, std::uint32_t flags) {
        const std::lock_guard lock(mutex_);
        --pending_;
        if (answers_.size() >= kMostAnswers) answers_.clear();
        answers_[host] = {flags, Clock::now()};
    }

    std::mutex mutex_;
    std::map<std::string, Answer> answers_;
    std::size_t pending_ = 0;
    Clock::time_point lastTimeout_ = Clock::now() - std::chrono::hours(1);
};

Resolver& resolver() {
    static auto* shared = new Resolver;  // outlives threads that still resolve at exit
    return *shared;
}

}  // namespace

std::uint32_t connectionFlagsForAddress(const sockaddr& address) {
    const auto target = targetOf(address);
    if (!target) return 0;
    RouteQuery query;
    query.header.nlmsg_type = RTM_GETROUTE;
    query.header.nlmsg_flags = NLM_F_REQUEST;
    query.route.rtm_family = target->family;
    query.route.rtm_dst_len = static_cast<unsigned char>(target->size * 8);
    // The route itself, not only where it leads for this address.
    query.route.rtm_flags = RTM_F_LOOKUP_TABLE | RTM_F_FIB_MATCH;
    query.add(RTA_DST, target->bytes.data(), target->size);
    if (target->interface != 0) query.add(RTA_OIF, &target->interface, sizeof target->interface);

    const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (socket.get() < 0) return 0;
    if (::send(socket.get(), &query, query.header.nlmsg_len, 0) < 0) return 0;
    alignas(nlmsghdr) std::array<char, 8192> answer;
    const ssize_t size = ::recv(socket.get(), answer.data(), answer.size(), 0);
    if (size < 0) return 0;
    const auto* message = reinterpret_cast<const nlmsghdr*>(answer.data());
    if (!NLMSG_OK(message, static_cast<std::size_t>(size))) return 0;
    return message->nlmsg_type == RTM_NEWROUTE ? flagsOfRoute(message) : 0;
}

std::uint32_t connectionFlagsForHost(std::string_view given) {
    std::string host(given);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    std::transform(host.begin(), host.end(), host.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    if (host.ends_with('.')) host.pop_back();
    if (host.empty() || host.find('\0') != std::string::npos) return 0;
    if (isLoopbackName(host)) return kReachable | kIsLocalAddress;
    if (const std::uint32_t flags = resolvedFlags(host, AI_NUMERICHOST)) return flags;
    return resolver().flagsOf(host);
}

}  // namespace corvy::platform
