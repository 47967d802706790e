#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>

#include "base/parallel.h"
#include "base/version.h"
#include "base/whole_file.h"
#include "batch/runner.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/image_options.h"
#include "cli/prediction_options.h"
#include "cli/stop_signals.h"
#include "model/model.h"

namespace orvix::cli {
namespace {

struct BatchOptions {
    batch::JobSources sources;
    ImageOptions image;
    std::string dataDirectory, shard = "1/1";
    batch::StoreUse store = batch::StoreUse::beside;
    int jobs = 0;
    bool quiet = false;
};

const std::map<std::string, batch::StoreUse> storeWords = {{"yes", batch::StoreUse::beside},
                                                           {"no", batch::StoreUse::without},
                                                           {"only", batch::StoreUse::alone}};

/// What a batch says on standard error. A line that a full pipe does not take is left out: nobody
/// reads it, and the batch must not wait for that.
class BatchTalk {
  public:
    explicit BatchTalk(bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO) == 1) {}

    void say(const std::string& line) { send(clearance() + programName + ": " + line + "\n"); }
    void hear(const batch::Failure& failure) {
        if (!quiet_ && ++failures_ <= shownFailures) {
            say(failure.name + ": " + failure.reason);
        }
    }
    void hear(const batch::Progress& progress) {
        const auto now = std::chrono::steady_clock::now();
        if (quiet_ || now - last_ < (terminal_ ? std::chrono::milliseconds(200) : plainPause_)) {
            return;
        }
        last_ = now;
        if (terminal_) {
            send("\r\033[K" + batch::progressText(progress).substr(0, widest));
            shown_ = true;
        } else {
            say(batch::progressText(progress));
            // Long batches fill logs slowly.
            plainPause_ = std::min(plainPause_ * 2, std::chrono::milliseconds(60000));
        }
    }

  private:
    static constexpr int shownFailures = 20;
    static constexpr std::size_t widest = 78, safePipe = 4096;

    std::string clearance() {
        const std::string text = shown_ ? "\r\033[K" : "";
        shown_ = false;
        return text;
    }
    static void send(const std::string& text) {
        pollfd watched{STDERR_FILENO, POLLOUT, 0};
        if (poll(&watched, 1, 0) == 1 && (watched.revents & POLLOUT) != 0) {
            writeAll(STDERR_FILENO, std::string_view(text).substr(0, safePipe));
        }
    }

    bool quiet_, terminal_, shown_ = false;
    int failures_ = 0;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
    std::chrono::milliseconds plainPause_{5000};
};

ExitStatus runBatchCommand(const BatchOptions& options) {
    if (options.sources.output.empty()) {
        throw CLI::ValidationError("--output", "the name of the directory of the results is empty");
    }
    if (options.sources.inputs.empty() && options.sources.manifest.empty()) {
        throw CLI::RequiredError("INPUT or --manifest");
    }
    const DataDirectory data = findDataDirectory(dataPlaces(options.dataDirectory));
    const StopSignals signals;
    batch::Plan plan;
    plan.shard = batch::parseShard(options.shard);
    plan.jobs = batch::jobsOf(plan.shard, batch::listJobs(options.sources));
    plan.output = options.sources.output;
    plan.store = options.store;
    plan.data = {data.path, data.place};
    plan.threads = options.jobs > 0 ? options.jobs : availableThreads();
    plan.stop = signals.token();
    BatchTalk talk(options.quiet);
    batch::Listener listener;
    listener.progress = [&](const batch::Progress& progress) { talk.hear(progress); };
    listener.failure = [&](const batch::Failure& failure) { talk.hear(failure); };
    const batch::Progress end = batch::runBatch(plan, modelFor(options.image), listener);
    if (!options.quiet) {
        talk.say(batch::progressText(end) + "; results in " + plan.output);
        if (end.failed > 0) {
            talk.say("failed jobs and their reasons: " + plan.output + "/" +
                     batch::failuresTableName(plan.shard.suffix()));
        }
    }
    signals.check();
    return end.failed > 0 ? ExitStatus::someFailed : ExitStatus::done;
}

}  // namespace

void addBatchCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<BatchOptions>();
    batch::JobSources& sources = options->sources;
    command
        .add_option("INPUT", sources.inputs,
                    "Shift files, directories of them, or patterns in quotation marks")
        ->type_name("");
    command.add_option("-o,--output", sources.output, "Directory of the results")
        ->required()
        ->type_name("DIR");
    command
        .add_option("--manifest", sources.manifest,
                    "File with a job in each line: shift file, name (or -), options of predict")
        ->type_name("FILE");
    command.add_option("--jobs", options->jobs, "Proteins at a time; one a processor if absent")
        ->check(CLI::Range(1, 1024))
        ->type_name("N");
    command.add_option("--shard", options->shard, "Only the K-th of N parts of the jobs")
        ->type_name("K/N");
    command
        .add_option_function<std::string>(
            "--store", [options](const std::string& word) { options->store = storeWords.at(word); },
            "predictions.sqlite: yes (beside the directories), only (instead of them), no")
        ->check(CLI::IsMember(storeWords))
        ->type_name("yes|only|no")
        ->default_str("yes");
    command.add_flag("--quiet", options->quiet, "Say nothing but errors that end the batch");
    addDataOption(command, options->dataDirectory);
    addImageOptions(command, options->image);
    addPredictionOptions(command, sources.options);
    command.footer(
        "The same command goes on where an earlier one ended. Exit status: 0 done, 5 some jobs "
        "failed (failures.tsv).");
    command.callback([options, &status] {
        options->sources.readOptions = [options](const std::vector<std::string>& words) {
            return readPredictionOptions(options->sources.options, words);
        };
        status = runBatchCommand(*options);
    });
}

}  // namespace orvix::cli
