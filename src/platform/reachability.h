// Whether a host is this machine, or on a network that it is directly attached to, as the kernel's
// routing table tells.
#pragma once

#include <cstdint>
#include <string_view>

struct sockaddr;

namespace corvy::platform {

// Flags of a host, in the platform's numbering.
inline constexpr std::uint32_t kReachable = 1U << 1;
inline constexpr std::uint32_t kIsLocalAddress = 1U << 16;  // one of the machine's own addresses
inline constexpr std::uint32_t kIsDirect = 1U << 17;        // on an attached network, no gateway

// 0 when there is no route, and for what is no IP address.
std::uint32_t connectionFlagsForAddress(const sockaddr& address);

// Of a name or an address in text. A name that has several addresses has the flags that all of
// them have, so that a name is local only if it leads nowhere else. 0 when it is not resolved
// within kResolveSeconds, and much sooner for kKeptSeconds after that happened; answers are kept
// as long. Names of the loopback are local without being resolved.
std::uint32_t connectionFlagsForHost(std::string_view host);
inline constexpr double kResolveSeconds = 2;
inline constexpr double kKeptSeconds = 10;

}  // namespace corvy::platform
