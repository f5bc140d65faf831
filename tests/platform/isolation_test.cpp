#include "platform/isolation.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

namespace corvy::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kLongSeconds = 60;  // for what must not run out, however busy the machine is

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// "PID STATE" of all processes that come from this one.
std::vector<std::string> descendants() {
    struct Process {
        pid_t parent;
        char state;
    };
    std::map<pid_t, Process> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "stat");
        std::string line;
        if (!std::getline(file, line)) continue;
        Process process{};
        const char* rest = line.c_str() + line.rfind(')') + 1;
        if (std::sscanf(rest, " %c %d", &process.state, &process.parent) == 2) {
            all[std::atoi(line.c_str())] = process;
        }
    }
    std::vector<std::string> found;
    for (const auto& [pid, process] : all) {
        pid_t ancestor = process.parent;
        while (ancestor > 1 && ancestor != ::getpid()) ancestor = all[ancestor].parent;
        if (ancestor == ::getpid()) found.push_back(std::to_string(pid) + ' ' + process.state);
    }
    return found;
}

class Isolation : public testing::Test {
protected:
    void SetUp() override {
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);  // so that no stray gets out of our sight
        g_main_context_default();            // has a descriptor of its own
        descriptorsBefore_ = openDescriptors();
        pool_ = std::make_unique<WorkerPool>(CORVY_BUILD_DIR "/tests");
    }

    // While the pool lives there are its warm processes and nothing else, soon after each call.
    void awaitClearing() {
        for (int i = 0; i < 200 && descendants().size() > warmProcesses_; ++i) {
            reapOrphans();
            ::usleep(10'000);
        }
    }

    void TearDown() override {
        awaitClearing();
        EXPECT_LE(descendants().size(), warmProcesses_) << testing::PrintToString(descendants());
        pool_.reset();
        reapOrphans();
        EXPECT_TRUE(descendants().empty()) << testing::PrintToString(descendants());
        EXPECT_EQ(openDescriptors(), descriptorsBefore_);
    }

    // Children of a warm process that was killed come to us instead of to the first process.
    void reapOrphans() {
        for (const std::string& process : descendants()) {
            const pid_t pid = std::atoi(process.c_str());
            if (!knownProcesses_.contains(pid)) ::waitpid(pid, nullptr, WNOHANG);
        }
    }

    pid_t warmProcess() {
        const auto pid = static_cast<pid_t>(run("parent").value_or(Null()).integer().value_or(0));
        knownProcesses_.insert(pid);
        return pid;
    }

    static WorkerRequest request(std::string operation, Dictionary arguments = {}) {
        WorkerRequest request;
        request.family = "test";
        request.operation = std::move(operation);
        request.arguments = std::move(arguments);
        request.limits.wallSeconds = kLongSeconds;
        return request;
    }

    std::optional<PropertyList> run(std::string operation, Dictionary arguments = {}) {
        return pool_->run(request(std::move(operation), std::move(arguments)));
    }

    std::unique_ptr<WorkerPool> pool_;
    std::size_t warmProcesses_ = 1;  // the most that may run after the test

private:
    std::size_t descriptorsBefore_ = 0;
    std::set<pid_t> knownProcesses_;
};

TEST_F(Isolation, GivesResultsAndParts) {
    const Dictionary arguments{{u"text", u"\xD800 lone"}, {u"list", Array{Null(), 2.5F}}};
    EXPECT_EQ(run("echo", arguments), PropertyList(arguments));
    EXPECT_EQ(run("libraries"), PropertyList(Dictionary{{u"trouble", u"1.0"}}));
    EXPECT_EQ(run("none"), std::nullopt);
    EXPECT_EQ(run("no such operation"), std::nullopt);

    for (const bool crashes : {false, true}) {
        auto counting = request("count", {{u"count", std::int64_t{1000}}});
        if (crashes) counting.arguments.set(u"thenCrash", true);
        std::int64_t next = 0;
        counting.part = [&next](const PropertyList& part) { EXPECT_EQ(part.integer(), next++); };
        EXPECT_EQ(pool_->run(counting).has_value(), !crashes);
        EXPECT_EQ(next, 1000);
    }
}

