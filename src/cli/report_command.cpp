// `orvix report`: the page of one prediction, or the pages and the index of a directory of many.

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

#include "base/version.h"
#include "base/whole_file.h"
#include "batch/store_index.h"
#include "cli/command.h"
#include "cli/output_options.h"
#include "cli/prediction_page.h"
#include "cli/writing_time.h"
#include "report/page_record.h"
#include "report/pages.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

namespace fs = std::filesystem;

struct ReportOptions {
    std::string input;
    std::optional<std::string> output;
    std::string comparison;
    bool indexOnly = false;
};

/// Time of the last change of a file; empty where it is not known.
std::string changeTime(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? timeText(status.st_mtime) + "Z" : "";
}

void writePage(const std::string& source, const std::string& text, const std::string& output,
               const std::string& comparison = {}) {
    writeWholeFile(output, predictionPage(text, source, changeTime(source), comparison));
}

/// The directories below `top` that hold a results file, in the order of their names; hidden ones
/// are unfinished runs.
std::vector<fs::path> predictionsBelow(const fs::path& top) {
    std::vector<fs::path> found;
    std::error_code error;
    fs::recursive_directory_iterator entry(top, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (!entry->is_directory(ignored)) {
            continue;
        }
        const bool hidden = entry->path().filename().string()[0] == '.';
        const bool prediction =
            !hidden && fs::exists(entry->path() / results::resultsFile, ignored);
        if (prediction) {
            found.push_back(entry->path());
        }
        if (hidden || prediction) {
            entry.disable_recursion_pending();
        }
    }
    if (error) {
        throw InputRejected(top.string() + ": " + error.message());
    }
    std::sort(found.begin(), found.end());
    return found;
}

