#pragma once

#include <functional>

namespace orvix {

/// Calls `body(index)` once for every index 0..count-1 on up to `threads` threads and returns when
/// all calls have ended. Indices are shared out by a static schedule of chunk 1 (thread t takes t,
/// t + T, t + 2T, ...), so which thread does what is fixed; results must not depend on it. With one
/// thread, or one index, everything runs on the caller. `body` must not throw.
void parallelFor(int count, int threads, const std::function<void(int)>& body);

/// The same, but each thread takes the next index that nobody has begun: for work of uneven size.
void parallelForDynamic(int count, int threads, const std::function<void(int)>& body);

/// Number of processors that this process may use, or the limit of the calling thread if that is
/// less; at least 1.
int availableThreads();

/// No loop that the calling thread begins runs on more than `most` threads as long as this lives,
/// whatever its caller asks for; 0 for no limit. Results are the same.
class ScopedThreadLimit {
  public:
    explicit ScopedThreadLimit(int most);
    ~ScopedThreadLimit();
    ScopedThreadLimit(const ScopedThreadLimit&) = delete;
    ScopedThreadLimit& operator=(const ScopedThreadLimit&) = delete;

  private:
    int before_;
};

}  // namespace orvix
