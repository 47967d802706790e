#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "jobs/prediction_job.h"

namespace orvix::batch {

/// One prediction of a batch.
struct Job {
    std::size_t number = 0;  ///< place in the whole list, from 1; the same in every shard
    std::string file;
    std::string name;  ///< of its directory and its rows; unique in the list
    jobs::PredictionOptions options;
};

/// A part of a list of jobs: every `count`-th from the `index`-th on; 1 of 1 is the whole list.
struct Shard {
    std::size_t index = 1, count = 1;
    /// "-K-of-N" for the names of files of a part, empty for the whole.
    std::string suffix() const;
};
/// Reads "K/N", 1 <= K <= N. Throws RunEnd with the reason usage.
Shard parseShard(const std::string& text);

/// Turns the words of options of a manifest line into options. May throw any std::exception with a
/// message for the user.
using ReadOptions = std::function<jobs::PredictionOptions(const std::vector<std::string>& words)>;

/// What a list of jobs is made from.
struct JobSources {
    /// Files, directories (searched for shift files, all levels), patterns with * ? [ ].
    std::vector<std::string> inputs;
    std::string manifest;             ///< file; empty for none
    std::string output;               ///< directory of the batch: not searched for inputs
    jobs::PredictionOptions options;  ///< of the inputs
    ReadOptions readOptions;          ///< for the manifest
};

/// All jobs: the inputs by their paths, each path once, then the lines of the manifest. A file that
/// is named but not there is a job all the same; it fails when its turn comes. A directory or
/// pattern without a single shift file is refused. Names are those of the files without their
/// endings; where two are equal, later ones get "-2", "-3", ... Throws InputRejected, for a
/// manifest with file and line.
std::vector<Job> listJobs(const JobSources& sources);

/// The jobs of a shard.
std::vector<Job> jobsOf(const Shard& shard, std::vector<Job> all);

/// Whether a file of that name is taken from a directory: .tab .str .star .nef .prot .list .shifts
/// .csv, also with .gz behind.
bool hasShiftEnding(std::string_view fileName);

}  // namespace orvix::batch
