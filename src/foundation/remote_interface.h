// What both ends of a connection say of a vended object: its operations, the proxy through which a
// client calls them, and how a call can fail on its way.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"

namespace corvy {

// How a value travels: an object may be nil and is passed by copy; flags and sizes are plain.
enum class RemoteType { object, flag, size };

struct RemoteArgument {
    std::string name;
    RemoteType type = RemoteType::object;
};

struct RemoteMethod {
    std::string selector;  // the operation's own name, colons included
    std::string member;    // the same as one capitalised word
    std::vector<RemoteArgument> arguments;
    RemoteType result = RemoteType::object;
};

// The operations of one vended object.
struct RemoteInterface {
    std::string objectPath;  // "/CorvyStackHelper"
    std::string name;        // "org.corvystack.ImExport1"
    std::vector<RemoteMethod> methods;

    // Null when there is no such operation.
    const RemoteMethod* methodForSelector(std::string_view selector) const;
    const RemoteMethod* methodForMember(std::string_view member) const;
};

// An argument or a result; none is nil. Flags are booleans and sizes 64-bit integers.
using RemoteValue = std::optional<PropertyList>;

// The call did not come through. The connection is usable after a time-out, and only then.
class TransportError : public std::runtime_error {
public:
    enum class Kind {
        timeout,         // request or reply took longer than its limit
        connectionLost,  // the other process died or closed the connection
        protocol         // what came back was not what the two have agreed on
    };
    TransportError(Kind kind, const std::string& reason)
        : std::runtime_error(reason), kind_(kind) {}
    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

// The call came through, and the operation passed an exception on.
class RemoteException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Stands for the vended object of another process. Calls block; use it from one thread.
class RootProxy {
public:
    virtual ~RootProxy() = default;
    // In seconds; both start as what the connection gives (15 and 15).
    virtual void setRequestTimeout(double seconds) = 0;
    virtual void setReplyTimeout(double seconds) = 0;
    // Tells the signatures of the operations, which are asked of the other side otherwise. Not
    // owned: it must outlive the proxy.
    virtual void setProtocol(const RemoteInterface* protocol) = 0;
    virtual bool respondsTo(std::string_view selector) = 0;
    // Throws TransportError or RemoteException.
    virtual RemoteValue call(std::string_view selector, std::vector<RemoteValue> arguments) = 0;
};

}  // namespace corvy
