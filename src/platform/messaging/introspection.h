// The description of a vended object, as D-Bus tools ask for it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/remote_interface.h"

namespace corvy::platform {

// The annotation that carries an operation's own name.
inline constexpr std::string_view kSelectorAnnotation = "org.corvystack.Selector";
inline constexpr std::string_view kStatusInterface = "org.corvystack.Status1";
inline constexpr std::string_view kTimeoutsProperty = "Timeouts";

// The object's operations and properties; `status` is name to type.
std::string describeObject(const RemoteInterface& interface,
                           const std::map<std::string, std::string>& status);
// A node of the tree that has nothing but children; their names.
std::string describeNode(const std::vector<std::string>& children);

// What a description says, as far as calls need it.
struct Description {
    std::vector<std::string> children;
    // The vended interface: the first that is neither a standard one nor the status. Operations
    // with other types than ours are left out. None when there is no such interface.
    std::optional<RemoteInterface> interface;
};

// None when it is no description. `path` is the object's, for the interface.
std::optional<Description> readDescription(std::string_view xml, const std::string& path);

}  // namespace corvy::platform
