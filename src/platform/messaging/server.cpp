#include <glib-unix.h>
#include <sys/socket.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <list>
#include <memory>
#include <utility>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/messaging.h"
#include "platform/messaging/bus.h"
#include "platform/messaging/bus_source.h"
#include "platform/messaging/registration.h"
#include "platform/messaging/standard_calls.h"
#include "platform/messaging/wire.h"

namespace corvy::platform {

namespace {

constexpr int kMaxNesting = 8;
constexpr int kAcceptedPerTurn = 64;
constexpr guint kAcceptPause = 100;  // milliseconds, when the process is out of descriptors
// A client with this many requests or replies on their way is not read from until there are fewer.
constexpr std::size_t kMaxPending = 32;
constexpr std::uint64_t kMaxUnread = 64;
constexpr std::size_t kLongestReason = 65536;  // bytes

constexpr const char* kExceptionError = "org.corvystack.Error.Exception";

bool isOwnUser(int socket) {
    struct ucred peer = {};
    socklen_t length = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
           peer.uid == geteuid();
}

// The server end of a bus on an accepted socket; null when it cannot be made.
Bus openServerBus(Descriptor socket) {
    sd_id128_t identity = {};
    sd_bus* made = nullptr;
    if (sd_id128_randomize(&identity) < 0 || sd_bus_new(&made) < 0) return nullptr;
    Bus bus(made);
    if (sd_bus_set_fd(made, socket.get(), socket.get()) < 0) return nullptr;
    (void)socket.release();  // the bus closes it from here on
    const bool started = sd_bus_set_server(made, 1, identity) >= 0 &&
                         sd_bus_negotiate_fds(made, 1) >= 0 && sd_bus_start(made) >= 0;
    return started ? std::move(bus) : nullptr;
}

void replyException(sd_bus_message* call, std::string_view reason) {
    // Through UTF-16 and back, since the message takes well-formed text only.
    const std::string text = toUtf8(fromUtf8(reason.substr(0, kLongestReason)));
    sd_bus_reply_method_errorf(call, kExceptionError, "%s", text.c_str());
}

}  // namespace

struct Connection::State {
    struct Peer : std::enable_shared_from_this<Peer> {
        State* state = nullptr;  // null once the connection is lost
        Bus bus;
        std::unique_ptr<BusSource> source;
        std::size_t pending = 0;  // requests of it in the queue
    };
    struct Request {
        std::shared_ptr<Peer> peer;
        const RemoteMethod* method;
        Message call;
    };
    struct Listener {
        State* state;
        std::unique_ptr<Registration> registration;
        guint source = 0;
    };

    ~State();
    void listen(std::unique_ptr<Registration> registration);
    void watch(Listener& listener);
    static gboolean acceptReady(gint socket, GIOCondition condition, gpointer listener);
    static gboolean acceptAgain(gpointer listener);
    std::shared_ptr<Peer> admit(Bus bus);
    void lose(const std::shared_ptr<Peer>& peer);
    static int filter(sd_bus_message* message, void* peer, sd_bus_error* error);
    bool enqueue(Peer& peer, sd_bus_message* call);
    bool mayServe() const { return nesting < (independentQueueing ? 1 : kMaxNesting); }
    void schedule();
    static gboolean serveNext(gpointer state);
    void serve(const Request& request);

    ServiceFace face;
    Handler handler;
    bool independentQueueing = false;

