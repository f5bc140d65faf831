#include "client/helper_connection.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "client/private_helper.h"
#include "foundation/system_log.h"
#include "tests/support/processes.h"

namespace corvy {
namespace {

using test::eventually;
using test::isGone;

const std::string kService = CORVY_BUILD_DIR "/corvy-test-service";

// Gives each test a runtime folder of its own, and a folder for temporary files that it can look
// into.
class HelperConnection : public testing::Test {
protected:
    HelperConnection() {
        std::filesystem::create_directory(runtime_, ignored_);
        std::filesystem::permissions(runtime_, std::filesystem::perms::owner_all, ignored_);
        std::filesystem::create_directory(temporary_, ignored_);
        setenv("CORVYSTACK_RUNTIME_DIR", runtime_.c_str(), 1);
        setenv("TMPDIR", temporary_.c_str(), 1);
    }
    ~HelperConnection() override {
        unsetenv("CORVYSTACK_RUNTIME_DIR");
        unsetenv("TMPDIR");
    }

    bool nothingLeft() const { return std::filesystem::is_empty(temporary_); }

    std::error_code ignored_;
    test::TemporaryFolder folder_;
    std::string runtime_ = folder_.path("run");
    std::string temporary_ = folder_.path("tmp");
};

using PrivateHelpers = HelperConnection;

pid_t pidOf(CorvyStackClient& client) {
    const auto answer = client.metaDataForFile(u"/any");
    return answer ? static_cast<pid_t>(answer->find(u"pid")->integer().value_or(0)) : 0;
}

TransportError::Kind kindOfFailure(CorvyStackClient& client, const char16_t* path) {
    try {
        client.supportsFile(path);
    } catch (const TransportError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "the call came through";
    return {};
}

TEST_F(HelperConnection, LaunchesOnlyWhenAllowedAndNeeded) {
    const HelperOptions options{.path = kService};
    EXPECT_FALSE(connectToHelper(HelperLaunch::never, options));

    auto owner = connectToHelper(HelperLaunch::ifNeeded, options);
    ASSERT_TRUE(owner);
    ASSERT_NE(owner->task(), nullptr);
    const pid_t pid = owner->task()->task()->processIdentifier();
    EXPECT_EQ(pidOf(*owner), pid);
    EXPECT_FALSE(owner->task()->stillBusy()) << "not an operation of the helper";

    for (const HelperLaunch launch : {HelperLaunch::never, HelperLaunch::ifNeeded}) {
        auto guest = connectToHelper(launch, options);
        ASSERT_TRUE(guest);
        EXPECT_EQ(guest->task(), nullptr);
        EXPECT_EQ(pidOf(*guest), pid);
    }
    EXPECT_EQ(pidOf(*owner), pid) << "guests do not end it";
    owner.reset();
    EXPECT_TRUE(eventually([&] { return isGone(pid); }));
    EXPECT_FALSE(connectToHelper(HelperLaunch::never, options));
}

TEST_F(HelperConnection, ValuesArriveAsTheyWereSent) {
    auto client = connectToHelper(HelperLaunch::always, {.path = kService});
    ASSERT_TRUE(client);
    const std::u16string odd = u"/\xDC80\u00e4\xD83D\xDE00";
    EXPECT_EQ(*client->metaDataForFile(odd)->find(u"path"), PropertyList(odd));
    EXPECT_FALSE(client->metaDataForFile({}));
    const Bytes bytes = Bytes::copyOf(std::string_view("a\0b", 3));
    EXPECT_EQ(client->attributedStringWithPDF(true, bytes),
              (Dictionary{{u"attributed", true}, {u"String", bytes}}));
    EXPECT_EQ(client->attributedStringWithPDF(false, {}),
              (Dictionary{{u"attributed", false}, {u"String", u"nil"}}));
    EXPECT_EQ(client->RTFDWithHTML(bytes, {.baseURL = Url{u"http://host/"}}), bytes);
    EXPECT_EQ(client->RTFDWithHTML({}), std::nullopt);
    EXPECT_FALSE(client->supportsFile({}));
    EXPECT_THROW(client->supportsFile(u"/throw"), RemoteException);
    EXPECT_TRUE(client->supportsFile(u"/yes")) << "the connection outlives an exception";
}

TEST_F(HelperConnection, TimeoutLeavesTheClientUsable) {
    auto client = connectToHelper(HelperLaunch::always, {.path = kService, .timeout = 0.2});
    ASSERT_TRUE(client);
    EXPECT_EQ(kindOfFailure(*client, u"/hang"), TransportError::Kind::timeout);
    client->setTimeout(60);
    EXPECT_TRUE(client->supportsFile(u"/yes"));
}

TEST_F(HelperConnection, FindsTheHelperProgramInTheFolderOfTheEnvironment) {
    std::filesystem::create_symlink(kService, temporary_ + "/corvystack-helper");
    setenv("CORVYSTACK_LIBEXEC", temporary_.c_str(), 1);
    EXPECT_EQ(helperProgramPath(), temporary_ + "/corvystack-helper");
    EXPECT_TRUE(connectToHelper());
    unsetenv("CORVYSTACK_LIBEXEC");
    EXPECT_TRUE(helperProgramPath().ends_with("/corvystack-helper"));
}

TEST_F(PrivateHelpers, RunBesideEachOtherAndTheSharedOne) {
    auto shared = connectToHelper(HelperLaunch::always, {.path = kService});
    ASSERT_TRUE(shared);
    {
        PrivateHelper one({.path = kService});
        PrivateHelper two({.path = kService});
        EXPECT_EQ(one.processIdentifier(), 0);
        EXPECT_FALSE(one.isRunning());
        ASSERT_TRUE(one.start());
        ASSERT_TRUE(two.start());
        EXPECT_EQ(pidOf(one.client()), one.processIdentifier());
        EXPECT_EQ(pidOf(two.client()), two.processIdentifier());
        EXPECT_NE(one.processIdentifier(), two.processIdentifier());
        EXPECT_NE(pidOf(*shared), one.processIdentifier());
        EXPECT_FALSE(nothingLeft());
    }
    EXPECT_TRUE(nothingLeft());
}

TEST_F(PrivateHelpers, DeathIsNoticedAndRepaired) {
    PrivateHelper helper({.path = kService});
    ASSERT_TRUE(helper.start());
    const pid_t first = helper.processIdentifier();
    EXPECT_EQ(kindOfFailure(helper.client(), u"/die"), TransportError::Kind::connectionLost);
    EXPECT_TRUE(eventually([&] { return !helper.isRunning(); }));

    ASSERT_TRUE(helper.start());
    const pid_t second = helper.processIdentifier();
    EXPECT_NE(first, second);
    EXPECT_TRUE(helper.client().supportsFile(u"/yes"));

    ::kill(second, SIGSTOP);  // one that does not hear anything is ended as well
    helper.kill();
    EXPECT_TRUE(isGone(second));
    EXPECT_FALSE(helper.isRunning());
    EXPECT_EQ(helper.processIdentifier(), 0);
    EXPECT_TRUE(nothingLeft());
}

TEST_F(PrivateHelpers, FailedStartsLeaveNothing) {
    PrivateHelper missing({.path = folder_.path("nothing")});
    EXPECT_FALSE(missing.start());
    // It ends without registering, and the start does not wait for the limit.
    PrivateHelper brief({.path = folder_.script("brief", "exit 0")});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(brief.start());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(9));
    EXPECT_FALSE(brief.isRunning());
    EXPECT_TRUE(nothingLeft());
}

TEST_F(PrivateHelpers, FolderIsClosedToOthersAndLiesWhereASocketCanBe) {
    struct Case {
        const char* name;
        std::string temporary;
        bool used;
    };
    const std::string deep = temporary_ + "/" + std::string(80, 'd');
    const Case cases[] = {
        {"usual", temporary_, true},
        {"too long for a socket", deep, false},
        {"missing", "/no/such/folder", false},
        {"relative", ".", true},
    };
    std::filesystem::create_directory(deep);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(temporary_);
    for (const Case& c : cases) {
        setenv("TMPDIR", c.temporary.c_str(), 1);
        PrivateHelper helper({.path = kService});
        EXPECT_TRUE(helper.start()) << c.name;
        int found = 0;
        for (const auto& entry : std::filesystem::directory_iterator(temporary_)) {
            if (entry.path() == deep) continue;
            ++found;
            EXPECT_EQ(entry.status().permissions(), std::filesystem::perms::owner_all) << c.name;
        }
        EXPECT_EQ(found, c.used ? 1 : 0) << c.name;
        EXPECT_TRUE(std::filesystem::is_empty(deep)) << c.name;
        std::filesystem::current_path("/");  // the helper is reached from anywhere
        EXPECT_TRUE(helper.isRunning() && helper.client().supportsFile(u"/yes")) << c.name;
        std::filesystem::current_path(temporary_);
    }
    std::filesystem::current_path(before);
}

}  // namespace
}  // namespace corvy
