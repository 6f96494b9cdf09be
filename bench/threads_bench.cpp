// Threads, locks, delegates, the task pool and the timer, beside their peers.
#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/spin_mutex.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <sys/timerfd.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

void Nothing(unsigned int piece) { benchmark::DoNotOptimize(piece); }

void OneMicrosecond(unsigned int) {
    const auto end = Clock::now() + std::chrono::microseconds(1);
    while (Clock::now() < end) {}
}

// ---- batches -------------------------------------------------------------------------------------------------------------

using Piece = void (*)(unsigned int);

template <Piece piece>
void Batch(unsigned int count) {
    zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)> body(
        [](const ZvSystem::ThreadInfo&, unsigned int number, void*) { piece(number); });
    zvc::Delegate<void(const ZvSystem::ThreadInfo&)> end;
    ZvSystem::StartTask();
    ZvSystem::AddTask(ZvSystem::TaskQueueBack, body, count, end, nullptr);
    ZvSystem::EndTask();
}

template <Piece piece>
void TbbBatch(unsigned int count) {
    tbb::parallel_for(
        tbb::blocked_range<unsigned int>(0, count, 1),
        [](const tbb::blocked_range<unsigned int>& range) {
            for (unsigned int i = range.begin(); i != range.end(); ++i) piece(i);
        },
        tbb::simple_partitioner());               // one piece a task
}

void batch_10000_empty_pieces_ours(benchmark::State& state) {
    for (auto _ : state) Batch<&Nothing>(10000);
}
void batch_10000_empty_pieces_tbb(benchmark::State& state) {
    for (auto _ : state) TbbBatch<&Nothing>(10000);
}
BENCHMARK(batch_10000_empty_pieces_ours)->Name("batch_10000_empty_pieces/ours")->UseRealTime();
BENCHMARK(batch_10000_empty_pieces_tbb)->Name("batch_10000_empty_pieces/tbb")->UseRealTime();

void batch_64_pieces_of_1us_ours(benchmark::State& state) {
    for (auto _ : state) Batch<&OneMicrosecond>(64);
}
void batch_64_pieces_of_1us_tbb(benchmark::State& state) {
    for (auto _ : state) TbbBatch<&OneMicrosecond>(64);
}
BENCHMARK(batch_64_pieces_of_1us_ours)->Name("batch_64_pieces_of_1us/ours")->UseRealTime();
BENCHMARK(batch_64_pieces_of_1us_tbb)->Name("batch_64_pieces_of_1us/tbb")->UseRealTime();

/// The pool that is written when none is at hand.
class PlainPool {
public:
    explicit PlainPool(unsigned int workers) {
        for (unsigned int i = 0; i != workers; ++i) m_workers.emplace_back([this] { Work(); });
    }
    ~PlainPool() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        for (auto& worker : m_workers) worker.join();
    }

    void Run(std::function<void()> piece) {
        std::unique_lock lock(m_mutex);
        m_queue.push_back(std::move(piece));
        ++m_pending;
        m_wake.notify_one();
        m_done.wait(lock, [this] { return m_pending == 0; });
    }

private:
    void Work() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_stopping) return;
            auto piece = std::move(m_queue.front());
            m_queue.pop_front();
            lock.unlock();
            piece();
            lock.lock();
            if (--m_pending == 0) m_done.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake, m_done;
    std::deque<std::function<void()>> m_queue;
    unsigned int m_pending = 0;
    bool m_stopping = false;
    std::vector<std::thread> m_workers;
};

template <class Run>
void Cold(benchmark::State& state, Run run) {
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));       // until the workers sleep
        const auto start = Clock::now();
        run();
        state.SetIterationTime(SecondsSince(start));
    }
}

void batch_of_one_cold_ours(benchmark::State& state) { Cold(state, [] { Batch<&Nothing>(1); }); }
void batch_of_one_cold_plain(benchmark::State& state) {
    PlainPool pool(ZvSystem::GetNumberOfProcessor());
    Cold(state, [&] { pool.Run([] { Nothing(0); }); });
}
BENCHMARK(batch_of_one_cold_ours)->Name("batch_of_one_cold/ours")->UseManualTime()->Iterations(200);
BENCHMARK(batch_of_one_cold_plain)->Name("batch_of_one_cold/plain_pool")->UseManualTime()->Iterations(200);

// ---- locks ---------------------------------------------------------------------------------------------------------------

template <class Lock>
void Uncontended(benchmark::State& state) {
    Lock lock;
    for (auto _ : state) {
        if constexpr (requires { lock.Lock(); }) {
            lock.Lock();
            benchmark::ClobberMemory();
            lock.Unlock();
        } else {
            lock.lock();
            benchmark::ClobberMemory();
            lock.unlock();
        }
    }
}
BENCHMARK(Uncontended<ZvMutex>)->Name("mutex_uncontended/ours");
BENCHMARK(Uncontended<std::recursive_mutex>)->Name("mutex_uncontended/recursive_mutex");
BENCHMARK(Uncontended<ZvFastMutex>)->Name("fast_mutex_uncontended/ours");
BENCHMARK(Uncontended<std::recursive_mutex>)->Name("fast_mutex_uncontended/recursive_mutex");
BENCHMARK(Uncontended<ZvSpinLock>)->Name("spin_lock_uncontended/ours");
BENCHMARK(Uncontended<tbb::spin_mutex>)->Name("spin_lock_uncontended/tbb");

