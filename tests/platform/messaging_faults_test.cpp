#include <fcntl.h>
#include <sys/mman.h>

#include <functional>
#include <random>

#include "platform/messaging/bus.h"
#include "platform/sealed_memory.h"
#include "tests/platform/messaging_support.h"

namespace corvy::platform {
namespace {

using Kind = TransportError::Kind;

Descriptor connectTo(const std::string& path) {
    const sockaddr_un address = addressOf(path);
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return fd;
}

// True when the other end closes the connection within five seconds; what it sends is dropped.
bool isClosed(int fd) {
    pollfd wait = {fd, POLLIN, 0};
    char buffer[4096];
    while (poll(&wait, 1, 5000) > 0) {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count <= 0) return true;
    }
    return false;
}

// Little-endian head of a method call; body and header-field lengths as given.
std::string callHead(std::uint32_t body, std::uint32_t fields) {
    std::string head = {'l', 1, 0, 1};
    for (const std::uint32_t word : {body, 1U, fields}) {
        head.append(reinterpret_cast<const char*>(&word), 4);
    }
    return head;
}

constexpr std::string_view kGreeting("\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n",
                                     48);

TEST_F(MessagingServiceTest, GarbageClosesItsOwnConnectionOnly) {
    std::mt19937 random(7);
    std::string noise(100'000, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    const std::string greeting(kGreeting);

    struct Case {
        const char* name;
        std::string bytes;
        bool closes;  // at once; the others are waited for
    };
    const Case cases[] = {
        {"random bytes", noise, true},
        {"another protocol", "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", true},
        {"no greeting's end", std::string(1, '\0') + std::string(100'000, 'A'), true},
        {"random bytes after the greeting", greeting + noise, true},
        {"2 GiB announced", greeting + callHead(0x80000000U, 16) + noise, true},
        {"4 GiB of fields announced", greeting + callHead(0, 0xFFFFFFFFU), true},
        {"no fields at all", greeting + callHead(0, 0), false},
        {"half a message", greeting + callHead(100, 100) + "half", false},
        {"silence", "", false},
    };
    for (const Case& c : cases) {
        const Descriptor fd = connectTo(socketFile());
        // It may be closed while we still send.
        (void)send(fd.get(), c.bytes.data(), c.bytes.size(), MSG_NOSIGNAL);
        if (c.closes) {
            EXPECT_TRUE(isClosed(fd.get())) << c.name;
        }
        expectAlive();
    }
    EXPECT_TRUE(service_->running());
}

// A connection through the library itself, which lets us send what our client never would.
class MessagingForeignClientTest : public MessagingServiceTest {
protected:
    void SetUp() override {
        MessagingServiceTest::SetUp();
        sd_bus* made = nullptr;
        ASSERT_GE(sd_bus_new(&made), 0);
        bus_.reset(made);
        const int fd = connectTo(socketFile()).release();
        ASSERT_GE(sd_bus_set_fd(made, fd, fd), 0);
        ASSERT_GE(sd_bus_start(made), 0);
    }
    // The name of the error that came back, or the signature of the reply.
    template <typename... Arguments>
    std::string call(const char* member, const char* types, Arguments... arguments) {
        return callObject("/TestObject", "org.corvystack.Test1", member, types, arguments...);
    }
    template <typename... Arguments>
    std::string callObject(const char* object, const char* interface, const char* member,
                           const char* types, Arguments... arguments) {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call_method(bus_.get(), nullptr, object, interface, member,
                                              &error, &reply, types, arguments...);
        const Message owner(reply);
        std::string answer;
        if (result < 0) {
            answer = error.name == nullptr ? "no reply" : error.name;
        } else {
            answer = sd_bus_message_get_signature(reply, 1);
        }
        sd_bus_error_free(&error);
        return answer;
    }

    Bus bus_;
};

constexpr const char* kInvalid = "org.freedesktop.DBus.Error.InvalidArgs";

TEST_F(MessagingForeignClientTest, ArgumentsThatNobodyAgreedOnAreInvalid) {
    EXPECT_EQ(call("Echo", "s", "x"), kInvalid);
    EXPECT_EQ(call("Echo", ""), kInvalid);
    EXPECT_EQ(call("StillBusy", "av", 0), kInvalid);
    EXPECT_EQ(call("Echo", "av", 2, "s", "x", "s", "y"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(ss)", "date", "x"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(sd)", "url", 1.0), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(s)", "nil"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(say)", "utf-16le", 3, 1, 2, 3), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(say)", "bytes", 2, 1, 2), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(xx)", std::int64_t{1}, std::int64_t{2}), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "a{is}", 1, 1, "x"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(sav)", "dictionary", 1, "s", "key"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "(sav)", "dictionary", 2, "i", 1, "s", "x"), kInvalid);
    EXPECT_EQ(call("Echo", "av", 1, "t", std::uint64_t{1} << 63), kInvalid);
    EXPECT_EQ(call("NoSuchThing", ""), "org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_EQ(callObject("/Nowhere", "org.corvystack.Test1", "Echo", "av", 0),
              "org.freedesktop.DBus.Error.UnknownObject");
    EXPECT_EQ(callObject("/TestObject", "org.freedesktop.DBus.Properties", "Set", "ssv",
                         "org.corvystack.Test1", "Timeouts", "i", 1),
              "org.freedesktop.DBus.Error.PropertyReadOnly");
    EXPECT_EQ(callObject("/TestObject", "org.freedesktop.DBus.Properties", "Get", "ss", "",
                         "NoSuchThing"),
              "org.freedesktop.DBus.Error.UnknownProperty");
    expectAlive();
}

TEST_F(MessagingForeignClientTest, OtherTypesOfToolsAreUnderstood) {
    EXPECT_EQ(call("Echo", "av", 1, "as", 2, "x", "y"), "av");
    EXPECT_EQ(call("Echo", "av", 1, "a{ss}", 1, "key", "value"), "av");
    EXPECT_EQ(call("Echo", "av", 1, "q", 7), "av");
    EXPECT_EQ(call("Echo", "av", 1, "v", "u", 7), "av");
    EXPECT_EQ(callObject("/TestObject", nullptr, "StillBusy", ""), "b");
}

TEST_F(MessagingForeignClientTest, MemoryFilesAreDistrusted) {
    const std::vector<std::byte> page(4096, std::byte{'x'});
    const Descriptor sealed = sealedMemoryOf(page);
    const Descriptor unsealed(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    ASSERT_EQ(write(unsealed.get(), page.data(), page.size()), 4096);
    const Descriptor growable(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    ASSERT_EQ(ftruncate(growable.get(), 4096), 0);
    ASSERT_EQ(fcntl(growable.get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK), 0);
    const Descriptor plain(open("/dev/zero", O_RDONLY | O_CLOEXEC));
    const Descriptor file(open((base_ + "/file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(write(file.get(), page.data(), page.size()), 4096);

    const auto send = [&](const char* tag, const Descriptor& fd, std::uint64_t length) {
        return call("Echo", "av", 1, "(sht)", tag, fd.get(), length);
    };
    EXPECT_EQ(send("bytes", sealed, 4096), "av");
    EXPECT_EQ(send("bytes", sealed, 0), "av");
    EXPECT_EQ(send("utf-8", sealed, 5), "av");
    EXPECT_EQ(send("utf-16le", sealed, 6), "av");
    EXPECT_EQ(send("utf-16le", sealed, 5), kInvalid);
    EXPECT_EQ(send("text", sealed, 4096), kInvalid);
    EXPECT_EQ(send("bytes", sealed, 4097), kInvalid);
    EXPECT_EQ(send("bytes", sealed, ~std::uint64_t{0}), kInvalid);
    EXPECT_EQ(send("bytes", unsealed, 4096), kInvalid);
    EXPECT_EQ(send("bytes", growable, 4096), kInvalid);
    EXPECT_EQ(send("bytes", plain, 16), kInvalid);
    EXPECT_EQ(send("bytes", file, 4096), kInvalid);
    expectAlive();
}

TEST_F(MessagingForeignClientTest, NestingAndCountsAreBounded) {
    sd_bus_message* made = nullptr;
    const auto begin = [&] {
        ASSERT_GE(sd_bus_message_new_method_call(bus_.get(), &made, nullptr, "/TestObject",
                                                 "org.corvystack.Test1", "Echo"),
                  0);
    };
    const auto send = [&] {
        const Message owner(made);
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        sd_bus_call(bus_.get(), made, 0, &error, &reply);
        sd_bus_message_unref(reply);
        const std::string name = error.name == nullptr ? "" : error.name;
        sd_bus_error_free(&error);
        return name;
    };
    begin();
    constexpr int kLevels = 60;
    for (int i = 0; i < kLevels; ++i) {
        ASSERT_GE(sd_bus_message_open_container(made, 'a', "v"), 0);
        ASSERT_GE(sd_bus_message_open_container(made, 'v', i + 1 == kLevels ? "s" : "av"), 0);
    }
    ASSERT_GE(sd_bus_message_append(made, "s", "core"), 0);
    for (int i = 0; i < 2 * kLevels; ++i) ASSERT_GE(sd_bus_message_close_container(made), 0);
    EXPECT_EQ(send(), kInvalid);

    begin();
    const std::vector<std::int16_t> numbers(1'200'000);
    ASSERT_GE(sd_bus_message_open_container(made, 'a', "v"), 0);
    ASSERT_GE(sd_bus_message_open_container(made, 'v', "an"), 0);
    ASSERT_GE(sd_bus_message_append_array(made, 'n', numbers.data(), numbers.size() * 2), 0);
    ASSERT_GE(sd_bus_message_close_container(made), 0);
    ASSERT_GE(sd_bus_message_close_container(made), 0);
    EXPECT_EQ(send(), kInvalid);
    expectAlive();
}

// An "Echo" of a hundred thousand bytes, as it travels.
std::string echoMessage() {
    std::string fields;
    const auto field = [&](char code, char type, std::string_view text) {
        fields += {code, 1, type, 0};
        const auto length = static_cast<std::uint32_t>(text.size());
        fields.append(reinterpret_cast<const char*>(&length), type == 'g' ? 1 : 4);
        fields.append(text) += '\0';
        fields.resize((fields.size() + 7) / 8 * 8);
    };
    field(1, 'o', "/TestObject");
    field(3, 's', "Echo");
    field(8, 'g', "av");
    constexpr std::uint32_t kBytes = 100'000;
    const std::uint32_t array = kBytes + 8;  // the signature "ay", padded, and its length
    std::string body(reinterpret_cast<const char*>(&array), 4);
    body += std::string_view("\2ay\0", 4);
    body.append(reinterpret_cast<const char*>(&kBytes), 4).append(kBytes, 'x');
    return callHead(static_cast<std::uint32_t>(body.size()),
                    static_cast<std::uint32_t>(fields.size())) +
           fields + body;
}

TEST_F(MessagingServiceTest, AClientThatNeverReadsIsHeldBack) {
    const Descriptor fd = connectTo(socketFile());
    ASSERT_GT(send(fd.get(), kGreeting.data(), kGreeting.size(), MSG_NOSIGNAL), 0);
    const std::string message = echoMessage();
    std::string pending;
    std::size_t taken = 0;
    constexpr std::size_t kEnough = 100'000'000;
    pollfd wait = {fd.get(), POLLOUT, 0};
    while (taken < kEnough && poll(&wait, 1, 500) > 0) {
        if (pending.empty()) pending = message;
        const ssize_t count =
            send(fd.get(), pending.data(), pending.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        ASSERT_GT(count, 0);
        pending.erase(0, static_cast<std::size_t>(count));
        taken += static_cast<std::size_t>(count);
    }
    EXPECT_GT(taken, 1'000'000U);  // it was served at first
    EXPECT_LT(taken, 40'000'000U);
    expectAlive();
}

TEST_F(MessagingServiceTest, OutOfDescriptorsItWaitsForBetterTimes) {
    service_.reset();  // gives the name up
    service_ = std::make_unique<OtherProcess>(
        std::vector<std::string>{"sh", "-c", "ulimit -n 32; exec " + peerProgram() + " " + kName});
    ASSERT_EQ(service_->line(), "registered");
    const auto early = proxy();
    EXPECT_EQ(early->call("echo:", {u"x"}), RemoteValue(u"x"));
    std::vector<Descriptor> crowd;
    for (int i = 0; i < 60; ++i) crowd.push_back(connectTo(socketFile()));
    EXPECT_EQ(early->call("echo:", {u"x"}), RemoteValue(u"x"));
    crowd.clear();
    expectAlive();
}

// Plays a service that answers each connection with fixed bytes.
class MessagingFalseServiceTest : public MessagingTest {
protected:
    Kind failureWhenAnswered(std::string_view bytes) {
        std::filesystem::create_directory(folder_);
        std::filesystem::remove(socketFile());
        const Descriptor listening = bindSocket(socketFile(), 1);
        const auto proxy = rootProxyForConnectionWithRegisteredName(kName);
        proxy->setProtocol(&testInterface());
        proxy->setRequestTimeout(0.2);
        proxy->setReplyTimeout(0.2);
        const Descriptor accepted(accept(listening.get(), nullptr, nullptr));
        EXPECT_GE(send(accepted.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT),
                  bytes.empty() ? 0 : 1);
        return failureOf([&] { proxy->call("stillBusy", {}); }).value();
    }
};

TEST_F(MessagingFalseServiceTest, ClientsSurviveWhatServicesSend) {
    const std::string greeting = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
    EXPECT_EQ(failureWhenAnswered(""), Kind::timeout);
    EXPECT_EQ(failureWhenAnswered("DATA\r\nOK"), Kind::timeout);
    EXPECT_NE(failureWhenAnswered("REJECTED\r\nno\r\nno\r\n"), Kind::timeout);
    EXPECT_NE(failureWhenAnswered(std::string(1'000'000, '\xFF')), Kind::timeout);
    EXPECT_EQ(failureWhenAnswered(greeting), Kind::timeout);
    EXPECT_EQ(failureWhenAnswered(greeting + std::string(1000, '\xFF')), Kind::protocol);
    EXPECT_EQ(failureWhenAnswered(greeting + callHead(0x80000000U, 16)), Kind::protocol);
}

}  // namespace
}  // namespace corvy::platform
