#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <optional>
#include <thread>
#include <utility>

#include "foundation/descriptor.h"
#include "platform/messaging.h"
#include "platform/messaging/bus.h"
#include "platform/messaging/introspection.h"
#include "platform/messaging/runtime_directory.h"
#include "platform/messaging/wire.h"

namespace corvy::platform {

namespace {

using Clock = std::chrono::steady_clock;
using Kind = TransportError::Kind;

constexpr double kDefaultTimeout = 15;  // seconds
constexpr auto kBusyPause = std::chrono::milliseconds(5);
constexpr std::string_view kExceptionError = "org.corvystack.Error.Exception";
constexpr const char* kIntrospectable = "org.freedesktop.DBus.Introspectable";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

Clock::time_point after(double seconds, Clock::time_point start = Clock::now()) {
    constexpr double kLongest = 1e9;  // some thirty years
    const std::chrono::duration<double> limit(seconds > 0 ? std::min(seconds, kLongest) : 0);
    return start + std::chrono::duration_cast<Clock::duration>(limit);
}

[[noreturn]] void fail(int error, const char* what) {
    // The library says ENOBUFS of a message that is longer than any may be.
    const bool garbled = error == -EBADMSG || error == -EPROTO || error == -ENOBUFS;
    throw TransportError(garbled ? Kind::protocol : Kind::connectionLost,
                         std::string(what) + ": " + std::strerror(-error));
}

void check(int result, const char* what) {
    if (result < 0) fail(result, what);
}

enum class Reach { connected, busy, absent };

// One attempt, without waiting.
Reach reach(const std::string& path, Descriptor& result) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return Reach::absent;
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return errno == EAGAIN ? Reach::busy : Reach::absent;  // busy: its backlog is full
    }
    struct ucred peer = {};
    socklen_t length = sizeof peer;
    if (getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 ||
        peer.uid != geteuid()) {
        return Reach::absent;
    }
    result = std::move(socket);
    return Reach::connected;
}

Bus openClientBus(Descriptor socket) {
    sd_bus* made = nullptr;
    check(sd_bus_new(&made), "bus");
    Bus bus(made);
    check(sd_bus_set_fd(made, socket.get(), socket.get()), "bus");
    (void)socket.release();  // the bus closes it from here on
    check(sd_bus_negotiate_fds(made, 1), "bus");
    check(sd_bus_start(made), "bus");
    return bus;
}

// A name that the error of a reply has, when the other side does not know what was called.
bool isUnknown(const sd_bus_error* error) {
    return sd_bus_error_has_names(error, SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_OBJECT,
                                  SD_BUS_ERROR_UNKNOWN_INTERFACE) > 0;
}

class SocketProxy : public RootProxy {
public:
    // Without a bus the service was too busy to be reached yet.
    SocketProxy(std::string path, Bus bus) : path_(std::move(path)), bus_(std::move(bus)) {}

    void setRequestTimeout(double seconds) override { ownRequestTimeout_ = seconds; }
    void setReplyTimeout(double seconds) override { ownReplyTimeout_ = seconds; }
    void setProtocol(const RemoteInterface* protocol) override { protocol_ = protocol; }
    bool respondsTo(std::string_view selector) override;
    RemoteValue call(std::string_view selector, std::vector<RemoteValue> arguments) override;
    Dictionary status();

private:
    // A request under way: its answer, once there is one.
    struct Answer {
        bool arrived = false;
        Message reply;
    };
    static int take(sd_bus_message* reply, void* answer, sd_bus_error* error);
    static int takeTimeouts(sd_bus_message* reply, void* proxy, sd_bus_error* error);

    double requestTimeout() const { return ownRequestTimeout_.value_or(theirs_.request); }
    double replyTimeout() const { return ownReplyTimeout_.value_or(theirs_.reply); }

    void connect(Clock::time_point deadline);
    Message newCall(const std::string& object, const char* interface, const char* member);
    Message transact(Message request, Clock::time_point requestDeadline);
    void runUntil(Clock::time_point deadline);
    void throwIfError(sd_bus_message* reply) const;

    const std::string& objectPath();
    const RemoteInterface* introspected();
    std::optional<Description> describe(const std::string& object);
    void askTimeouts(const std::string& object);

    std::string path_;  // of the socket
    Bus bus_;
    Slot timeoutsSlot_;
    bool timeoutsAsked_ = false;
    struct {
        double request = kDefaultTimeout;
        double reply = kDefaultTimeout;
    } theirs_;
    std::optional<double> ownRequestTimeout_;
    std::optional<double> ownReplyTimeout_;
    const RemoteInterface* protocol_ = nullptr;
    std::string discoveredPath_;
    std::optional<RemoteInterface> description_;
    bool described_ = false;
};

int SocketProxy::take(sd_bus_message* reply, void* data, sd_bus_error*) {
    auto& answer = *static_cast<Answer*>(data);
    answer.reply.reset(sd_bus_message_ref(reply));
    answer.arrived = true;
    return 1;
}