TEST_F(Isolation, AnswersQuestionsOnTheCallingThread) {
    auto asking = request("ask");
    EXPECT_EQ(pool_->run(asking), PropertyList(Array{Null(), Null()}));
    const auto caller = std::this_thread::get_id();
    asking.question = [caller](const PropertyList& question) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        return PropertyList(*question.string() + u"!");
    };
    EXPECT_EQ(pool_->run(asking), PropertyList(Array{u"first!", u"second!"}));
    // A call of the same family from within.
    asking.question = [this](const PropertyList&) { return *run("libraries"); };
    const PropertyList libraries = Dictionary{{u"trouble", u"1.0"}};
    EXPECT_EQ(pool_->run(asking), PropertyList(Array{libraries, libraries}));
}

TEST_F(Isolation, ExceptionsOfCallbacksReachTheCaller) {
    auto asking = request("ask");
    asking.question = [](const PropertyList&) -> PropertyList { throw std::runtime_error("q"); };
    EXPECT_THROW(pool_->run(asking), std::runtime_error);
    auto counting = request("count", {{u"count", std::int64_t{100'000}}});
    counting.part = [](const PropertyList&) { throw std::runtime_error("p"); };
    EXPECT_THROW(pool_->run(counting), std::runtime_error);
    EXPECT_TRUE(run("echo"));
}

TEST_F(Isolation, GivesNoneForEveryWayToDie) {
    const auto parent = run("parent");
    ASSERT_TRUE(parent);
    for (const char* operation : {"throw", "fault", "abort", "exit", "leaveGrandchild"}) {
        EXPECT_EQ(run(operation), std::nullopt) << operation;
        EXPECT_TRUE(run("echo")) << "after " << operation;
    }
    EXPECT_EQ(run("leaveGrandchild", {{u"escape", true}}), std::nullopt);
    EXPECT_EQ(run("leaveGrandchild", {{u"answer", true}}), PropertyList());
    EXPECT_EQ(run("parent"), parent) << "the warm process survives its children";
}

TEST_F(Isolation, KeepsToTheWallClock) {
    for (const char* operation : {"hang", "stop", "spin", "spinSending", "closeChannel"}) {
        auto hanging = request(operation);
        run("echo");
        hanging.limits.wallSeconds = 0.3;
        const auto start = Clock::now();
        EXPECT_EQ(pool_->run(hanging), std::nullopt) << operation;
        // Spinning operations fight for the processor with whatever else the machine does.
        EXPECT_LT(secondsSince(start), 10) << operation;
        awaitClearing();
        EXPECT_LE(descendants().size(), 1U) << operation << " was not cleared away";
    }
}

TEST_F(Isolation, KeepsToTheLimits) {
    auto spinning = request("spin");
    spinning.limits.cpuSeconds = 0.5;
    const auto start = Clock::now();
    EXPECT_EQ(pool_->run(spinning), std::nullopt);
    EXPECT_LT(secondsSince(start), kLongSeconds / 2);

    auto sending = request("spinSending");
    std::size_t units = 0;
    sending.part = [&units](const PropertyList& part) { units += part.string()->size(); };
    sending.limits.output = 1'000'000;
    EXPECT_EQ(pool_->run(sending), std::nullopt);
    EXPECT_GT(units, 400'000U);
    EXPECT_LE(units, 500'000U);

    auto writing = request("writeFile", {{u"size", std::int64_t{1'000'001}}});
    EXPECT_TRUE(pool_->run(writing));
    writing.limits.output = 1'000'000;
    EXPECT_EQ(pool_->run(writing), std::nullopt);

#ifndef __SANITIZE_ADDRESS__
    auto eating = request("eatMemory");
    eating.limits.addressSpace = std::uint64_t{256} << 20;
    EXPECT_EQ(pool_->run(eating), std::nullopt);
#endif
}

TEST_F(Isolation, OpensTheNetworkOnlyWhenAsked) {
    auto opening = request("openSocket");
    EXPECT_EQ(pool_->run(opening), PropertyList(Array{std::int64_t{EACCES}, true}));
    opening.limits.network = true;
    EXPECT_EQ(pool_->run(opening), PropertyList(Array{std::int64_t{0}, true}));
    opening.limits.network = false;
    EXPECT_EQ(pool_->run(opening), PropertyList(Array{std::int64_t{EACCES}, true}));
    warmProcesses_ = 2;
}

TEST_F(Isolation, TakesNoGarbage) {
    using namespace std::string_literals;
    const std::string magic = "CVW1";
    const std::string result = "\x06"s;
    const std::string noFile = "\0\0\0"s;
    const std::string size1 = "\x01\0\0\0\0\0\0\0"s;
    struct Case {
        const char* name;
        std::string bytes;
        bool isTaken = false;
    };
    const Case cases[] = {
        {"a whole frame: null", magic + result + noFile + size1 + "\0"s, true},
        {"other magic", "CVW2" + result + noFile + size1 + "\0"s},
        {"unknown kind", magic + "\x09"s + noFile + size1 + "\0"s},
        {"a request, which is for the other end", magic + "\x02"s + noFile + size1 + "\0"s},
        {"began twice", magic + "\x01"s + noFile + size1 + "\0"s},
        {"unknown form of value", magic + result + noFile + size1 + "\x30"s},
        {"a file announced, none sent", magic + result + "\x01\0\0"s + size1 + "\0"s},
        {"a tree in a file that is not there", magic + result + "\0\x01\0"s + size1},
        {"huge tree", magic + result + noFile + std::string(8, '\xFF') + "\0"s},
        {"huge tree in a file", magic + result + "\0\x01\0"s + std::string(8, '\xFF')},
        {"huge array", magic + result + noFile + "\x06\0\0\0\0\0\0\0"s + "\x0A\xFF\xFF\xFF\x7F\0"s},
        {"plain garbage", std::string(100'000, 'G')},
    };
    for (const Case& c : cases) {
        const auto got = run("sendRaw", {{u"bytes", Bytes::copyOf(c.bytes)}});
        EXPECT_EQ(got.has_value(), c.isTaken) << c.name;
    }
    // A frame that stops in the middle is waited for until the time is over.
    auto cut = request("sendRaw", {{u"bytes", Bytes::copyOf("CVW1")}});
    cut.limits.wallSeconds = 0.2;
    EXPECT_EQ(pool_->run(cut), std::nullopt);
}

TEST_F(Isolation, CarriesLargeValuesBothWays) {
    std::vector<std::byte> large(std::size_t{100} << 20);
    for (std::size_t i = 0; i < large.size(); i += 4096) large[i] = static_cast<std::byte>(i >> 12);
    Dictionary arguments;
    arguments.set(u"large", Bytes(std::move(large)));
    std::u16string text = u"\x2603";
    while (text.size() < 3'000'000) text += text;
    arguments.set(u"text", text);
    for (int i = 0; i < 100; ++i) {  // more than may lie in files, and too long a tree for a frame
        arguments.set(std::u16string(1, static_cast<char16_t>(i + 1)),
                      Bytes(std::vector<std::byte>(100'000, static_cast<std::byte>(i))));
    }
    const auto there = run("echo", arguments);
    ASSERT_TRUE(there);
    EXPECT_TRUE(*there == PropertyList(arguments));
    const Bytes* mapped = there->dictionary()->find(u"large")->bytes();
    EXPECT_GE(mapped->descriptor(), 0);
    // Bytes that lie in a file already go on as they are.
    const auto again = run("echo", {{u"large", *mapped}});
    ASSERT_TRUE(again);
    EXPECT_TRUE(*again->dictionary()->find(u"large")->bytes() == *mapped);
}

TEST_F(Isolation, StartsADeadProgramAgain) {
    for (const int signal : {SIGKILL, SIGTERM}) {
        const pid_t before = warmProcess();
        ASSERT_GT(before, 1);
        ::kill(before, signal);  // still dying, or dead, when the call comes
        const pid_t after = warmProcess();
        EXPECT_GT(after, 1);
        EXPECT_NE(after, before);
    }
    // In the middle of an operation: that one is lost, and only that.
    EXPECT_EQ(run("killParent"), std::nullopt);
    // A request that is served inside finds the program dead; the outer one is lost.
    auto asking = request("ask");
    bool isInnerServed = false;
    asking.question = [&](const PropertyList&) {
        ::kill(warmProcess(), SIGKILL);
        isInnerServed = run("echo").has_value();
        return PropertyList();
    };
    EXPECT_EQ(pool_->run(asking), std::nullopt);
    EXPECT_TRUE(isInnerServed);
    // Alive, but deaf.
    const pid_t deaf = warmProcess();
    ASSERT_GT(deaf, 1);
    ::kill(deaf, SIGSTOP);
    auto unheard = request("echo");
    unheard.limits.wallSeconds = 0.2;
    EXPECT_EQ(pool_->run(unheard), std::nullopt);
    EXPECT_GT(warmProcess(), 1);
}

TEST_F(Isolation, LeavesNoTemporaryFiles) {
    for (const char16_t* ending : {u"well", u"crash", u"killParent"}) {
        auto leaving = request("useTemporaryFolder", {{ending, true}});
        std::filesystem::path folder;
        leaving.part = [&folder](const PropertyList& part) { folder = *part.string(); };
        EXPECT_NE(pool_->run(leaving), PropertyList()) << "the folder could not be used";
        ASSERT_FALSE(folder.empty());
        run("echo");  // a program that died is cleared away when its family is used again
        const auto base = folder.parent_path();
        for (int i = 0; i < 200 && std::filesystem::exists(base); ++i) ::usleep(10'000);
        EXPECT_FALSE(std::filesystem::exists(base));
        EXPECT_EQ(base.parent_path(), std::filesystem::temp_directory_path());
    }
}

TEST_F(Isolation, HasNoneForAFamilyThatIsNotThere) {
    auto missing = request("echo");
    missing.family = "no-such-family";
    EXPECT_EQ(pool_->run(missing), std::nullopt);
}

TEST_F(Isolation, WaitsForAProgramThatStartsSlowly) {
    ::setenv("TEST_WORKER_START_MS", "1000", 1);
    auto early = request("parent");
    early.limits.wallSeconds = 0.1;
    EXPECT_EQ(pool_->run(early), std::nullopt);
    // The program goes on loading, so the next call need not begin from the start.
    const auto descendantsThen = descendants();
    ASSERT_EQ(descendantsThen.size(), 1U);
    const auto parent = run("parent");
    ASSERT_TRUE(parent);
    EXPECT_EQ(std::to_string(*parent->integer()),
              descendantsThen[0].substr(0, descendantsThen[0].find(' ')));
    ::unsetenv("TEST_WORKER_START_MS");
}

TEST_F(Isolation, RunsTheContextWhileItWaits) {
    struct Nested {
        WorkerPool& pool;
        WorkerRequest inner;
        std::vector<std::string> order;
    } nested{*pool_, request("echo"), {}};
    const auto serveOther = [](gpointer data) -> gboolean {
        auto& other = *static_cast<Nested*>(data);
        other.order.push_back(other.pool.run(other.inner) ? "inner" : "inner failed");
        return G_SOURCE_REMOVE;
    };
    // While the outer operation sleeps, another one of the same family is served.
    auto outer = request("sleep", {{u"milliseconds", std::int64_t{400}}});
    outer.runsContext = true;
    g_idle_add(serveOther, &nested);
    EXPECT_EQ(pool_->run(outer), PropertyList());
    nested.order.push_back("outer");
    EXPECT_EQ(nested.order, (std::vector<std::string>{"inner", "outer"}));

    // Only as long as the request says so; later ones wait for its end.
    nested.order.clear();
    bool goesOn = true;
    outer.runsContextWhile = [&] { return std::exchange(goesOn, false); };
    g_timeout_add(100, serveOther, &nested);
    EXPECT_EQ(pool_->run(outer), PropertyList());
    nested.order.push_back("outer");
    while (nested.order.size() < 2) g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(nested.order, (std::vector<std::string>{"outer", "inner"}));
    outer.runsContextWhile = nullptr;

    // A result that came in time counts, even if the thread was busy past the deadline.
    outer.arguments.set(u"milliseconds", std::int64_t{1});
    outer.limits.wallSeconds = 1;
    g_timeout_add(
        0,
        [](gpointer) -> gboolean {
            ::usleep(1'200'000);
            return G_SOURCE_REMOVE;
        },
        nullptr);
    EXPECT_EQ(pool_->run(outer), PropertyList());

    auto hanging = request("hang");
    hanging.runsContext = true;
    hanging.limits.wallSeconds = 0.2;
    EXPECT_EQ(pool_->run(hanging), std::nullopt);
    EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST_F(Isolation, EndsItsWorkersWithTheProcess) {
    // A service that is killed in the middle of a call leaves nothing behind either.
    const pid_t service = ::fork();
    if (service == 0) {
        WorkerPool pool(CORVY_BUILD_DIR "/tests");
        auto first = request("count", {{u"count", std::int64_t{1}}});
        pool.run(first);
        auto asking = request("ask");
        asking.question = [](const PropertyList&) {
            ::kill(::getpid(), SIGKILL);
            return PropertyList();
        };
        pool.run(asking);
        ::_exit(1);
    }
    int status = 0;
    ::waitpid(service, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    // The warm process of the dead service comes to us; reap what ends.
    for (int i = 0; i < 300 && !descendants().empty(); ++i) {
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        ::usleep(10'000);
    }
    EXPECT_TRUE(descendants().empty()) << testing::PrintToString(descendants());
}

TEST(WorkerByHand, PrintsPartsAndResult) {
    struct Case {
        std::string arguments;
        const char* output;
        int exitCode;
    };
    const Case cases[] = {
        {"libraries", "{\"result\": {\"trouble\": \"1.0\"}}\n", 0},
        {"count count=2", "{\"part\": 0}\n{\"part\": 1}\n{\"result\": 2}\n", 0},
        {"echo a=true b=1.5 c=1e d= e=x=y f=[1]",
         "{\"result\": {\"a\": true, \"b\": 1.5, \"c\": \"1e\", \"d\": \"\", \"e\": \"x=y\", "
         "\"f\": \"[1]\"}}\n",
         0},
        {"echo a=@/dev/null", "{\"result\": {\"a\": {\"bytes\": \"\"}}}\n", 0},
        {"ask quiet=1", "{\"question\": \"first\"}\n{\"question\": \"second\"}\n", 1},
        {"throw", "", 1},
        {"echo a=@/no/such/file", "", 2},
        {"echo a", "", 2},
        {"unknown", "", 2},
        {"", "", 2},
    };
    for (const Case& c : cases) {
        const std::string command =
            CORVY_BUILD_DIR "/tests/corvystack-worker-test --once " + c.arguments + " 2>/dev/null";
        FILE* pipe = ::popen(command.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string output;
        for (int byte = 0; (byte = std::fgetc(pipe)) != EOF;) output += static_cast<char>(byte);
        const int status = ::pclose(pipe);
        EXPECT_EQ(output, c.output) << c.arguments;
        EXPECT_EQ(WEXITSTATUS(status), c.exitCode) << c.arguments;
    }
}

TEST(ProgramFolder, IsThatOfTheProgramUnlessSaidOtherwise) {
    ::unsetenv("CORVYSTACK_LIBEXEC");
    EXPECT_TRUE(std::filesystem::equivalent(programFolder(), CORVY_BUILD_DIR "/tests"));
    ::setenv("CORVYSTACK_LIBEXEC", "/elsewhere", 1);
    EXPECT_EQ(programFolder(), "/elsewhere");
    ::unsetenv("CORVYSTACK_LIBEXEC");
}

}  // namespace
}  // namespace corvy::platform
