#pragma once

#include <iosfwd>

namespace orvix {

/// Where a run speaks: its status lines and its warnings.
struct Streams {
    std::ostream* out;
    std::ostream* err;
};

/// The pair of the calling thread; the process's own pair where no run has set another. Stages call
/// these on the thread of the run alone, never in a parallel loop.
std::ostream& out();
std::ostream& err();

/// Makes `streams` the pair of the calling thread as long as it lives.
class ScopedStreams {
  public:
    explicit ScopedStreams(Streams streams);
    ~ScopedStreams();
    ScopedStreams(const ScopedStreams&) = delete;
    ScopedStreams& operator=(const ScopedStreams&) = delete;

  private:
    Streams before_;
};

}  // namespace orvix
