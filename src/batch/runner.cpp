#include "batch/runner.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <thread>

#include "base/message_log.h"
#include "base/parallel.h"
#include "base/run_end.h"
#include "base/version.h"
#include "base/whole_file.h"
#include "batch/content_hash.h"
#include "batch/directory_lock.h"
#include "batch/journal.h"
#include "batch/summary_files.h"
#include "model/model.h"
#include "results/results_file.h"

namespace orvix::batch {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// Results that wait to be kept, for each thread; more would only fill the memory.
constexpr std::size_t waitingPerThread = 4;
/// Results are brought to the disk together, at most so many and so long after the first.
constexpr std::size_t groupSize = 64;
constexpr auto groupTime = std::chrono::milliseconds(1000);
constexpr auto tick = std::chrono::milliseconds(250);
constexpr int failuresInARow = 10;

/// What a thread has to say about a job.
struct Outcome {
    enum class Kind { done, unchanged, rejected, failed, stopped };
    std::size_t place = 0;  ///< in the list
    Kind kind = Kind::stopped;
    std::string key, reason;
    std::optional<results::FinishedPrediction> finished;
};

/// The key that an unchanged result goes by.
std::string keyOf(const Job& job, const std::string& data) {
    ContentHash hash;
    const jobs::PredictionOptions& options = job.options;
    const importing::ImportOptions& import = options.import;
    for (const std::string& text :
         {std::string(programName), std::string(programVersion()), data, job.file,
          results::settingsText(jobs::recordedSettings(options, "")),
          std::to_string(options.excludeRelatives.value_or(0)),
          import.shiftNumbers ? std::to_string(*import.shiftNumbers) : std::string("-"),
          options.preparation.title, options.referenceTitle, import.format, import.list,
          import.entity, import.assembly, import.numbering, import.sequenceFile,
          std::to_string(import.maxAmbiguity)}) {
        hash.add(text);
    }
    for (const std::string& file : {options.reference, import.sequenceFile}) {
        if (!file.empty()) {
            hash.addFile(file, inputLimit);
        }
    }
    hash.addFile(job.file, inputLimit);
    return hash.digits();
}

class Batch {
  public:
    Batch(const Plan& plan, const std::shared_ptr<const Model>& model, const Listener& listener)
        : plan_(plan),
          model_(model),
          listener_(listener),
          part_(plan.shard.suffix()),
          lock_(plan.output, part_),
          journal_(plan.output + "/" + stateDirectory, part_),
          states_(plan.jobs.size()) {
        progress_.total = plan.jobs.size();
        if (plan.store != StoreUse::without) {
            store_ = std::make_unique<Store>(plan.output + "/" + storeName(part_));
        }
        removeRemains();
        dataHash_ = directoryHash(plan.data.path + "/tab");
        for (const Job& job : plan.jobs) {
            const JournalEntry* const entry = journal_.find(job.name);
            const bool there =
                entry != nullptr &&
                (plan.store == StoreUse::alone ||
                 fs::is_regular_file(fs::path(directoryOf(job)) / results::resultsFile)) &&
                (store_ == nullptr || store_->has(job.name, entry->key, job.number));
            earlier_.push_back(there ? std::optional(*entry) : std::nullopt);
        }
        if (store_ != nullptr) {
            store_->commit();
        }
    }

    Progress run();

  private:
    std::string directoryOf(const Job& job) const { return plan_.output + "/" + job.name; }
    void removeRemains();
    void work();
    Outcome carryOut(std::size_t place);
    void predict(std::size_t place, Outcome& outcome);
    bool stopping() const { return plan_.stop.stop_requested() || stop_.stop_requested(); }
    void hand(Outcome outcome);
    void take();
    void keep(Outcome& outcome);
    void fail(const Outcome& outcome);
    void settleGroup();
    void removeOutdated(const Job& job);
    void tell();
    void finish();

    const Plan& plan_;
    std::shared_ptr<const Model> model_;
    const Listener& listener_;
    std::string part_;
    DirectoryLock lock_;
    Journal journal_;
    std::unique_ptr<Store> store_;
    std::string dataHash_;
    std::vector<std::optional<JournalEntry>> earlier_;  ///< results that are there, by job
    std::vector<JobState> states_;
    Progress progress_;
    Clock::time_point start_ = Clock::now();

    std::stop_source stop_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::condition_variable filled_, emptied_;
    std::deque<Outcome> waiting_;
    int working_ = 0;

