#include "tools/import/scheduler.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>

namespace corvy::tools {

namespace {

// A schedule over `count` files with the work given, which keeps what it emits.
struct Bench {
    explicit Bench(std::uint64_t count) {
        schedule.next = [this, count]() -> std::optional<FoundFile> {
            if (begun == count) return std::nullopt;
            return FoundFile{.path = std::to_string(begun++)};
        };
        schedule.work = [](std::size_t, const Job& job) {
            return Finished{.path = std::to_string(job.number)};
        };
        schedule.emit = [this](const Finished& file) { emitted.push_back(std::stoul(file.path)); };
        schedule.goOn = [] { return true; };
        schedule.giveUp = [] {};
    }

    Schedule schedule;
    std::atomic<std::uint64_t> begun = 0;
    std::vector<std::uint64_t> emitted;
};

std::vector<std::uint64_t> upTo(std::uint64_t count) {
    std::vector<std::uint64_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0U);
    return numbers;
}

// Lets threads wait for a moment that the test decides.
class Gate {
public:
    void open() {
        const std::scoped_lock lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex_);
        opened_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

}  // namespace

TEST(Scheduler, KeepsTheOrderWhateverTakesLong) {
    for (const std::size_t threads : {1, 3, 8}) {
        Bench bench(200);
        bench.schedule.work = [](std::size_t, const Job& job) {
            if (job.number % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
            return Finished{.path = std::to_string(job.number)};
        };
        EXPECT_TRUE(runInOrder(bench.schedule, {.threads = threads}));
        EXPECT_EQ(bench.emitted, upTo(200));
    }
    Bench none(0);
    EXPECT_TRUE(runInOrder(none.schedule, {.threads = 4}));
    EXPECT_TRUE(none.emitted.empty());
}

TEST(Scheduler, RunsNoFurtherAheadThanAllowed) {
    struct Case {
        ScheduleLimits limits;
        std::uint64_t mostBegun;
    };
    // By number; by size: the third result of ten bytes passes the bound, the other thread is busy.
    for (const Case& c : {Case{{.threads = 4, .ahead = 6}, 6},
                          Case{{.threads = 2, .ahead = 100, .waitingBytes = 25}, 4}}) {
        Bench bench(50);
        Gate first;
        bench.schedule.work = [&first](std::size_t, const Job& job) {
            if (job.number == 0) first.wait();
            return Finished{.record = "ten bytes.", .path = std::to_string(job.number)};
        };
        std::jthread opener([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_EQ(bench.begun, c.mostBegun);
            first.open();
        });
        EXPECT_TRUE(runInOrder(bench.schedule, c.limits));
        EXPECT_EQ(bench.emitted, upTo(50));
    }
}

TEST(Scheduler, StopsAtOnceAndKeepsWhatIsDone) {
    Bench bench(1000);
    Gate given;
    std::atomic<int> done = 0;
    bench.schedule.work = [&](std::size_t, const Job& job) -> std::optional<Finished> {
        if (job.number == 2) {  // hangs until it is given up
            given.wait();
            return std::nullopt;
        }
        if (job.number > 4) given.wait();
        ++done;
        return Finished{.path = std::to_string(job.number)};
    };
    bench.schedule.goOn = [&] { return done < 4; };
    bench.schedule.giveUp = [&] { given.open(); };
    EXPECT_FALSE(runInOrder(bench.schedule, {.threads = 2}));
    // The other thread was in the sixth when the end came.
    EXPECT_EQ(bench.emitted, (std::vector<std::uint64_t>{0, 1, 3, 4, 5}));
}

TEST(Scheduler, PassesFaultsOn) {
    Bench bench(100);
    bench.schedule.work = [](std::size_t, const Job& job) -> std::optional<Finished> {
        if (job.number == 10) throw std::runtime_error("fault");
        return Finished{.path = std::to_string(job.number)};
    };
    EXPECT_THROW(runInOrder(bench.schedule, {.threads = 3}), std::runtime_error);
}

}  // namespace corvy::tools
