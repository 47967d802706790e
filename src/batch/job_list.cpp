#include "batch/job_list.h"

#include <glob.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "base/run_end.h"
#include "base/text.h"
#include "import/shift_text.h"
#include "results/results_file.h"

namespace orvix::batch {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view shiftEndings[] = {".tab",  ".str",  ".star",   ".nef",
                                             ".prot", ".list", ".shifts", ".csv"};
constexpr std::string_view packedEnding = ".gz";

/// The name without the ending of a packed file.
std::string_view unpackedName(std::string_view name) {
    if (importing::foldLower(name).ends_with(packedEnding)) {
        name.remove_suffix(packedEnding.size());
    }
    return name;
}

bool isPattern(const std::string& input) {
    return input.find_first_of("*?[") != std::string::npos;
}

void searchDirectory(const fs::path& directory, const fs::path& output,
                     std::vector<std::string>& files) {
    std::error_code error;
    const std::size_t before = files.size();
    for (fs::recursive_directory_iterator
             at(directory, fs::directory_options::skip_permission_denied, error),
         end;
         !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename().string();
        std::error_code ignored;
        if (at->is_directory(ignored)) {
            // Tables of results look like input tables.
            if (name.starts_with('.') || fs::exists(at->path() / results::resultsFile, ignored) ||
                (!output.empty() && fs::equivalent(at->path(), output, ignored))) {
                at.disable_recursion_pending();
            }
        } else if (!name.starts_with('.') && at->is_regular_file(ignored) && hasShiftEnding(name)) {
            files.push_back(at->path().string());
        }
    }
    if (error) {
        throw InputRejected(directory.string() + ": can't be read: " + error.message());
    }
    if (files.size() == before) {
        throw InputRejected(directory.string() + ": no shift file in this directory (endings " +
                            [] {
                                std::string list;
                                for (const std::string_view ending : shiftEndings) {
                                    list += (list.empty() ? "" : " ") + std::string(ending);
                                }
                                return list;
                            }() +
                            ", also with .gz)");
    }
}

void matchPattern(const std::string& pattern, const std::string& output,
                  std::vector<std::string>& files) {
    glob_t found{};
    const int code = glob(pattern.c_str(), 0, nullptr, &found);
    const std::vector<std::string> paths(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    if (code != 0) {
        throw InputRejected(pattern + ": no file matches this pattern");
    }
    std::error_code ignored;
    for (const std::string& path : paths) {
        if (fs::is_directory(path, ignored)) {
            searchDirectory(path, output, files);
        } else {
            files.push_back(path);
        }
    }
}

std::vector<std::string> inputFiles(const JobSources& sources) {
    std::vector<std::string> files;
    for (const std::string& input : sources.inputs) {
        std::error_code ignored;
        if (fs::is_directory(input, ignored)) {
            searchDirectory(input, sources.output, files);
        } else if (isPattern(input) && !fs::exists(input, ignored)) {
            matchPattern(input, sources.output, files);
        } else {
            files.push_back(input);
        }
    }
    for (std::string& file : files) {
        file = fs::path(file).lexically_normal().string();
    }
    std::sort(files.begin(), files.end());
    files.erase(std::unique(files.begin(), files.end()), files.end());
    return files;
}

/// Whether a batch keeps files of its own under such names.
bool isReserved(const std::string& name) {
    return name.empty() || name[0] == '.' || name.ends_with(".tsv") || name.ends_with(".sqlite");
}

/// The name of a job from that of its file.
std::string stem(const std::string& file) {
    const fs::path path(file);
    std::string name = fs::path(std::string(unpackedName(path.filename().string()))).stem();
    for (char& c : name) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 32 || code == 127) {
            c = '_';
        }
    }
    if (name.starts_with('.')) {
        name[0] = '_';
    }
    return isReserved(name) ? name + "_" : name;
}

/// Words between blanks; a word may hold blanks between quotation marks.
std::vector<std::string> quotedWords(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    bool inside = false;
    char quote = 0;
    for (const char c : text) {
        if (quote != 0) {
            if (c == quote) {
                quote = 0;
            } else {
                word += c;
            }
        } else if (c == '"' || c == '\'') {
            quote = c;
            inside = true;
        } else if (isSpace(c)) {
            if (inside) {
                words.push_back(std::move(word));
                word.clear();
                inside = false;
            }
        } else {
            word += c;
            inside = true;
        }
    }
    if (quote != 0) {
        throw InputRejected("a quotation mark is not closed");
    }
    if (inside) {
        words.push_back(std::move(word));
    }
    return words;
}

