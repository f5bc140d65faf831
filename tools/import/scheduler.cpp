#include "tools/import/scheduler.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace corvy::tools {

namespace {

constexpr auto kPulse = std::chrono::milliseconds(100);

class Run {
public:
    Run(const Schedule& schedule, const ScheduleLimits& limits)
        : schedule_(schedule), limits_(limits) {}

    bool run() {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < limits_.threads; ++i) {
            threads.emplace_back([this, i] { work(i); });
        }
        const bool complete = collect();
        if (!complete) stop();
        threads.clear();  // joins
        emitReady(true);
        if (fault_) std::rethrow_exception(fault_);
        return complete;
    }

private:
    bool mayBegin() const {
        return begun_ - emitted_ < limits_.ahead && waitingBytes_ <= limits_.waitingBytes;
    }

    std::optional<Job> begin() {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [this] { return stopped_ || exhausted_ || mayBegin(); });
        if (stopped_ || exhausted_) return std::nullopt;
        auto file = schedule_.next();
        if (!file) {
            exhausted_ = true;
            room_.notify_all();
            return std::nullopt;
        }
        return Job{begun_++, *std::move(file)};
    }

    void work(std::size_t thread) {
        try {
            while (auto job = begin()) {
                const std::uint64_t number = job->number;
                auto finished = schedule_.work(thread, *std::move(job));
                const std::scoped_lock lock(mutex_);
                if (finished) waitingBytes_ += finished->record.size();
                ready_.emplace(number, std::move(finished));
                if (number == emitted_) results_.notify_one();
            }
        } catch (...) {
            const std::scoped_lock lock(mutex_);
            if (!fault_) fault_ = std::current_exception();
        }
        const std::scoped_lock lock(mutex_);
        ++ended_;
        results_.notify_one();
    }

    // False when it was stopped.
    bool collect() {
        while (true) {
            if (!schedule_.goOn()) return false;
            {
                std::unique_lock lock(mutex_);
                results_.wait_for(lock, kPulse, [this] {
                    return fault_ || ready_.contains(emitted_) || ended_ == limits_.threads;
                });
                if (fault_) return false;
                if (ended_ == limits_.threads) return true;
            }
            emitReady(false);
        }
    }

    void stop() {
        {
            const std::scoped_lock lock(mutex_);
            stopped_ = true;
            room_.notify_all();
        }
        schedule_.giveUp();
    }

    // The results from the next one on, up to the first that is missing, or (`all`) over gaps.
    void emitReady(bool all) {
        std::unique_lock lock(mutex_);
        while (!ready_.empty() && (all || ready_.begin()->first == emitted_)) {
            auto entry = ready_.extract(ready_.begin());
            emitted_ = entry.key() + 1;
            if (entry.mapped()) waitingBytes_ -= entry.mapped()->record.size();
            room_.notify_all();
            lock.unlock();
            if (entry.mapped()) schedule_.emit(*std::move(entry.mapped()));
            const bool goesOn = all || schedule_.goOn();
            lock.lock();
            if (!goesOn) return;
        }
    }

    const Schedule& schedule_;
    const ScheduleLimits limits_;

    std::mutex mutex_;
    std::condition_variable room_;     // a job may begin, or none ever will
    std::condition_variable results_;  // the next result is there, or a thread has ended
    std::map<std::uint64_t, std::optional<Finished>> ready_;
    std::uint64_t begun_ = 0;
    std::uint64_t emitted_ = 0;  // every job below has left `ready_`
    std::size_t waitingBytes_ = 0;
    std::size_t ended_ = 0;  // threads
    bool exhausted_ = false;
    bool stopped_ = false;
    std::exception_ptr fault_;
};

}  // namespace

bool runInOrder(const Schedule& schedule, const ScheduleLimits& limits) {
    return Run(schedule, limits).run();
}

}  // namespace corvy::tools
