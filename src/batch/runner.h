#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "batch/job_list.h"
#include "batch/progress.h"
#include "batch/store.h"

namespace orvix::batch {

/// Where the results of a batch go.
enum class StoreUse {
    beside,   ///< directories and a store
    without,  ///< directories alone
    alone     ///< a store alone
};

/// The largest input file that is read, bytes.
inline constexpr std::size_t inputLimit = std::size_t{64} << 20U;

/// A batch: what is to be done, and how.
struct Plan {
    std::vector<Job> jobs;  ///< of this shard
    Shard shard;
    std::string output;  ///< directory
    StoreUse store = StoreUse::beside;
    jobs::DataPlace data;
    int threads = 1;  ///< proteins at a time
    std::stop_token stop;
};

/// Hears of a batch, on the thread that called `runBatch`. Members may be empty.
struct Listener {
    /// After each job, and now and then while none ends.
    std::function<void(const Progress&)> progress;
    std::function<void(const Failure&)> failure;
};

/// Carries out a batch and returns how far it came: less than all only when it was stopped. The
/// model is shared by its threads, each of which predicts one protein at a time; results leave the
/// memory as they come.
///
/// A job is left out when an earlier run finished it from the same input, options, program version
/// and data, and its results are still there. Results of a job appear whole: a directory of its
/// name, its rows in the store; a job whose input fails loses outdated ones. At the end, and when
/// it is stopped, `batch.tsv` and `failures.tsv` list the jobs. Throws RunError when the directory
/// is in use by another batch, when results can't be kept, and after ten failures in a row for
/// reasons outside of their inputs, such as a full disk.
Progress runBatch(const Plan& plan, const std::shared_ptr<const Model>& model,
                  const Listener& listener = {});

/// Names of the files of a batch in its output directory; `part` is Shard::suffix.
std::string storeName(const std::string& part);
std::string batchTableName(const std::string& part);
std::string failuresTableName(const std::string& part);

}  // namespace orvix::batch
