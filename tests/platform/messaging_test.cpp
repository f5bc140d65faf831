#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>

#include "tests/platform/messaging_support.h"

namespace corvy::platform {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = TransportError::Kind;

Bytes bytesOfSize(std::size_t size) {
    std::vector<std::byte> buffer(size);
    for (std::size_t i = 0; i < size; ++i) buffer[i] = static_cast<std::byte>(i * 7 + (i >> 12));
    return Bytes(std::move(buffer));
}

ino_t fileOf(const Bytes& bytes) {
    struct stat status = {};
    return fstat(bytes.descriptor(), &status) == 0 ? status.st_ino : 0;
}

TEST_F(MessagingServiceTest, ValuesComeBackAsTheyWere) {
    const std::u16string withNul(u"a\0b", 3);
    const std::u16string lone = {u'x', char16_t{0xD800}, u'y'};
    const PropertyList values[] = {
        Null(),
        true,
        false,
        std::int32_t{-5},
        std::numeric_limits<std::int64_t>::min(),
        0.1,
        std::numeric_limits<double>::infinity(),
        u"",
        u"Gr\u00FC\u00DFe \U0001F600",
        withNul,
        lone,
        std::u16string(1, char16_t{0xDC00}),
        Bytes(),
        bytesOfSize(1000),
        Date{-0.5},
        Url{u"http://example.org/\u00E9?a=b"},
        Url{withNul},
        Array{},
        Array{Null(), Array{Array{}}, u"x"},
        Dictionary{},
        Dictionary{{u"z", 1.5}, {u"", u"empty key"}, {u"a", Dictionary{{u"inner", Null()}}}},
        Dictionary{{withNul, u"odd key"}, {lone, Array{lone}}},
    };
    const auto service = proxy();
    for (const PropertyList& value : values) {
        EXPECT_EQ(service->call("echo:", {value}), RemoteValue(value))
            << "value " << &value - values;
    }
    // The order of keys is kept, and a 32-bit float widens.
    const RemoteValue dictionary = service->call("echo:", {values[20]});
    ASSERT_TRUE(dictionary && dictionary->dictionary());
    EXPECT_EQ(dictionary->dictionary()->begin()->key, u"z");
    EXPECT_EQ(service->call("echo:", {1.25F}), RemoteValue(1.25));
}

TEST_F(MessagingServiceTest, NilAndPlainTypes) {
    const auto service = proxy();
    EXPECT_EQ(service->call("echo:", {std::nullopt}), std::nullopt);
    EXPECT_EQ(service->call("isNil:", {std::nullopt}), RemoteValue(true));
    EXPECT_EQ(service->call("isNil:", {Null()}), RemoteValue(false));
    const std::int64_t big = std::int64_t{1} << 40;
    EXPECT_EQ(service->call("add:to:negated:", {big, std::int32_t{2}, true}),
              RemoteValue(-(big + 2)));
}

TEST_F(MessagingServiceTest, LargeValuesTravelInMemoryFiles) {
    const auto service = proxy();
    const Bytes sent = bytesOfSize(20 << 20);
    const RemoteValue first = service->call("echo:", {sent});
    ASSERT_TRUE(first && first->bytes());
    EXPECT_EQ(*first->bytes(), sent);
    ASSERT_GE(first->bytes()->descriptor(), 0);
    EXPECT_NE(fcntl(first->bytes()->descriptor(), F_GETFD) & FD_CLOEXEC, 0);

    // The same file goes there and back again.
    const RemoteValue second = service->call("echo:", {*first});
    ASSERT_TRUE(second && second->bytes());
    EXPECT_EQ(fileOf(*second->bytes()), fileOf(*first->bytes()));
    EXPECT_EQ(*second->bytes(), sent);

    // Just below the limit nothing needs a file.
    const RemoteValue small = service->call("echo:", {bytesOfSize((16 << 20) - 1)});
    ASSERT_TRUE(small && small->bytes());
    EXPECT_EQ(small->bytes()->descriptor(), -1);

    std::u16string text(9 << 20, u'\u00E9');  // 18 MiB of UTF-8
    text.back() = u'\xD800';
    EXPECT_EQ(service->call("echo:", {text}), RemoteValue(text));
}

TEST_F(MessagingServiceTest, ManyMiddlingValuesAreSpreadOrRefused) {
    const auto service = proxy();
    Array values(40, PropertyList(bytesOfSize(1 << 20)));
    values.emplace_back(std::u16string(1 << 20, u'x'));
    EXPECT_EQ(service->call("echo:", {values}), RemoteValue(values));

    values.insert(values.end(), 20, PropertyList(bytesOfSize(1 << 20)));
    EXPECT_EQ(failureOf([&] { service->call("echo:", {values}); }), Kind::protocol);
    const Array files(17, PropertyList(bytesOfSize(16 << 20)));
    EXPECT_EQ(failureOf([&] { service->call("echo:", {files}); }), Kind::protocol);
    EXPECT_EQ(service->call("echo:", {u"usable"}), RemoteValue(u"usable"));
}

TEST_F(MessagingServiceTest, FailuresOfOperationsAreTold) {
    const auto service = proxy();
    try {
        service->call("raise:", {u"Gr\u00FC\u00DFe"});
        ADD_FAILURE() << "nothing was thrown";
    } catch (const RemoteException& exception) {
        EXPECT_STREQ(exception.what(), "Gr\u00FC\u00DFe\uFFFD");
    }
    EXPECT_TRUE(service->call("nestedTo:", {std::int64_t{20}}).has_value());
    EXPECT_THROW(service->call("nestedTo:", {std::int64_t{21}}), RemoteException);
    EXPECT_THROW(service->call("nestedTo:", {std::int64_t{5000}}), RemoteException);
    EXPECT_THROW(service->call("wrongType", {}), RemoteException);

    EXPECT_EQ(failureOf([&] { service->call("noSuchThing:", {u"x"}); }), Kind::protocol);
    EXPECT_EQ(failureOf([&] { service->call("echo:", {}); }), Kind::protocol);
    EXPECT_EQ(failureOf([&] { service->call("stillBusy", {u"x"}); }), Kind::protocol);
    // A protocol that claims more than the object has.
    RemoteInterface claimed = testInterface();
    claimed.methods.push_back({"vanish", "Vanish", {}, RemoteType::flag});
    service->setProtocol(&claimed);
    EXPECT_FALSE(service->respondsTo("vanish"));
    EXPECT_EQ(failureOf([&] { service->call("vanish", {}); }), Kind::protocol);
    EXPECT_EQ(service->call("echo:", {u"usable"}), RemoteValue(u"usable"));
}

TEST_F(MessagingServiceTest, WithoutProtocolTheObjectIsAsked) {
    const auto service = rootProxyForConnectionWithRegisteredName(kName);
    ASSERT_NE(service, nullptr);
    EXPECT_TRUE(service->respondsTo("stillBusy"));
    EXPECT_FALSE(service->respondsTo("StillBusy"));
    EXPECT_EQ(service->call("stillBusy", {}), RemoteValue(false));
    EXPECT_EQ(service->call("add:to:negated:", {std::int64_t{1}, std::int64_t{2}, false}),
              RemoteValue(std::int64_t{3}));
}

TEST_F(MessagingServiceTest, StatusIsReadable) {
    const auto service = rootProxyForConnectionWithRegisteredName(kName);
    ASSERT_NE(service, nullptr);
    const Dictionary expected = {{u"Version", u"1.0"},
                                 {u"Served", std::int64_t{7}},
                                 {u"Families", Array{u"pdf", u"image"}},
                                 {u"Libraries", Dictionary{{u"zlib", u"1.2"}}}};
    EXPECT_EQ(statusOf(*service), expected);
}

TEST_F(MessagingServiceTest, RequestIsServedInsideAnothersWait) {
    std::atomic<bool> waiting = true;
    std::thread first([&] {
        proxy()->call("runLoopFor:", {std::int64_t{1000}});
        waiting = false;
    });
    const auto second = proxy();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    second->call("echo:", {u"x"});
    EXPECT_TRUE(waiting);
    first.join();
}

TEST_F(MessagingServiceTest, QueueingHoldsRequestsBack) {
    start({"queueing"});
    std::thread first([&] { proxy()->call("runLoopFor:", {std::int64_t{500}}); });
    const auto second = proxy();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(second->call("runLoopFor:", {std::int64_t{1}}), RemoteValue(std::int64_t{1}));
    first.join();
}

TEST_F(MessagingServiceTest, NestingEndsAtEight) {
    std::vector<std::thread> clients;
    for (int i = 0; i < 12; ++i) {
        clients.emplace_back([&] { proxy()->call("runLoopFor:", {std::int64_t{600}}); });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(proxy()->call("runLoopFor:", {std::int64_t{0}}), RemoteValue(std::int64_t{8}));
}

TEST_F(MessagingServiceTest, TwoHundredClients) {
    std::vector<std::unique_ptr<RootProxy>> clients;
    for (int i = 0; i < 200; ++i) {
        clients.push_back(proxy());
        ASSERT_NE(clients.back(), nullptr) << i;
    }
    for (int round = 0; round < 2; ++round) {
        for (const auto& client : clients) {
            ASSERT_EQ(client->call("echo:", {std::int32_t{round}}),
                      RemoteValue(std::int32_t{round}));
        }
    }
}

TEST_F(MessagingServiceTest, DeathOfTheServiceIsKnownAtOnce) {
    const auto service = proxy();
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        service_->signal(SIGKILL);
    });
    const auto start = Clock::now();
    EXPECT_EQ(failureOf([&] { service->call("sleepFor:", {std::int64_t{60'000}}); }),
              Kind::connectionLost);
    const double late = secondsSince(start) - 0.15;
    RecordProperty("milliseconds", std::to_string(late * 1000));
    EXPECT_LT(late, 1);
    killer.join();
    EXPECT_EQ(failureOf([&] { service->call("stillBusy", {}); }), Kind::connectionLost);
    service_->kill();             // waits for its last socket to close
    EXPECT_EQ(proxy(), nullptr);  // its socket is still there, but nobody listens
    EXPECT_TRUE(std::filesystem::exists(socketFile()));
}

TEST_F(MessagingServiceTest, StoppedServiceTimesOutAndGoesOn) {
    const auto service = proxy();
    service->setRequestTimeout(0.2);
    service->setReplyTimeout(0.3);
    EXPECT_EQ(service->call("echo:", {u"warm"}), RemoteValue(u"warm"));
    service_->signal(SIGSTOP);
    // It can still be found, and takes a small request, but never answers.
    const auto found = proxy();
    ASSERT_NE(found, nullptr);
    auto start = Clock::now();
    EXPECT_EQ(failureOf([&] { service->call("echo:", {u"late"}); }), Kind::timeout);
    EXPECT_GE(secondsSince(start), 0.3);
    EXPECT_LT(secondsSince(start), 1.3);
    // A request that it does not even take in.
    start = Clock::now();
    EXPECT_EQ(failureOf([&] { service->call("echo:", {bytesOfSize(10 << 20)}); }), Kind::timeout);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 1.2);
    // A connection without a greeting yet.
    found->setRequestTimeout(0.1);
    EXPECT_EQ(failureOf([&] { found->call("echo:", {u"late"}); }), Kind::timeout);

    service_->signal(SIGCONT);
    service->setRequestTimeout(10);
    service->setReplyTimeout(10);
    found->setRequestTimeout(10);
    EXPECT_EQ(service->call("echo:", {u"new"}), RemoteValue(u"new"));  // not the late one
    EXPECT_EQ(found->call("echo:", {u"new"}), RemoteValue(u"new"));
}

TEST_F(MessagingServiceTest, TheTwoTimeoutsAreKeptApart) {
    const auto service = proxy();
    service->setRequestTimeout(0.2);
    EXPECT_EQ(service->call("sleepFor:", {std::int64_t{500}}), RemoteValue(true));
    service->setReplyTimeout(0.1);
    EXPECT_EQ(failureOf([&] { service->call("sleepFor:", {std::int64_t{400}}); }), Kind::timeout);
}

TEST_F(MessagingServiceTest, TimeoutsOfTheServiceCount) {
    setenv("TEST_REPLY_TIMEOUT", "0.2", 1);
    start({});
    unsetenv("TEST_REPLY_TIMEOUT");
    EXPECT_EQ(failureOf([&] { proxy()->call("sleepFor:", {std::int64_t{2000}}); }), Kind::timeout);
}

}  // namespace
}  // namespace corvy::platform
