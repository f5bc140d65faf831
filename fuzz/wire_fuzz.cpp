// Values that other processes send.
//
// An even first byte: the rest is the body of a message as it came over the socket, the second byte
// choosing its signature. An odd one: the rest is a recipe for a well-formed message whose values
// need not be. What can be read must come back the same when it is sent again.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>

#include "foundation/json.h"
#include "platform/messaging/bus.h"
#include "platform/messaging/wire.h"
#include "platform/sealed_memory.h"

namespace {

using namespace corvy;
using namespace corvy::platform;

constexpr std::string_view kGreeting("\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n",
                                     48);

// The server end of a connection, and the raw socket at its other end.
struct Line {
    Bus bus;
    Descriptor raw;

    Line() {
        int pair[2] = {};
        sd_bus* made = nullptr;
        sd_id128_t identity = {{1}};
        constexpr int kType = SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK;
        if (socketpair(AF_UNIX, kType, 0, pair) != 0 || sd_bus_new(&made) < 0) std::abort();
        bus.reset(made);
        raw = Descriptor(pair[1]);
        if (sd_bus_set_fd(made, pair[0], pair[0]) < 0 || sd_bus_set_server(made, 1, identity) < 0 ||
            sd_bus_negotiate_fds(made, 1) < 0 || sd_bus_start(made) < 0 ||
            send(raw.get(), kGreeting.data(), kGreeting.size(), 0) < 0) {
            std::abort();
        }
    }
};

Line& line() {
    static std::optional<Line> line;
    if (!line || sd_bus_is_open(line->bus.get()) <= 0) line.emplace();
    return *line;
}

// A sealed memory file of one page, and one that is not sealed.
const int* files() {
    static const int fds[] = {
        sealedMemoryOf(std::vector<std::byte>(4096, std::byte{'x'})).release(),
        memfd_create("unsealed", MFD_CLOEXEC)};
    return fds;
}

void putWord(std::string& to, std::uint32_t word) {
    to.append(reinterpret_cast<const char*>(&word), sizeof word);
}

void putField(std::string& to, char code, char type, std::string_view text) {
    to += {code, 1, type, 0};
    if (type == 'g') {
        to += static_cast<char>(text.size());
    } else {
        putWord(to, static_cast<std::uint32_t>(text.size()));
    }
    to.append(text) += '\0';
    to.resize((to.size() + 7) / 8 * 8);
}

// Takes the body through the socket, two files with it.
Message received(std::string_view signature, std::string_view body) {
    std::string fields;
    putField(fields, 1, 'o', "/a");
    putField(fields, 3, 's', "M");
    putField(fields, 8, 'g', signature);
    fields += {9, 1, 'u', 0};
    putWord(fields, 2);
    std::string bytes = {'l', 1, 1, 1};
    putWord(bytes, static_cast<std::uint32_t>(body.size()));
    putWord(bytes, 1);
    putWord(bytes, static_cast<std::uint32_t>(fields.size()));
    bytes.append(fields).append(body);

    iovec part = {bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(2 * sizeof(int));
    std::memcpy(CMSG_DATA(head), files(), 2 * sizeof(int));
    Line& end = line();
    if (sendmsg(end.raw.get(), &message, MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
        return nullptr;
    }
    for (int i = 0; i < 20; ++i) {
        sd_bus_message* found = nullptr;
        if (sd_bus_process(end.bus.get(), &found) < 0) break;
        if (found != nullptr) return Message(found);
    }
    sd_bus_close(end.bus.get());
    return nullptr;
}

Message newMessage() {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(line().bus.get(), &made, nullptr, "/a", nullptr, "M") < 0) {
        std::abort();
    }
    return Message(made);
}

// Follows a recipe, byte by byte; what it cannot append it leaves out.
struct Recipe {
    std::string_view bytes;

    std::uint8_t next() {
        if (bytes.empty()) return 0;
        const auto byte = static_cast<std::uint8_t>(bytes.front());
        bytes.remove_prefix(1);
        return byte;
    }
    std::string_view some() {
        const std::string_view found = bytes.substr(0, next() % 16);
        bytes.remove_prefix(std::min(found.size(), bytes.size()));
        return found;
    }

    void structure(sd_bus_message* m) {
        static constexpr const char* kTags[] = {"null",  "date",       "url",   "utf-16le",
                                                "utf-8", "dictionary", "bytes", "other"};
        const char* tag = kTags[next() % std::size(kTags)];
        const std::string text(some());
        switch (next() % 5) {
            case 0: sd_bus_message_append(m, "v", "(s)", tag); break;
            case 1: sd_bus_message_append(m, "v", "(sd)", tag, double(next())); break;
            case 2: sd_bus_message_append(m, "v", "(ss)", tag, text.c_str()); break;
            case 3:
                sd_bus_message_open_container(m, 'v', "(say)");
                sd_bus_message_open_container(m, 'r', "say");
                sd_bus_message_append(m, "s", tag);
                sd_bus_message_append_array(m, 'y', text.data(), text.size());
                sd_bus_message_close_container(m);
                sd_bus_message_close_container(m);
                break;
            default:
                sd_bus_message_append(m, "v", "(sht)", tag, files()[next() % 2],
                                      std::uint64_t{next()} << (next() % 56));
        }
    }

    void variant(sd_bus_message* m, int depth) {
        const unsigned choice = next() % 12;
        if (depth > 40 || choice < 3) return structure(m);
        if (choice == 3) {
            sd_bus_message_append(m, "v", "s", std::string(some()).c_str());
        } else if (choice == 4) {
            sd_bus_message_append(m, "v", "t", std::uint64_t{next()} << (next() % 64));
        } else if (choice == 5) {
            sd_bus_message_append(m, "v", "as", 2, "x", "y");
        } else if (choice == 6) {
            sd_bus_message_append(m, "v", "a{qs}", 1, next(), "y");
        } else if (choice == 7) {
            sd_bus_message_append(m, "v", "n", next());
        } else if (choice == 8) {
            inside(m, "v", [&] { variant(m, depth + 1); });
        } else if (choice == 9) {
            inside(m, "(sav)", [&] {
                sd_bus_message_open_container(m, 'r', "sav");
                sd_bus_message_append(m, "s", "dictionary");
                variants(m, depth);
                sd_bus_message_close_container(m);
            });
        } else if (choice == 10) {
            inside(m, "a{sv}", [&] {
                sd_bus_message_open_container(m, 'a', "{sv}");
                for (int count = next() % 4; count > 0; --count) {
                    sd_bus_message_open_container(m, 'e', "sv");
                    sd_bus_message_append(m, "s", std::string(some()).c_str());
                    variant(m, depth + 1);
                    sd_bus_message_close_container(m);
                }
                sd_bus_message_close_container(m);
            });
        } else {
            inside(m, "av", [&] { variants(m, depth); });
        }
    }
    template <typename Contents>
    static void inside(sd_bus_message* m, const char* signature, Contents contents) {
        sd_bus_message_open_container(m, 'v', signature);
        contents();
        sd_bus_message_close_container(m);
    }
    void variants(sd_bus_message* m, int depth) {
        sd_bus_message_open_container(m, 'a', "v");
        for (int count = next() % 4; count > 0; --count) variant(m, depth + 1);
        sd_bus_message_close_container(m);
    }
};

std::string textOf(const std::vector<RemoteValue>& values) {
    std::string text;
    for (const RemoteValue& value : values) text += value ? jsonOf(*value) + "\n" : "nil\n";
    return text;
}

void check(sd_bus_message* message, std::span<const RemoteType> types) {
    std::vector<RemoteValue> values;
    try {
        values = wire::read(message, types);
    } catch (const wire::Malformed&) {
        return;
    }
    if (values.size() != types.size()) std::abort();
    const Message again = newMessage();
    try {
        wire::append(again.get(), types, values);
    } catch (const wire::NotSendable&) {
        return;  // nested more deeply than we send
    }
    if (sd_bus_message_seal(again.get(), 1, 0) < 0) std::abort();
    if (textOf(wire::read(again.get(), types)) != textOf(values)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<RemoteType> kTypes[] = {
        {RemoteType::object},
        {RemoteType::object, RemoteType::flag},
        {RemoteType::object, RemoteType::size, RemoteType::flag},
        {RemoteType::flag},
        {}};
    if (size < 2) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 2, size - 2);
    if (data[0] % 2 == 0) {
        const std::vector<RemoteType>& types = kTypes[data[1] % std::size(kTypes)];
        std::string signature;
        for (const RemoteType type : types) signature += wire::signatureOf(type);
        const Message message = received(signature, rest);
        if (message) check(message.get(), types);
    } else {
        const Message message = newMessage();
        Recipe{rest}.variants(message.get(), 0);
        if (sd_bus_message_seal(message.get(), 1, 0) >= 0) check(message.get(), kTypes[0]);
    }
    return 0;
}