    std::vector<JournalEntry> group_;
    std::vector<std::size_t> groupPlaces_;
    Clock::time_point groupStart_;
    int outsideFailures_ = 0;
};

/// Hidden directories of a killed run are ".NAME.orvix-XXXXXX", and belong to jobs of this part.
void Batch::removeRemains() {
    constexpr std::string_view mark = ".orvix-";
    constexpr std::size_t tail = mark.size() + 6;
    std::set<std::string> names;
    for (const Job& job : plan_.jobs) {
        names.insert(job.name);
    }
    std::vector<fs::path> remains;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(plan_.output, error)) {
        std::string name = entry.path().filename().string();
        if (name.ends_with(".old")) {
            name.resize(name.size() - 4);
        }
        if (name.size() > tail + 1 && name[0] == '.' &&
            name.compare(name.size() - tail, mark.size(), mark) == 0 &&
            (plan_.shard.count == 1 || names.contains(name.substr(1, name.size() - tail - 1)))) {
            remains.push_back(entry.path());
        }
    }
    for (const fs::path& path : remains) {
        fs::remove_all(path, error);
    }
}

void Batch::work() {
    const ScopedThreadLimit limit(1);
    // What stages say belongs to their prediction; nothing of it reaches the streams of the
    // process.
    MessageLog log;
    const ScopedStreams streams(log.streams());
    while (!stopping()) {
        const std::size_t place = next_++;
        if (place >= plan_.jobs.size()) {
            break;
        }
        hand(carryOut(place));
        log.take();
    }
    const std::lock_guard lock(mutex_);
    --working_;
    filled_.notify_one();
}

Outcome Batch::carryOut(std::size_t place) {
    Outcome outcome;
    outcome.place = place;
    outcome.kind = Outcome::Kind::failed;
    try {
        predict(place, outcome);
        return outcome;
    } catch (const RunEnd& end) {
        outcome.reason = end.what();
        outcome.kind = end.reason() == EndReason::input || end.reason() == EndReason::usage
                           ? Outcome::Kind::rejected
                           : Outcome::Kind::failed;
    } catch (const std::bad_alloc&) {
        outcome.reason = "out of memory";
    } catch (const std::exception& error) {
        outcome.reason = error.what();
    }
    if (outcome.kind == Outcome::Kind::failed && stopping()) {
        outcome.kind = Outcome::Kind::stopped;
    }
    outcome.finished.reset();
    return outcome;
}

void Batch::predict(std::size_t place, Outcome& outcome) {
    const Job& job = plan_.jobs[place];
    outcome.key = keyOf(job, dataHash_);
    if (earlier_[place] && earlier_[place]->key == outcome.key) {
        outcome.kind = Outcome::Kind::unchanged;
        return;
    }
    const bool directories = plan_.store != StoreUse::alone;
    RunControl control;
    control.threads = 1;
    control.stop = stop_.get_token();
    jobs::PredictionOutcome predicted;
    {
        const jobs::RunInput input =
            jobs::takeInput(job.file, job.options.import, job.options.preparation.title);
        predicted =
            jobs::predictInput(model_, input, job.options, plan_.data, control, directories);
    }
    if (directories) {
        results::OutputDirectory output(directoryOf(job), true);
        jobs::writeFiles(output, predicted);
        output.publish();
    }
    outcome.finished = std::move(predicted.finished);
    outcome.kind = Outcome::Kind::done;
}

void Batch::hand(Outcome outcome) {
    std::unique_lock lock(mutex_);
    const std::size_t most = waitingPerThread * static_cast<std::size_t>(plan_.threads);
    emptied_.wait(lock, [&] { return waiting_.size() < most || stop_.stop_requested(); });
    waiting_.push_back(std::move(outcome));
    filled_.notify_one();
}

/// Keeps what the threads hand over until all have ended.
void Batch::take() {
    for (;;) {
        std::optional<Outcome> outcome;
        {
            std::unique_lock lock(mutex_);
            filled_.wait_for(lock, tick, [&] { return !waiting_.empty() || working_ == 0; });
            if (!waiting_.empty()) {
                outcome = std::move(waiting_.front());
                waiting_.pop_front();
                emptied_.notify_one();
            } else if (working_ == 0) {
                break;
            }
        }
        if (outcome) {
            keep(*outcome);
        }
        if (!groupPlaces_.empty() &&
            (groupPlaces_.size() >= groupSize || Clock::now() - groupStart_ >= groupTime)) {
            settleGroup();
        }
        tell();
    }
    settleGroup();
}