/// The words of a manifest line. With a tab in it, the fields before the second tab may hold
/// blanks.
std::vector<std::string> manifestWords(const std::string& line) {
    if (line.find('\t') == std::string::npos) {
        return quotedWords(line);
    }
    std::vector<std::string> words;
    std::size_t begin = 0;
    for (int field = 0; field < 2 && begin <= line.size(); ++field) {
        const std::size_t end = std::min(line.find('\t', begin), line.size());
        const std::string word = line.substr(begin, end - begin);
        const std::size_t first = word.find_first_not_of(' ');
        words.push_back(first == std::string::npos
                            ? std::string()
                            : word.substr(first, word.find_last_not_of(' ') - first + 1));
        begin = end + 1;
    }
    if (begin < line.size()) {
        for (std::string& word : quotedWords(line.substr(begin))) {
            words.push_back(std::move(word));
        }
    }
    return words;
}

struct ManifestJob {
    Job job;
    int line = 0;
};

std::vector<ManifestJob> readManifest(const JobSources& sources) {
    std::istringstream text(importing::readShiftText(sources.manifest));
    std::vector<ManifestJob> found;
    std::string line;
    for (int number = 1; std::getline(text, line); ++number) {
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') {
            continue;
        }
        try {
            const std::vector<std::string> words = manifestWords(line);
            if (words.front().empty()) {
                throw InputRejected("no file; a line has a file, a name or -, and options");
            }
            ManifestJob one;
            one.line = number;
            one.job.file = words.front();
            // A line may leave the name out.
            const bool named = words.size() > 1 && !words[1].starts_with("--");
            if (named && words[1] != "-" && !words[1].empty()) {
                one.job.name = words[1];
                if (isReserved(words[1]) || words[1].find('/') != std::string::npos) {
                    throw InputRejected(
                        "\"" + words[1] +
                        "\" can't be a name: it holds a slash, begins with a point, or "
                        "ends in .tsv or .sqlite");
                }
            }
            const auto rest = words.begin() + (named ? 2 : 1);
            one.job.options =
                rest == words.end()
                    ? sources.options
                    : sources.readOptions(std::vector<std::string>(rest, words.end()));
            found.push_back(std::move(one));
        } catch (const std::exception& error) {
            throw InputRejected(importing::atLine(sources.manifest, number, error.what()));
        }
    }
    return found;
}

/// Gives names to the jobs that have none and checks the names that were given.
class Names {
  public:
    void take(const ManifestJob& one, const std::string& manifest) {
        if (!one.job.name.empty() && !taken_.insert(one.job.name).second) {
            throw InputRejected(
                importing::atLine(manifest, one.line, "the name " + one.job.name + " comes twice"));
        }
    }
    std::string nameFor(const std::string& file) {
        const std::string base = stem(file);
        std::string name = base;
        std::size_t& last = copies_[base];
        while (!taken_.insert(name).second) {
            last = std::max<std::size_t>(last + 1, 2);
            name = base + "-" + std::to_string(last);
        }
        return name;
    }

  private:
    std::set<std::string> taken_;
    std::map<std::string, std::size_t> copies_;  ///< last number tried for a stem
};

}  // namespace

std::string Shard::suffix() const {
    return count == 1 ? std::string()
                      : "-" + std::to_string(index) + "-of-" + std::to_string(count);
}

Shard parseShard(const std::string& text) {
    Shard shard;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, shard.index);
    bool good = first.ec == std::errc() && first.ptr != end && *first.ptr == '/';
    if (good) {
        const auto second = std::from_chars(first.ptr + 1, end, shard.count);
        good = second.ec == std::errc() && second.ptr == end;
    }
    if (!good || shard.index < 1 || shard.index > shard.count) {
        throw RunEnd(EndReason::usage, "--shard: " + text +
                                           " is no shard; K/N is the K-th of N parts, from 1/N to "
                                           "N/N");
    }
    return shard;
}

bool hasShiftEnding(std::string_view fileName) {
    const std::string name = importing::foldLower(unpackedName(fileName));
    return std::any_of(std::begin(shiftEndings), std::end(shiftEndings),
                       [&](std::string_view ending) {
                           return name.size() > ending.size() && name.ends_with(ending);
                       });
}

std::vector<Job> listJobs(const JobSources& sources) {
    std::vector<Job> all;
    for (const std::string& file : inputFiles(sources)) {
        all.push_back({0, file, "", sources.options});
    }
    Names names;
    if (!sources.manifest.empty()) {
        for (ManifestJob& one : readManifest(sources)) {
            names.take(one, sources.manifest);
            all.push_back(std::move(one.job));
        }
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].number = i + 1;
        if (all[i].name.empty()) {
            all[i].name = names.nameFor(all[i].file);
        }
    }
    if (all.empty()) {
        throw InputRejected(sources.manifest.empty() ? "no inputs"
                                                     : sources.manifest + ": names no job");
    }
    return all;
}

std::vector<Job> jobsOf(const Shard& shard, std::vector<Job> all) {
    if (shard.count == 1) {
        return all;
    }
    std::vector<Job> part;
    for (std::size_t i = shard.index - 1; i < all.size(); i += shard.count) {
        part.push_back(std::move(all[i]));
    }
    return part;
}

}  // namespace orvix::batch