template <class Lock>
void TwoThreads(benchmark::State& state) {
    alignas(128) static Lock lock;
    alignas(128) static unsigned long long counter;
    for (auto _ : state) {
        if constexpr (requires { lock.Lock(); }) {
            lock.Lock();
            benchmark::DoNotOptimize(++counter);
            lock.Unlock();
        } else {
            lock.lock();
            benchmark::DoNotOptimize(++counter);
            lock.unlock();
        }
    }
}
BENCHMARK(TwoThreads<ZvSpinLock>)->Name("spin_lock_two_threads/ours")->Threads(2)->UseRealTime();
BENCHMARK(TwoThreads<tbb::spin_mutex>)->Name("spin_lock_two_threads/tbb")->Threads(2)->UseRealTime();

// ---- delegates -----------------------------------------------------------------------------------------------------------

struct Target {
    unsigned long long calls = 0;
    void Call(int n) { calls += static_cast<unsigned int>(n); }
};

template <class Function>
void Call(benchmark::State& state, Function function) {
    benchmark::DoNotOptimize(function);
    for (auto _ : state) {
        function(1);
        benchmark::ClobberMemory();
    }
}

void delegate_of_a_callable_ours(benchmark::State& state) {
    Target target;
    Call(state, zvc::Delegate<void(int)>([&target](int n) { target.Call(n); }));
}
void delegate_of_a_callable_function(benchmark::State& state) {
    Target target;
    Call(state, std::function<void(int)>([&target](int n) { target.Call(n); }));
}
void delegate_of_a_member_ours(benchmark::State& state) {
    Target target;
    Call(state, zvc::Delegate<void(int)>(&target, &Target::Call));
}
void delegate_of_a_member_function(benchmark::State& state) {
    Target target;
    Call(state, std::function<void(int)>(std::bind_front(&Target::Call, &target)));
}
BENCHMARK(delegate_of_a_callable_ours)->Name("delegate_of_a_callable/ours");
BENCHMARK(delegate_of_a_callable_function)->Name("delegate_of_a_callable/function");
BENCHMARK(delegate_of_a_member_ours)->Name("delegate_of_a_member/ours");
BENCHMARK(delegate_of_a_member_function)->Name("delegate_of_a_member/function");

// ---- the timer -----------------------------------------------------------------------------------------------------------

constexpr int Ticks = 1000;
constexpr double Interval = 1e-3;

/// When the ticks of a timer of one millisecond came, in seconds from its start.
std::vector<double> OurTicks() {
    std::vector<double> ticks;
    ZvTimer timer(0, 1000);                       // a delay of 0 ticks every millisecond
    Clock::time_point start;
    timer.Tick() = [&] {
        ticks.push_back(SecondsSince(start));
        if (ticks.size() == Ticks) timer.Stop();
    };
    start = Clock::now();
    timer.Run();
    return ticks;
}

std::vector<double> TimerfdTicks() {
    std::vector<double> ticks;
    const int timer = timerfd_create(CLOCK_MONOTONIC, 0);
    const itimerspec every{{0, 1000000}, {0, 1000000}};
    const auto start = Clock::now();
    timerfd_settime(timer, 0, &every, nullptr);
    for (uint64_t expirations; ticks.size() != Ticks;) {
        if (read(timer, &expirations, sizeof expirations) != sizeof expirations) break;
        ticks.push_back(SecondsSince(start));
    }
    close(timer);
    return ticks;
}

/// How late the tick in a thousand is that so many are earlier than.
double Lateness(const std::vector<double>& ticks, size_t rank) {
    std::vector<double> late;
    for (double tick : ticks) late.push_back(std::fmod(tick, Interval));
    std::sort(late.begin(), late.end());
    return late[rank];
}
double Median(const std::vector<double>& ticks) { return Lateness(ticks, Ticks / 2); }
double Percent99(const std::vector<double>& ticks) { return Lateness(ticks, Ticks * 99 / 100); }

/// By how much the intervals scatter: the mean distance from a whole number of milliseconds.
double Jitter(const std::vector<double>& ticks) {
    double sum = 0;
    for (size_t i = 1; i < ticks.size(); ++i) sum += std::fabs(std::remainder(ticks[i] - ticks[i - 1], Interval));
    return sum / static_cast<double>(ticks.size() - 1);
}

/// By how much the second half of the ticks lies off the schedule of the first.
double Drift(const std::vector<double>& ticks) {
    const std::vector<double> first(ticks.begin(), ticks.begin() + Ticks / 2), second(ticks.begin() + Ticks / 2, ticks.end());
    return std::fabs(Lateness(second, Ticks / 4) - Lateness(first, Ticks / 4));
}

template <std::vector<double> (*ticks)(), double (*figure)(const std::vector<double>&)>
void Timer(benchmark::State& state) {
    for (auto _ : state) state.SetIterationTime(figure(ticks()));
}
#define TIMER_BENCHMARK(name, figure)                                                                        \
    BENCHMARK(Timer<&OurTicks, &figure>)->Name(name "/ours")->UseManualTime()->Iterations(1);               \
    BENCHMARK(Timer<&TimerfdTicks, &figure>)->Name(name "/timerfd")->UseManualTime()->Iterations(1)
TIMER_BENCHMARK("timer_1ms_lateness_median", Median);
TIMER_BENCHMARK("timer_1ms_lateness_99_percent", Percent99);
TIMER_BENCHMARK("timer_1ms_jitter", Jitter);
TIMER_BENCHMARK("timer_1ms_drift", Drift);

}