int SocketProxy::takeTimeouts(sd_bus_message* reply, void* data, sd_bus_error*) {
    auto& proxy = *static_cast<SocketProxy*>(data);
    double request = 0;
    double answer = 0;
    if (sd_bus_message_is_method_error(reply, nullptr) == 0 &&
        sd_bus_message_read(reply, "v", "(dd)", &request, &answer) > 0 && request > 0 &&
        answer > 0) {
        proxy.theirs_ = {request, answer};
    }
    return 1;
}

void SocketProxy::connect(Clock::time_point deadline) {
    while (!bus_) {
        Descriptor socket;
        switch (reach(path_, socket)) {
            case Reach::connected: bus_ = openClientBus(std::move(socket)); return;
            case Reach::absent: throw TransportError(Kind::connectionLost, "The service has gone");
            case Reach::busy: break;
        }
        if (Clock::now() >= deadline) {
            throw TransportError(Kind::timeout, "The service accepts no connection");
        }
        std::this_thread::sleep_for(kBusyPause);
    }
}

Message SocketProxy::newCall(const std::string& object, const char* interface, const char* member) {
    sd_bus_message* made = nullptr;
    const int result = sd_bus_message_new_method_call(bus_.get(), &made, nullptr, object.c_str(),
                                                      interface, member);
    if (result == -EINVAL) throw TransportError(Kind::protocol, "Not a name of an operation");
    check(result, "Request");
    return Message(made);
}