/// The stores of a batch, or of its parts, in its directory.
std::vector<fs::path> storesIn(const fs::path& top) {
    std::vector<fs::path> found;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(top, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("predictions") && entry.path().extension() == ".sqlite") {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

/// The part of a record of results that an index is made of; the rest, most of the text, is passed
/// over. Throws InputRejected as the reader of results does.
nlohmann::ordered_json indexPart(const std::string& text, const std::string& source) {
    using Json = nlohmann::ordered_json;
    static const std::set<std::string, std::less<>> passedOver = {
        "map",    "clusters",         "matches",     "matched_shifts",
        "shifts", "secondary_shifts", "referencing", "shift_limits"};
    Json record;
    try {
        record = Json::parse(text, [](int, Json::parse_event_t event, Json& value) {
            return event != Json::parse_event_t::key ||
                   passedOver.count(value.get_ref<const std::string&>()) == 0;
        });
    } catch (const Json::exception& error) {
        throw InputRejected(source + ": no JSON text: " + error.what());
    }
    results::parseResults(record.dump(-1, ' ', false, Json::error_handler_t::replace), source);
    return record;
}

/// The rows of an index while they are gathered.
struct IndexRows {
    std::vector<nlohmann::ordered_json> entries;
    std::vector<report::FailedInput> failures;
    std::size_t unreadable = 0;
};

/// Path of a page from the directory of the index; empty for a page that is not there.
std::string linkTo(const fs::path& page, const fs::path& home) {
    return fs::exists(page) ? fs::absolute(page)
                                  .lexically_normal()
                                  .lexically_relative(home.lexically_normal())
                                  .generic_string()
                            : std::string();
}

/// What a batch that was asked for the index alone has in its stores; nothing of others.
batch::StoreIndex storedIndex(const fs::path& top, bool asked) {
    batch::StoreIndex all;
    for (const fs::path& store : asked ? storesIn(top) : std::vector<fs::path>()) {
        batch::StoreIndex one = batch::readStoreIndex(store.string());
        all.proteins.merge(one.proteins);
        all.failures.insert(all.failures.end(), one.failures.begin(), one.failures.end());
    }
    return all;
}

void addDirectory(const fs::path& directory, const std::string& name, const fs::path& home,
                  bool indexOnly, IndexRows& rows) {
    const std::string source = (directory / results::resultsFile).string();
    const fs::path page = directory / pageFile;
    try {
        const std::string text = readText(source);
        const nlohmann::ordered_json record = indexPart(text, source);
        if (!indexOnly) {
            writePage(source, text, page.string());
        }
        rows.entries.push_back(report::indexEntry(record, name, linkTo(page, home)));
    } catch (const InputRejected& error) {
        std::cerr << programName << ": " << error.what() << '\n';
        rows.failures.push_back({name, error.what()});
        ++rows.unreadable;
    }
}

ExitStatus writeIndex(const ReportOptions& options) {
    const fs::path top(options.input);
    const std::vector<fs::path> directories = predictionsBelow(top);
    // Pages are made of whole records, so the stores serve where there are none to make.
    batch::StoreIndex stored = storedIndex(top, options.indexOnly || directories.empty());
    if (directories.empty() && stored.proteins.empty()) {
        throw InputRejected(options.input + ": no " + std::string(results::resultsFile) +
                            " in it nor in a directory below it");
    }
    const std::string output = options.output.value_or((top / "index.html").string());
    requireOutput(output, {});
    const fs::path home = fs::absolute(output).parent_path();
    IndexRows rows;
    for (const fs::path& directory : directories) {
        const std::string name = directory.lexically_relative(top).generic_string();
        if (const auto found = stored.proteins.find(name); found != stored.proteins.end()) {
            rows.entries.push_back(
                report::indexEntry(found->second, name, linkTo(directory / pageFile, home)));
            stored.proteins.erase(found);
        } else {
            addDirectory(directory, name, home, options.indexOnly, rows);
        }
    }
    for (const auto& [name, record] : stored.proteins) {
        rows.entries.push_back(report::indexEntry(record, name, ""));
    }
    for (const batch::Failure& failure : stored.failures) {
        rows.failures.push_back({failure.name, failure.reason});
    }
    const std::size_t count = rows.entries.size();
    writeWholeFile(
        output, report::pageWithRecord(
                    report::indexPage,
                    report::indexRecord(std::move(rows.entries), rows.failures, options.input,
                                        {programName, programVersion(), writingTime() + "Z", ""})));
    std::cerr << programName << ": " << output << ": " << count << " predictions";
    if (rows.unreadable > 0) {
        std::cerr << ", " << rows.unreadable << " that can't be read";
    }
    std::cerr << '\n';
    return rows.unreadable == 0 ? ExitStatus::done : ExitStatus::inputRejected;
}

ExitStatus makeReport(const ReportOptions& options) {
    std::error_code ignored;
    const std::string source = results::resultsPath(options.input);
    if (fs::is_directory(options.input, ignored) && !fs::exists(source, ignored)) {
        if (!options.comparison.empty()) {
            throw CLI::ValidationError("--compare", "is for a single prediction");
        }
        return writeIndex(options);
    }
    if (options.indexOnly) {
        throw CLI::ValidationError("--index-only", options.input + " is a single prediction");
    }
    const std::string output =
        options.output.value_or((fs::path(source).parent_path() / pageFile).string());
    requireOutput(output, {source});
    if (!options.comparison.empty()) {
        requireOutput(output, {options.comparison});
    }
    writePage(source, readText(source), output, options.comparison);
    std::cerr << programName << ": " << output << '\n';
    return ExitStatus::done;
}

}  // namespace

void addReportCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<ReportOptions>();
    command
        .add_option("RESULTS", options->input,
                    "Directory of orvix predict or its results.json; or a directory with many of "
                    "them, which gets a page for each and an index")
        ->required()
        ->type_name("");
    command
        .add_option("-o,--output", options->output,
                    "Page to write (default: report.html beside results.json, index.html in the "
                    "directory of many)")
        ->type_name("FILE");
    command
        .add_option("--compare", options->comparison,
                    "Add the models of this record of orvix compare --json to the page")
        ->type_name("FILE");
    command.add_flag("--index-only", options->indexOnly,
                     "Of many predictions write the index alone, with links to pages that exist");
    command.callback([options, &status] { status = makeReport(*options); });
}

}  // namespace orvix::cli
