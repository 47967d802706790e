#include "base/parallel.h"

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <utility>

// The OpenMP runtime is not instrumented for the thread sanitizer and would drown real races in
// false ones, so that build shares the same indices out over plain threads.
#if defined(__SANITIZE_THREAD__)
#define ORVIX_PLAIN_THREADS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORVIX_PLAIN_THREADS 1
#endif
#endif

#ifdef ORVIX_PLAIN_THREADS
#include <thread>
#include <vector>
#endif

namespace orvix {
namespace {

thread_local int threadLimit = 0;

int limited(int threads) {
    return threadLimit > 0 ? std::min(threads, threadLimit) : threads;
}

void runOnThreads(int threads, const std::function<void(int, int)>& work) {
#ifdef ORVIX_PLAIN_THREADS
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t) {
        pool.emplace_back([&work, t, threads] { work(t, threads); });
    }
    work(0, threads);
    for (std::thread& thread : pool) {
        thread.join();
    }
#else
#pragma omp parallel num_threads(threads)
    work(omp_get_thread_num(), omp_get_num_threads());
#endif
}

}  // namespace

void parallelFor(int count, int threads, const std::function<void(int)>& body) {
    threads = limited(threads);
    if (threads <= 1 || count <= 1) {
        for (int i = 0; i < count; ++i) {
            body(i);
        }
        return;
    }
    runOnThreads(threads, [&](int thread, int team) {
        for (int i = thread; i < count; i += team) {
            body(i);
        }
    });
}

void parallelForDynamic(int count, int threads, const std::function<void(int)>& body) {
    threads = limited(threads);
    if (threads <= 1 || count <= 1) {
        for (int i = 0; i < count; ++i) {
            body(i);
        }
        return;
    }
    std::atomic<int> next{0};
    runOnThreads(std::min(threads, count), [&](int, int) {
        for (int i = next.fetch_add(1); i < count; i = next.fetch_add(1)) {
            body(i);
        }
    });
}

int availableThreads() {
    return std::max(1, limited(omp_get_num_procs()));
}

ScopedThreadLimit::ScopedThreadLimit(int most) : before_(std::exchange(threadLimit, most)) {}

ScopedThreadLimit::~ScopedThreadLimit() {
    threadLimit = before_;
}

}  // namespace orvix