// Lets the connection work until something happened or the time is over.
void SocketProxy::runUntil(Clock::time_point deadline) {
    const int events = sd_bus_get_events(bus_.get());
    std::uint64_t due = 0;
    if (events < 0 || sd_bus_get_timeout(bus_.get(), &due) < 0) fail(-ECONNRESET, "Connection");
    if (due != 0) {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::max(deadline - Clock::now(), Clock::duration::zero()));
        const timespec wait = {static_cast<time_t>(left.count() / 1'000'000'000),
                               static_cast<long>(left.count() % 1'000'000'000)};
        pollfd socket = {sd_bus_get_fd(bus_.get()), static_cast<short>(events), 0};
        if (ppoll(&socket, 1, &wait, nullptr) < 0 && errno != EINTR) fail(-errno, "Waiting");
    }
    const int result = sd_bus_process(bus_.get(), nullptr);
    if (result >= 0) return;
    sd_bus_close(bus_.get());  // nothing that comes after garbage can be trusted
    fail(result, "Connection");
}

Message SocketProxy::transact(Message request, Clock::time_point requestDeadline) {
    Answer answer;
    sd_bus_slot* made = nullptr;
    constexpr auto kNever = std::numeric_limits<std::uint64_t>::max();
    check(sd_bus_call_async(bus_.get(), &made, request.get(), take, &answer, kNever), "Request");
    const Slot slot(made);  // an answer that comes after it has gone is dropped
    request.reset();        // with its copies of large arguments, once it has been sent

    std::uint64_t unsent = 0;
    while (!answer.arrived) {
        check(sd_bus_get_n_queued_write(bus_.get(), &unsent), "Connection");
        if (unsent == 0) break;
        if (Clock::now() >= requestDeadline) {
            throw TransportError(Kind::timeout, "The request was not taken in time");
        }
        runUntil(requestDeadline);
    }
    const Clock::time_point sent = Clock::now();
    while (!answer.arrived) {
        // Asked anew each time: the service's own limit may come in meanwhile.
        const Clock::time_point deadline = after(replyTimeout(), sent);
        if (Clock::now() >= deadline) throw TransportError(Kind::timeout, "No reply in time");
        runUntil(deadline);
    }

    // The end of a connection comes as an error reply that the library makes up.
    if (sd_bus_message_is_method_error(answer.reply.get(), SD_BUS_ERROR_NO_REPLY) > 0 &&
        sd_bus_is_open(bus_.get()) <= 0) {
        throw TransportError(Kind::connectionLost, "The service has closed the connection");
    }
    return std::move(answer.reply);
}

void SocketProxy::throwIfError(sd_bus_message* reply) const {
    if (sd_bus_message_is_method_error(reply, nullptr) <= 0) return;
    const sd_bus_error* error = sd_bus_message_get_error(reply);
    const std::string reason = error->message == nullptr ? "" : error->message;
    if (error->name == kExceptionError) throw RemoteException(reason);
    throw TransportError(Kind::protocol, std::string(error->name) + ": " + reason);
}

std::optional<Description> SocketProxy::describe(const std::string& object) {
    const Clock::time_point deadline = after(requestTimeout());
    connect(deadline);
    const Message reply = transact(newCall(object, kIntrospectable, "Introspect"), deadline);
    if (isUnknown(sd_bus_message_get_error(reply.get()))) return std::nullopt;
    throwIfError(reply.get());
    const char* xml = nullptr;
    if (sd_bus_message_read(reply.get(), "s", &xml) <= 0) {
        throw TransportError(Kind::protocol, "A description that is no text");
    }
    std::optional<Description> description = readDescription(xml, object);
    if (!description) throw TransportError(Kind::protocol, "A description that cannot be read");
    return description;
}

// The object that the service vends: the one below the root of its tree.
const std::string& SocketProxy::objectPath() {
    if (protocol_ != nullptr) return protocol_->objectPath;
    if (discoveredPath_.empty()) {
        const std::optional<Description> root = describe("/");
        if (!root || root->children.empty()) {
            throw TransportError(Kind::protocol, "The service shows no object");
        }
        std::string found = "/" + root->children.front();
        if (sd_bus_object_path_is_valid(found.c_str()) <= 0) {
            throw TransportError(Kind::protocol, "An object path that is none");
        }
        discoveredPath_ = std::move(found);
    }
    return discoveredPath_;
}

const RemoteInterface* SocketProxy::introspected() {
    if (!described_) {
        std::optional<Description> description = describe(objectPath());
        if (description) description_ = std::move(description->interface);
        described_ = true;
    }
    return description_ ? &*description_ : nullptr;
}

// Sends the question along with the first request; the answer comes before that one's.
void SocketProxy::askTimeouts(const std::string& object) {
    if (std::exchange(timeoutsAsked_, true)) return;
    const Message question = newCall(object, kProperties, "Get");
    check(sd_bus_message_append(question.get(), "ss", "", std::string(kTimeoutsProperty).c_str()),
          "Request");
    sd_bus_slot* made = nullptr;
    check(sd_bus_call_async(bus_.get(), &made, question.get(), takeTimeouts, this, 0), "Request");
    timeoutsSlot_.reset(made);
}

bool SocketProxy::respondsTo(std::string_view selector) {
    const RemoteInterface* interface = introspected();
    return interface != nullptr && interface->methodForSelector(selector) != nullptr;
}

RemoteValue SocketProxy::call(std::string_view selector, std::vector<RemoteValue> arguments) {
    const RemoteInterface* interface = protocol_;
    const RemoteMethod* method =
        interface == nullptr ? nullptr : interface->methodForSelector(selector);
    if (method == nullptr) {
        interface = introspected();
        method = interface == nullptr ? nullptr : interface->methodForSelector(selector);
    }
    if (method == nullptr) {
        throw TransportError(Kind::protocol, "No operation " + std::string(selector));
    }

    const Clock::time_point deadline = after(requestTimeout());
    connect(deadline);
    askTimeouts(interface->objectPath);
    std::vector<RemoteType> types;
    for (const RemoteArgument& argument : method->arguments) types.push_back(argument.type);
    Message request =
        newCall(interface->objectPath, interface->name.c_str(), method->member.c_str());
    try {
        wire::append(request.get(), types, arguments);
    } catch (const wire::NotSendable& failure) {
        throw TransportError(Kind::protocol,
                             std::string("The arguments cannot be sent: ") + failure.what());
    }
    const Message reply = transact(std::move(request), deadline);
    throwIfError(reply.get());
    try {
        return std::move(wire::read(reply.get(), {&method->result, 1}).front());
    } catch (const wire::Malformed& failure) {
        throw TransportError(Kind::protocol, std::string("The result: ") + failure.what());
    }
}

Dictionary SocketProxy::status() {
    const std::string& object = objectPath();
    const Clock::time_point deadline = after(requestTimeout());
    connect(deadline);
    Message question = newCall(object, kProperties, "GetAll");
    check(sd_bus_message_append_basic(question.get(), 's', std::string(kStatusInterface).c_str()),
          "Request");
    const Message reply = transact(std::move(question), deadline);
    throwIfError(reply.get());
    try {
        return wire::readDictionary(reply.get());
    } catch (const wire::Malformed& failure) {
        throw TransportError(Kind::protocol, std::string("The status: ") + failure.what());
    }
}

}  // namespace

std::unique_ptr<RootProxy> rootProxyForConnectionWithRegisteredName(std::string_view name,
                                                                    std::string_view folder) {
    std::optional<std::string> path =
        socketPath(folder.empty() ? runtimeDirectory() : std::string(folder), name);
    if (!path) return nullptr;
    Descriptor socket;
    const Reach reached = reach(*path, socket);
    if (reached == Reach::absent) return nullptr;
    try {
        Bus bus = reached == Reach::connected ? openClientBus(std::move(socket)) : nullptr;
        return std::make_unique<SocketProxy>(std::move(*path), std::move(bus));
    } catch (const TransportError&) {
        return nullptr;  // it has gone again
    }
}

Dictionary statusOf(RootProxy& proxy) {
    auto* own = dynamic_cast<SocketProxy*>(&proxy);
    if (own == nullptr) throw TransportError(Kind::protocol, "A proxy of another kind");
    return own->status();
}

}  // namespace corvy::platform
