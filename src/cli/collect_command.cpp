#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "batch/collect.h"
#include "cli/command.h"
#include "cli/output_options.h"

namespace orvix::cli {
namespace {

struct CollectOptions {
    std::vector<std::string> stores;
    std::string output;
    std::pair<std::string, std::string> exported;  ///< format and directory
};

const std::map<std::string, batch::ExportFormat> formats = {{"csv", batch::ExportFormat::csv},
                                                            {"jsonl", batch::ExportFormat::jsonl}};

void collect(const CollectOptions& options) {
    const auto& [word, directory] = options.exported;
    if (options.output.empty() && word.empty()) {
        throw CLI::RequiredError("--output or --export");
    }
    if (options.output.empty() && options.stores.size() > 1) {
        throw CLI::ValidationError("--export", "several stores are joined first: name --output");
    }
    const auto format = formats.find(word);
    if (!word.empty() && (format == formats.end() || directory.empty())) {
        throw CLI::ValidationError("--export", "csv or jsonl, and a directory");
    }
    if (!options.output.empty()) {
        requireOutput(options.output, options.stores);
        batch::collectStores(options.stores, options.output);
    }
    if (!word.empty()) {
        batch::exportStore(options.output.empty() ? options.stores.front() : options.output,
                           format->second, directory);
    }
}

}  // namespace

void addCollectCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<CollectOptions>();
    command.add_option("STORE", options->stores, "Stores of a batch and its parts")
        ->required()
        ->type_name("");
    command.add_option("-o,--output", options->output, "Store that holds all of them")
        ->type_name("FILE");
    command
        .add_option("--export", options->exported,
                    "Write each table of the store to a file of its own in DIR")
        ->type_name("csv|jsonl DIR");
    command.callback([options, &status] {
        collect(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
