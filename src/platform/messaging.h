// Named, machine-local object messaging between processes of one user.
//
// The service end registers a vended object under a name; clients look the name up and get a proxy
// whose calls block. Messages are D-Bus messages on a private unix stream socket, peer to peer,
// without a bus daemon, so that ordinary D-Bus tools can speak to it as well.
//
// Values travel by copy. Bytes and strings of 16 MiB and more (or as soon as the inline total of
// a message would pass 32 MiB) travel in sealed memory files; the bytes that a receiver gets lie in
// the mapping, and `Bytes::descriptor()` names the file.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/remote_interface.h"

namespace corvy::platform {

// The service end. Requests are served on the thread that runs the default main context, one after
// the other, in the order of their arrival, each as an idle source of its own: an operation that
// runs the context nested lets the next request in, up to 8 deep; deeper ones stay queued. Since
// such waits lie inside each other, an outer one ends after the inner ones.
//
// A request that was begun is finished even if its client has gone; what that client asked beyond
// it is dropped. A client with more than a few dozen requests or replies on their way is not read
// from until there are fewer. Processes of other users are refused.
class Connection {
public:
    // One operation of the vended object. The arguments are as many and of the types that the
    // method declares. What it throws goes to the client as an exception, and so does a result of
    // the wrong type, one with collections nested more than 20 deep, or one that is too large: more
    // than 32 MiB beside the 16 largest of its texts and bytes. It must not destroy the connection.
    using Handler =
        std::function<RemoteValue(const RemoteMethod& method, const std::vector<RemoteValue>&)>;
    // A read-only value that tools can ask for beside the operations (interface
    // "org.corvystack.Status1"): text, number, array of texts, or dictionary of texts.
    using Property = std::function<PropertyList()>;

    Connection();
    ~Connection();  // gives the name up and closes every connection
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void setRootObject(RemoteInterface interface, Handler handler);
    void setStatusProperties(std::map<std::string, Property> properties);
    // Takes the name for this process and starts to listen. False, with nothing left behind, when
    // another process holds it, when the runtime folder is not the user's own, a link, or open to
    // others, when the socket's path would be longer than 99 bytes, or when anything else is in the
    // way. A process may hold any number of names, each once. A listening socket that the process
    // was started with (LISTEN_FDS, LISTEN_PID) serves the first name instead of one of our own.
    bool registerName(std::string_view name);
    // Offers the object on the user's session bus as well, under a name of that bus. False when
    // there is no such bus, or the name is taken.
    bool joinSessionBus(const char* busName);
    // On: a request waits until the one in progress is done, even while that runs the context.
    // Off (the start value): it may be served inside.
    void setIndependentConversationQueueing(bool on);
    // In seconds; 15 both. Clients ask for them along with their first request.
    void setRequestTimeout(double seconds);
    void setReplyTimeout(double seconds);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// The folder that holds the sockets: $CORVYSTACK_RUNTIME_DIR, or $XDG_RUNTIME_DIR/corvystack, or
// /run/user/UID/corvystack, or corvystack-UID in the system's folder for temporary files.
std::string runtimeDirectory();

// Looks the name up, without waiting: the proxy of the object that is registered under it, or null.
// A service that is busy is found all the same; one that accepts no connection for the moment is
// tried again by the first call, within its request time-out. The name is that of the given folder;
// without one, of runtimeDirectory(). The proxy needs no run loop.
std::unique_ptr<RootProxy> rootProxyForConnectionWithRegisteredName(std::string_view name,
                                                                    std::string_view folder = {});

// The status properties of the service behind a proxy made by the function above; throws
// TransportError.
Dictionary statusOf(RootProxy& proxy);

}  // namespace corvy::platform