    std::list<Listener> listeners;
    std::list<std::shared_ptr<Peer>> peers;
    std::deque<Request> queue;
    guint next = 0;   // the idle source that serves the first of the queue
    int nesting = 0;  // requests in progress
};

Connection::State::~State() {
    if (next != 0) g_source_remove(next);
    for (const Listener& listener : listeners) g_source_remove(listener.source);
    for (const std::shared_ptr<Peer>& peer : peers) {
        peer->source.reset();
        peer->state = nullptr;
    }
}

void Connection::State::listen(std::unique_ptr<Registration> registration) {
    listeners.push_back({this, std::move(registration)});
    watch(listeners.back());
}

void Connection::State::watch(Listener& listener) {
    listener.source =
        g_unix_fd_add(listener.registration->socket(), G_IO_IN, acceptReady, &listener);
}

gboolean Connection::State::acceptReady(gint socket, GIOCondition, gpointer data) {
    auto& listener = *static_cast<Listener*>(data);
    for (int i = 0; i < kAcceptedPerTurn; ++i) {
        Descriptor accepted(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (accepted) {
            if (isOwnUser(accepted.get())) {
                listener.state->admit(openServerBus(std::move(accepted)));
            }
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED) continue;
        if (errno == EAGAIN) break;
        // The clients wait in the backlog meanwhile.
        listener.source = g_timeout_add(kAcceptPause, acceptAgain, &listener);
        return G_SOURCE_REMOVE;
    }
    return G_SOURCE_CONTINUE;
}

gboolean Connection::State::acceptAgain(gpointer data) {
    auto& listener = *static_cast<Listener*>(data);
    listener.state->watch(listener);
    return G_SOURCE_REMOVE;
}

// Serves what comes over the bus; null when there is none, or it cannot be served.
std::shared_ptr<Connection::State::Peer> Connection::State::admit(Bus bus) {
    if (!bus) return nullptr;
    auto peer = std::make_shared<Peer>();
    peer->state = this;
    peer->bus = std::move(bus);
    if (sd_bus_add_filter(peer->bus.get(), nullptr, filter, peer.get()) < 0) return nullptr;
    const auto paused = [raw = peer.get()] {
        std::uint64_t unread = 0;
        sd_bus_get_n_queued_write(raw->bus.get(), &unread);
        return raw->pending >= kMaxPending || unread >= kMaxUnread;
    };
    const std::weak_ptr<Peer> weak = peer;
    const auto lost = [this, weak] {
        if (const std::shared_ptr<Peer> gone = weak.lock()) lose(gone);
    };
    peer->source = std::make_unique<BusSource>(peer->bus.get(), BusSource::Hooks{paused, lost});
    peers.push_back(peer);
    return peer;
}

void Connection::State::lose(const std::shared_ptr<Peer>& peer) {
    peer->source.reset();
    peer->state = nullptr;
    sd_bus_close(peer->bus.get());
    peers.remove(peer);
    // Nobody waits for what it asked and was not begun.
    std::erase_if(queue, [&](const Request& request) { return request.peer == peer; });
}

int Connection::State::filter(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& peer = *static_cast<Peer*>(data);
    std::uint8_t type = 0;
    if (peer.state == nullptr || sd_bus_message_get_type(message, &type) < 0 ||
        type != SD_BUS_MESSAGE_METHOD_CALL) {
        return 0;
    }
    // Nothing may pass through the library's frames.
    try {
        return peer.state->enqueue(peer, message) || answerStandardCall(message, peer.state->face);
    } catch (const std::exception& failure) {
        replyException(message, failure.what());
        return 1;
    }
}

bool Connection::State::enqueue(Peer& peer, sd_bus_message* call) {
    const char* path = sd_bus_message_get_path(call);
    const char* interface = sd_bus_message_get_interface(call);
    const char* member = sd_bus_message_get_member(call);
    if (path == nullptr || member == nullptr || path != face.interface.objectPath) return false;
    // A call may leave the interface out.
    if (interface != nullptr && interface != face.interface.name) return false;
    const RemoteMethod* method = face.interface.methodForMember(member);
    if (method == nullptr) return false;

    queue.push_back({peer.shared_from_this(), method, Message(sd_bus_message_ref(call))});
    ++peer.pending;
    schedule();
    return true;
}

void Connection::State::schedule() {
    if (next != 0 || queue.empty() || !mayServe()) return;
    next = g_idle_add_full(G_PRIORITY_DEFAULT, serveNext, this, nullptr);
}

gboolean Connection::State::serveNext(gpointer data) {
    auto& state = *static_cast<State*>(data);
    state.next = 0;
    // The clients may have gone meanwhile, or queueing been switched on.
    if (state.queue.empty() || !state.mayServe()) return G_SOURCE_REMOVE;
    const Request request = std::move(state.queue.front());
    state.queue.pop_front();
    --request.peer->pending;
    ++state.nesting;
    state.schedule();  // so that the next one is served if this one runs the context
    state.serve(request);
    --state.nesting;
    state.schedule();
    return G_SOURCE_REMOVE;
}

void Connection::State::serve(const Request& request) {
    sd_bus_message* call = request.call.get();
    const RemoteMethod& method = *request.method;
    std::vector<RemoteType> types;
    for (const RemoteArgument& argument : method.arguments) types.push_back(argument.type);
    try {
        const RemoteValue result = handler(method, wire::read(call, types));
        sd_bus_message* made = nullptr;
        if (sd_bus_message_new_method_return(call, &made) < 0) return;
        const Message reply(made);
        wire::append(made, {&method.result, 1}, {&result, 1});
        if (sd_bus_message_send(made) < 0) replyException(call, "The result cannot be sent");
    } catch (const wire::Malformed& failure) {
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "%s", failure.what());
    } catch (const wire::NotSendable& failure) {
        replyException(call, std::string("The result cannot be sent: ") + failure.what());
    } catch (const std::exception& failure) {
        replyException(call, failure.what());
    } catch (...) {
        replyException(call, "unknown exception");
    }
}

Connection::Connection() : state_(std::make_unique<State>()) {}
Connection::~Connection() = default;

void Connection::setRootObject(RemoteInterface interface, Handler handler) {
    state_->face.interface = std::move(interface);
    state_->handler = std::move(handler);
}

void Connection::setStatusProperties(std::map<std::string, Property> properties) {
    state_->face.status = std::move(properties);
}

bool Connection::registerName(std::string_view name) {
    std::unique_ptr<Registration> registration = Registration::take(name);
    if (!registration) return false;
    state_->listen(std::move(registration));
    return true;
}

bool Connection::joinSessionBus(const char* busName) {
    sd_bus* made = nullptr;
    if (sd_bus_open_user(&made) < 0) return false;
    const auto peer = state_->admit(Bus(made));
    if (!peer) return false;
    if (sd_bus_request_name(peer->bus.get(), busName, 0) >= 0) return true;
    state_->lose(peer);
    return false;
}

void Connection::setIndependentConversationQueueing(bool on) {
    state_->independentQueueing = on;
    state_->schedule();
}

void Connection::setRequestTimeout(double seconds) {
    state_->face.requestTimeout = seconds;
}

void Connection::setReplyTimeout(double seconds) {
    state_->face.replyTimeout = seconds;
}

}  // namespace corvy::platform
