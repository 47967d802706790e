#include "batch/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "base/numbers.h"
#include "base/run_end.h"
#include "base/whole_file.h"
#include "batch/content_hash.h"

namespace orvix::batch {
namespace {

constexpr const char* journalName = "journal";
/// Where the classes stand among the counts.
constexpr std::size_t firstClass = 2;
constexpr std::array<std::string_view, 6> classWords = {"Strong", "Generous", "Warn",
                                                        "Dyn",    "Bad",      "None"};

std::string checkOf(const std::string& rest) {
    ContentHash hash;
    hash.add(rest);
    return hash.digits().substr(0, 16);
}

std::string lineOf(const JournalEntry& entry) {
    std::string rest = entry.name + '\t' + entry.key;
    for (const int count : entry.counts) {
        rest += '\t' + std::to_string(count);
    }
    return checkOf(rest) + '\t' + rest + '\n';
}

/// False for a line that is not whole.
bool readLine(const std::string& line, JournalEntry& entry) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos || checkOf(line.substr(tab + 1)) != line.substr(0, tab)) {
        return false;
    }
    std::istringstream fields(line.substr(tab + 1));
    std::getline(fields, entry.name, '\t');
    std::getline(fields, entry.key, '\t');
    std::string field;
    for (int& count : entry.counts) {
        std::getline(fields, field, '\t');
        count = textToInt(field);
    }
    return true;
}

}  // namespace

Counts countsOf(const results::FinishedPrediction& finished) {
    Counts counts{};
    counts[0] = static_cast<int>(finished.sequence.size());
    counts[1] = static_cast<int>(finished.residues.size());
    for (const auto& [number, residue] : finished.residues) {
        const std::size_t place = results::placeOf(classWords, residue.classWord);
        if (place < classWords.size()) {
            ++counts[firstClass + place];
        }
    }
    counts[firstClass + classWords.size()] = static_cast<int>(finished.check.outliers.size());
    for (const results::Outlier& outlier : finished.check.outliers) {
        counts.back() += outlier.gross ? 1 : 0;
    }
    return counts;
}

Journal::Journal(const std::string& stateDirectory, const std::string& part)
    : path_(stateDirectory + "/" + journalName + part) {
    std::error_code error;
    std::set<std::string> paths;
    for (const auto& file : std::filesystem::directory_iterator(stateDirectory, error)) {
        if (file.path().filename().string().starts_with(journalName)) {
            paths.insert(file.path().string());
        }
    }
    for (const std::string& path : paths) {
        if (path != path_) {
            readAll(path);
        }
    }
    readAll(path_);
    descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (descriptor_ < 0) {
        throw RunError(path_ + ": can't be opened for writing: " + std::strerror(errno));
    }
    // What follows a line that broke off begins a line of its own.
    struct stat status {};
    char last = '\n';
    if (fstat(descriptor_, &status) == 0 && status.st_size > 0 &&
        pread(descriptor_, &last, 1, status.st_size - 1) == 1 && last != '\n' &&
        !writeAll(descriptor_, "\n")) {
        const int problem = errno;
        close(descriptor_);
        throw RunError(path_ + ": can't be written: " + std::strerror(problem));
    }
}

Journal::~Journal() {
    close(descriptor_);
}

void Journal::readAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        JournalEntry entry;
        if (!file.eof() && readLine(line, entry)) {
            entries_[entry.name] = std::move(entry);
        }
    }
}

const JournalEntry* Journal::find(const std::string& name) const {
    const auto found = entries_.find(name);
    return found == entries_.end() ? nullptr : &found->second;
}

void Journal::append(const std::vector<JournalEntry>& entries) {
    std::string text;
    for (const JournalEntry& entry : entries) {
        text += lineOf(entry);
    }
    if (!writeAll(descriptor_, text) || fdatasync(descriptor_) != 0) {
        throw RunError(path_ + ": can't be written: " + std::strerror(errno));
    }
    for (const JournalEntry& entry : entries) {
        entries_[entry.name] = entry;
    }
}

}  // namespace orvix::batch
