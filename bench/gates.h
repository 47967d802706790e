#pragma once

#include <cstdio>
#include <cstdlib>

/// Ratios of a fast form to its plain one that a benchmark has to reach. They stand well below what
/// is measured on a quiet machine (bench/README.md), so that only a loss fails.
class Gates {
  public:
    /// Tells of a ratio and remembers whether it is `least` or more.
    void require(const char* what, double ratio, double least) {
        const bool reached = ratio >= least;
        std::printf("gate: %-40s ratio %7.1f, at least %5.1f: %s\n", what, ratio, least,
                    reached ? "ok" : "FAILED");
        failed_ = failed_ || !reached;
    }
    int status() const { return failed_ ? EXIT_FAILURE : EXIT_SUCCESS; }

  private:
    bool failed_ = false;
};
