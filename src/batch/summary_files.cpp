#include "batch/summary_files.h"

namespace orvix::batch {
namespace {

/// The text as a field of a table with tabs.
std::string field(const std::string& text) {
    std::string plain = text;
    for (char& c : plain) {
        if (c == '\t' || c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    return plain;
}

std::string beginOf(const Job& job) {
    return std::to_string(job.number) + '\t' + field(job.name) + '\t' + field(job.file);
}

const char* word(JobState::State state) {
    return state == JobState::State::done     ? "done"
           : state == JobState::State::failed ? "failed"
                                              : "open";
}

}  // namespace

std::string batchTable(const std::vector<Job>& jobs, const std::vector<JobState>& states) {
    std::string text = "job\tname\tfile\tstate";
    for (const std::string_view name : countNames) {
        text += '\t' + std::string(name);
    }
    text += '\n';
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        text += beginOf(jobs[i]) + '\t' + word(states[i].state);
        for (const int count : states[i].counts) {
            text += '\t';
            if (states[i].state == JobState::State::done) {
                text += std::to_string(count);
            }
        }
        text += '\n';
    }
    return text;
}

std::string failuresTable(const std::vector<Job>& jobs, const std::vector<JobState>& states) {
    std::string text = "job\tname\tfile\treason\n";
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (states[i].state == JobState::State::failed) {
            text += beginOf(jobs[i]) + '\t' + field(states[i].reason) + '\n';
        }
    }
    return text;
}

}  // namespace orvix::batch
