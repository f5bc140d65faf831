#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "platform/messaging/runtime_directory.h"
#include "tests/platform/messaging_support.h"

namespace corvy::platform {
namespace {

using MessagingRegistrationTest = MessagingTest;

bool canRegister(const char* name = kName) {
    Connection connection;
    return connection.registerName(name);
}

TEST_F(MessagingRegistrationTest, MakesAPrivateSocketAndRemovesIt) {
    const std::set<std::string> before = filesIn("/proc/self/fd");
    {
        Connection connection;
        ASSERT_TRUE(connection.registerName(kName));
        struct stat status = {};
        ASSERT_EQ(stat(folder_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700);
        ASSERT_EQ(stat(socketFile().c_str(), &status), 0);
        EXPECT_TRUE(S_ISSOCK(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777, 0600);
        EXPECT_EQ(filesIn(folder_), (std::set<std::string>{kName, std::string(kName) + ".lock"}));
        // Nothing is inherited by programs that are started.
        for (const std::string& fd : filesIn("/proc/self/fd")) {
            const int flags = fcntl(std::atoi(fd.c_str()), F_GETFD);
            if (!before.contains(fd) && flags >= 0) {
                EXPECT_NE(flags & FD_CLOEXEC, 0) << fd;
            }
        }

        // A name is held once; trying again does not loosen the hold.
        EXPECT_FALSE(connection.registerName(kName));
        EXPECT_FALSE(canRegister());
        OtherProcess second({peerProgram(), kName});
        EXPECT_EQ(second.line(), "refused");
        EXPECT_TRUE(second.running());
        EXPECT_TRUE(connection.registerName("TestService1"));
    }
    EXPECT_EQ(filesIn(folder_),
              (std::set<std::string>{"TestService1.lock", std::string(kName) + ".lock"}));
    EXPECT_TRUE(canRegister());
}

TEST_F(MessagingRegistrationTest, RefusesFoldersThatAreNotTheUsersOwn) {
    namespace fs = std::filesystem;
    fs::create_directory(base_ + "/open");
    fs::permissions(base_ + "/open", fs::perms(0755));
    fs::create_directory(base_ + "/own");
    fs::permissions(base_ + "/own", fs::perms(0700));
    fs::create_directory_symlink(base_ + "/own", base_ + "/link");
    std::ofstream(base_ + "/file") << "x";
    fs::create_directory(base_ + "/foreign");
    fs::permissions(base_ + "/foreign", fs::perms(0700));
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(chown((base_ + "/foreign").c_str(), 65534, 65534), 0);
    }

    struct Case {
        const char* folder;
        bool usable;
    };
    const Case cases[] = {{"/own", true},   {"/open", false},        {"/link", false},
                          {"/file", false}, {"/missing/run", false}, {"/foreign", !isRoot},
                          {"/new", true}};
    for (const Case& c : cases) {
        use(base_ + c.folder);
        const bool existed = fs::is_directory(folder_);
        const std::set<std::string> before = existed ? filesIn(folder_) : std::set<std::string>();
        EXPECT_EQ(canRegister(), c.usable) << c.folder;
        if (!c.usable && existed) {
            EXPECT_EQ(filesIn(folder_), before) << c.folder;
        }
    }
}

TEST_F(MessagingRegistrationTest, RefusesNamesThatNoSocketCanHave) {
    const std::size_t room = 107 - kTemporarySuffixLength - (folder_.size() + 1);
    EXPECT_TRUE(canRegister(std::string(room, 'n').c_str()));
    EXPECT_FALSE(canRegister(std::string(room + 1, 'n').c_str()));
    EXPECT_FALSE(canRegister(std::string(5000, 'n').c_str()));
    for (const char* name : {"", ".", "..", "a/b", "../run/x"}) EXPECT_FALSE(canRegister(name));
    EXPECT_EQ(rootProxyForConnectionWithRegisteredName(std::string(5000, 'n')), nullptr);
    EXPECT_EQ(rootProxyForConnectionWithRegisteredName(std::string_view("a\0b", 3)), nullptr);
}

TEST_F(MessagingRegistrationTest, FullDiskLeavesNothingBehind) {
    if (geteuid() != 0) GTEST_SKIP() << "mounting needs root";
    ASSERT_TRUE(canRegister());  // makes the folder
    for (const char* room : {"nr_inodes=1,mode=0700", "nr_inodes=2,mode=0700"}) {
        if (mount("tmpfs", folder_.c_str(), "tmpfs", 0, room) != 0) {
            GTEST_SKIP() << "mounting is not permitted here";
        }
        EXPECT_FALSE(canRegister()) << room;
        std::set<std::string> left = filesIn(folder_);
        left.erase(std::string(kName) + ".lock");  // which is never removed
        EXPECT_TRUE(left.empty()) << room;
        EXPECT_EQ(umount(folder_.c_str()), 0);
    }
    EXPECT_TRUE(canRegister());
}

TEST_F(MessagingRegistrationTest, CleansUpAfterStartersThatDied) {
    ASSERT_TRUE(canRegister());
    const std::string name = kName;
    bindSocket(folder_ + "/" + name + ".4242", -1);  // dead starter
    bindSocket(folder_ + "/" + name + ".7", -1);     // another name, as its lock file tells
    std::ofstream(folder_ + "/" + name + ".7.lock") << "";
    std::ofstream(folder_ + "/" + name + ".99") << "no socket";
    bindSocket(folder_ + "/" + name + ".x", -1);
    Connection connection;
    ASSERT_TRUE(connection.registerName(kName));
    EXPECT_EQ(filesIn(folder_),
              (std::set<std::string>{name, name + ".lock", name + ".7", name + ".7.lock",
                                     name + ".99", name + ".x"}));
}

TEST_F(MessagingRegistrationTest, OneOfManyStartersWinsOverADeadSocket) {
    for (int round = 0; round < 4; ++round) {
        std::vector<std::unique_ptr<OtherProcess>> starters;
        for (int i = 0; i < 8; ++i) {
            starters.push_back(
                std::make_unique<OtherProcess>(std::vector<std::string>{peerProgram(), kName}));
        }
        int winners = 0;
        for (const auto& starter : starters) {
            const std::string line = starter->line();
            winners += line == "registered" ? 1 : 0;
            EXPECT_TRUE(line == "registered" || line == "refused") << line;
        }
        EXPECT_EQ(winners, 1);
        const auto proxy = rootProxyForConnectionWithRegisteredName(kName);
        ASSERT_NE(proxy, nullptr);
        EXPECT_EQ(proxy->call("echo:", {u"x"}), RemoteValue(u"x"));
        starters.clear();  // killed: their socket stays, and nobody listens
        EXPECT_EQ(rootProxyForConnectionWithRegisteredName(kName), nullptr);
        EXPECT_EQ(filesIn(folder_), (std::set<std::string>{kName, std::string(kName) + ".lock"}));
    }
}

TEST_F(MessagingRegistrationTest, ASocketMayBeHandedOver) {
    ASSERT_TRUE(canRegister());  // makes the folder
    const Descriptor listening = bindSocket(socketFile(), 16);
    const auto early = rootProxyForConnectionWithRegisteredName(kName);  // before the service
    ASSERT_NE(early, nullptr);
    const std::string start = "exec 3<&" + std::to_string(listening.get()) +
                              "; LISTEN_FDS=1 LISTEN_PID=$$ exec " + peerProgram() + " " + kName;
    fcntl(listening.get(), F_SETFD, 0);
    OtherProcess service({"sh", "-c", start});
    EXPECT_EQ(service.line(), "registered");
    EXPECT_EQ(early->call("echo:", {u"x"}), RemoteValue(u"x"));
    // The same lock counts, and what is handed over must be listening.
    EXPECT_EQ(OtherProcess({"sh", "-c", start}).line(), "refused");
    service.kill();
    EXPECT_EQ(OtherProcess({"sh", "-c",
                            "exec 3</dev/null; LISTEN_FDS=1 LISTEN_PID=$$ exec " + peerProgram() +
                                " " + kName})
                  .line(),
              "refused");
    // Variables that were meant for another process do not count.
    EXPECT_EQ(
        OtherProcess({"sh", "-c", "LISTEN_FDS=1 LISTEN_PID=1 exec " + peerProgram() + " " + kName})
            .line(),
        "registered");
}

TEST_F(MessagingRegistrationTest, ABusyServiceIsFoundAndWaitedFor) {
    ASSERT_TRUE(canRegister());  // makes the folder
    const Descriptor listening = bindSocket(socketFile(), 0);
    // Fill its backlog.
    std::vector<std::unique_ptr<RootProxy>> waiting;
    for (int i = 0; i < 4; ++i) {
        waiting.push_back(rootProxyForConnectionWithRegisteredName(kName));
        ASSERT_NE(waiting.back(), nullptr);
    }
    RootProxy& last = *waiting.back();
    last.setProtocol(&testInterface());
    last.setRequestTimeout(0.1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(failureOf([&] { last.call("stillBusy", {}); }), TransportError::Kind::timeout);
    EXPECT_GE(secondsSince(start), 0.1);
    // A service in its place takes the waiting client on.
    OtherProcess service({peerProgram(), kName});
    ASSERT_EQ(service.line(), "registered");
    last.setRequestTimeout(10);
    EXPECT_EQ(last.call("stillBusy", {}), RemoteValue(false));
}

TEST_F(MessagingRegistrationTest, StrangersAreRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
    OtherProcess service({peerProgram(), kName});
    ASSERT_EQ(service.line(), "registered");
    const std::vector<std::string> stranger = {peerProgram(), "--as", "65534", socketFile()};
    EXPECT_EQ(OtherProcess(stranger).line(), "unreachable");
    // Even with all doors open.
    chmod(base_.c_str(), 0755);
    chmod(folder_.c_str(), 0755);
    chmod(socketFile().c_str(), 0666);
    EXPECT_EQ(OtherProcess(stranger).line(), "refused");
    EXPECT_EQ(OtherProcess({peerProgram(), "--as", "0", socketFile()}).line(), "served");
}

TEST(MessagingRuntimeDirectory, ComesFromTheEnvironment) {
    const char* before = getenv("XDG_RUNTIME_DIR");
    const std::string saved = before == nullptr ? "" : before;
    struct Case {
        const char* own;
        const char* session;
        const char* result;
    };
    const std::string fallback = "/tmp/corvystack-" + std::to_string(geteuid());
    const std::string session = "/run/user/" + std::to_string(geteuid());
    struct stat status = {};
    const bool hasSession = stat(session.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                            status.st_uid == geteuid();
    const std::string without = hasSession ? session + "/corvystack" : fallback;
    const Case cases[] = {{"/own", "/session", "/own"},
                          {"", "/session", "/session/corvystack"},
                          {"", "relative", without.c_str()},
                          {"", "", without.c_str()}};
    for (const Case& c : cases) {
        setenv("CORVYSTACK_RUNTIME_DIR", c.own, 1);
        setenv("XDG_RUNTIME_DIR", c.session, 1);
        EXPECT_EQ(runtimeDirectory(), c.result) << c.own << " " << c.session;
    }
    unsetenv("CORVYSTACK_RUNTIME_DIR");
    before == nullptr ? unsetenv("XDG_RUNTIME_DIR") : setenv("XDG_RUNTIME_DIR", saved.c_str(), 1);
}

}  // namespace
}  // namespace corvy::platform
