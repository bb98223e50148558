// Message queue and thread pool against what a user would write instead: a
// std::mutex + std::condition_variable + std::deque of message pointers, and
// a small std::thread pool over std::function. Throughput with one and two
// writers and one reader, ping-pong latency between two threads, and one
// million empty jobs through a two-worker pool (start and join included).
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "queue.h"
#include "thrpool.h"

namespace {

constexpr size_t kMessages = 200000;
constexpr size_t kRoundTrips = 20000;
constexpr size_t kJobs = 1000000;

struct Msg {
    B_QUEMSG link;
    size_t seq;
};

// The peer queue: what one writes with the standard library.
class StdQueue {
  public:
    void write(Msg *m) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            items_.push_back(m);
        }
        cv_.notify_one();
    }
    Msg *read() {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait(lock, [this] { return !items_.empty(); });
        Msg *m = items_.front();
        items_.pop_front();
        return m;
    }

  private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<Msg *> items_;
};

struct ZelQueue {
    B_QUEUE q;
    ZelQueue() { (void)b_queueInit(&q); }
    ~ZelQueue() { b_queueTerm(&q); }
    void write(Msg *m) { (void)b_queueWrite(&q, &m->link); }
    Msg *read() {
        B_QUEMSG *m = nullptr;
        (void)b_queueRead(&q, &m, PSP_WAIT_FOREVER);
        return reinterpret_cast<Msg *>(m);
    }
};

// `writers` threads each write kMessages / writers messages; this thread
// reads them all.
template <class Q>
void BM_Throughput(benchmark::State &state) {
    const size_t writers = size_t(state.range(0));
    const size_t each = kMessages / writers;
    std::vector<Msg> msgs(each * writers);
    Q q;
    for (auto _ : state) {
        std::vector<std::thread> threads;
        for (size_t w = 0; w < writers; ++w) {
            threads.emplace_back([&, w] {
                for (size_t i = 0; i < each; ++i) q.write(&msgs[w * each + i]);
            });
        }
        size_t sum = 0;
        for (size_t i = 0; i < msgs.size(); ++i) sum += q.read()->seq;
        benchmark::DoNotOptimize(sum);
        for (std::thread &t : threads) t.join();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * msgs.size()));
}
BENCHMARK(BM_Throughput<ZelQueue>)->Name("Throughput/zel_queue")->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(BM_Throughput<StdQueue>)->Name("Throughput/std_queue")->Arg(1)->Arg(2)->UseRealTime();

// One message bounces between two threads over two queues.
template <class Q>
void BM_PingPong(benchmark::State &state) {
    Q there, back;
    Msg ball{};
    for (auto _ : state) {
        std::thread partner([&] {
            for (size_t i = 0; i < kRoundTrips; ++i) back.write(there.read());
        });
        for (size_t i = 0; i < kRoundTrips; ++i) {
            there.write(&ball);
            benchmark::DoNotOptimize(back.read());
        }
        partner.join();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kRoundTrips));
}
BENCHMARK(BM_PingPong<ZelQueue>)->Name("PingPong/zel_queue")->UseRealTime();
BENCHMARK(BM_PingPong<StdQueue>)->Name("PingPong/std_queue")->UseRealTime();

// ---- Pools: two workers, one million empty jobs, start to join.

ZEL_RETCODE emptyJob(B_THRPOOL_JOB *) {
    return sOKAY;
}

void BM_PoolZel(benchmark::State &state) {
    std::vector<B_THRPOOL_JOB> jobs(kJobs);
    for (auto _ : state) {
        B_THRPOOL pool;
        B_THRPOOL_THREAD threads[2];
        (void)b_thrpoolInit(&pool, 2, threads);
        for (B_THRPOOL_JOB &j : jobs) (void)b_thrpoolAddJob(&pool, emptyJob, &j);
        b_thrpoolTerm(&pool);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kJobs));
}
BENCHMARK(BM_PoolZel)->Name("Pool1M/zel_thrpool")->UseRealTime()->Unit(benchmark::kMillisecond);

// The peer pool: workers over a deque of std::function, drained before the
// workers stop.
class StdPool {
  public:
    explicit StdPool(size_t n) {
        for (size_t i = 0; i < n; ++i) workers_.emplace_back([this] { run(); });
    }
    ~StdPool() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        cv_.notify_all();
        for (std::thread &t : workers_) t.join();
    }
    void add(std::function<void()> job) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            jobs_.push_back(std::move(job));
        }
        cv_.notify_one();
    }

  private:
    void run() {
        for (;;) {
            std::function<void()> job;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                cv_.wait(lock, [this] { return stop_ || !jobs_.empty(); });
                if (jobs_.empty()) return;
                job = std::move(jobs_.front());
                jobs_.pop_front();
            }
            job();
        }
    }
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> workers_;
    bool stop_ = false;
};

void BM_PoolStd(benchmark::State &state) {
    for (auto _ : state) {
        StdPool pool(2);
        for (size_t i = 0; i < kJobs; ++i) pool.add([] {});
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kJobs));
}
BENCHMARK(BM_PoolStd)->Name("Pool1M/std_thread_pool")->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