void Batch::keep(Outcome& outcome) {
    const Job& job = plan_.jobs[outcome.place];
    JobState& state = states_[outcome.place];
    switch (outcome.kind) {
        case Outcome::Kind::stopped:
            return;
        case Outcome::Kind::unchanged:
            state.state = JobState::State::done;
            state.counts = earlier_[outcome.place]->counts;
            ++progress_.earlier;
            return;
        case Outcome::Kind::rejected:
        case Outcome::Kind::failed:
            fail(outcome);
            break;
        case Outcome::Kind::done:
            outsideFailures_ = 0;
            state.counts = countsOf(*outcome.finished);
            if (store_ != nullptr) {
                store_->put(
                    {job.number, job.name, job.file, outcome.key, dataHash_, *outcome.finished});
            }
            group_.push_back({job.name, outcome.key, state.counts});
            break;
    }
    if (groupPlaces_.empty()) {
        groupStart_ = Clock::now();
    }
    groupPlaces_.push_back(outcome.place);
}

void Batch::fail(const Outcome& outcome) {
    const Job& job = plan_.jobs[outcome.place];
    JobState& state = states_[outcome.place];
    state.state = JobState::State::failed;
    state.reason = outcome.reason;
    ++progress_.failed;
    const bool rejected = outcome.kind == Outcome::Kind::rejected;
    const Failure failure{job.number, job.name, job.file, outcome.reason};
    if (rejected) {
        removeOutdated(job);
    }
    if (store_ != nullptr) {
        store_->putFailure(failure, rejected);
    }
    if (listener_.failure) {
        listener_.failure(failure);
    }
    outsideFailures_ = rejected ? 0 : outsideFailures_ + 1;
    if (outsideFailures_ >= failuresInARow) {
        settleGroup();
        throw RunError(std::to_string(failuresInARow) +
                       " jobs in a row failed for reasons outside of their inputs; the last one: " +
                       outcome.reason);
    }
}

/// A result of an earlier content of the input would pass for one of the present content.
void Batch::removeOutdated(const Job& job) {
    if (journal_.find(job.name) != nullptr && results::holdsResults(directoryOf(job))) {
        std::error_code ignored;
        fs::remove_all(directoryOf(job), ignored);
    }
}

/// Brings results to the disk, and only then says that they are there.
void Batch::settleGroup() {
    if (!group_.empty() && plan_.store != StoreUse::alone) {
        const int directory = open(plan_.output.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const bool good = directory >= 0 && syncfs(directory) == 0;
        const int problem = errno;
        if (directory >= 0) {
            close(directory);
        }
        if (!good) {
            throw RunError(plan_.output + ": can't be written: " + std::strerror(problem));
        }
    }
    if (store_ != nullptr) {
        store_->commit();
    }
    if (!group_.empty()) {
        journal_.append(group_);
        progress_.done += group_.size();
        group_.clear();
    }
    for (const std::size_t place : groupPlaces_) {
        if (states_[place].state == JobState::State::open) {
            states_[place].state = JobState::State::done;
        }
    }
    groupPlaces_.clear();
}

void Batch::tell() {
    progress_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    if (listener_.progress) {
        listener_.progress(progress_);
    }
}

void Batch::finish() {
    if (store_ != nullptr) {
        store_->close();
    }
    writeWholeFile(plan_.output + "/" + batchTableName(part_), batchTable(plan_.jobs, states_));
    writeWholeFile(plan_.output + "/" + failuresTableName(part_),
                   failuresTable(plan_.jobs, states_));
}

Progress Batch::run() {
    // The stop of the caller and the stop after an error are one for the threads.
    const std::stop_callback passOn(plan_.stop, [this] {
        stop_.request_stop();
        emptied_.notify_all();
    });
    start_ = Clock::now();
    working_ = plan_.threads;
    std::vector<std::jthread> threads;
    try {
        for (int i = 0; i < plan_.threads; ++i) {
            threads.emplace_back([this] { work(); });
        }
        take();
    } catch (...) {
        stop_.request_stop();
        emptied_.notify_all();
        threads.clear();
        throw;
    }
    threads.clear();
    finish();
    tell();
    return progress_;
}

}  // namespace

std::string storeName(const std::string& part) {
    return "predictions" + part + ".sqlite";
}
std::string batchTableName(const std::string& part) {
    return "batch" + part + ".tsv";
}
std::string failuresTableName(const std::string& part) {
    return "failures" + part + ".tsv";
}

Progress runBatch(const Plan& plan, const std::shared_ptr<const Model>& model,
                  const Listener& listener) {
    Batch batch(plan, model, listener);
    return batch.run();
}

}  // namespace orvix::batch
