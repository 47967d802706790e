#pragma once

#include <string>
#include <vector>

#include "batch/job_list.h"
#include "batch/journal.h"

namespace orvix::batch {

/// What became of a job so far.
struct JobState {
    enum class State { open, done, failed };
    State state = State::open;
    Counts counts{};     ///< of a job that is done
    std::string reason;  ///< of a failed one
};

/// The list of all jobs as a table: job, name, file, state, counts.
std::string batchTable(const std::vector<Job>& jobs, const std::vector<JobState>& states);
/// The failed jobs: job, name, file, reason.
std::string failuresTable(const std::vector<Job>& jobs, const std::vector<JobState>& states);

}  // namespace orvix::batch
