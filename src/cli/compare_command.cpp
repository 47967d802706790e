// `orvix compare`: models of a structure against a finished prediction.

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <memory>

#include "base/version.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/output_options.h"
#include "compare/comparison_file.h"
#include "compare/comparison_text.h"
#include "jobs/structure_file.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct CompareOptions {
    std::string results;
    std::vector<std::string> models;
    std::optional<std::string> record, table;
    bool allChains = false;
    compare::RankingRules rules;
};

/// Residue number -> letter, over the whole sequence of a prediction.
std::map<int, std::string> sequenceOf(const results::FinishedPrediction& prediction) {
    std::map<int, std::string> sequence;
    for (int number = prediction.firstResidue; number <= prediction.lastResidue(); ++number) {
        sequence[number] = std::string(1, prediction.letter(number));
    }
    return sequence;
}

std::vector<compare::Model> readModels(const CompareOptions& options,
                                       const results::FinishedPrediction& prediction) {
    const std::map<int, std::string> sequence = sequenceOf(prediction);
    std::vector<compare::Model> models;
    for (const std::string& file : options.models) {
        for (const jobs::PlacedModel& one : jobs::placedModels(
                 file, sequence,
                 options.allChains ? jobs::ChainChoice::all : jobs::ChainChoice::best)) {
            models.push_back({file, one.model, one.chain, one.placement,
                              compare::modelResidues(*one.structure)});
        }
    }
    return models;
}

void compareWith(const CompareOptions& options) {
    const std::string source = results::resultsPath(options.results);
    std::vector<std::string> inputs = options.models;
    inputs.push_back(source);
    if (options.record) {
        requireOutput(*options.record, inputs, "--json");
    }
    if (options.table) {
        requireOutput(*options.table, inputs, "--table");
        if (options.record && sameFile(*options.record, *options.table)) {
            throw CLI::ValidationError("--table", "is the file of --json");
        }
    }
    const results::FinishedPrediction prediction = results::readFinishedPrediction(source);
    const compare::Comparison comparison =
        compare::compareModels(prediction, readModels(options, prediction), options.rules);
    if (options.record) {
        writeWholeFile(*options.record, compare::comparisonRecord(prediction, comparison, source));
    }
    if (options.table) {
        writeWholeFile(*options.table, compare::comparisonTable(prediction, comparison));
    }
    writeResult(compare::comparisonText(prediction, comparison));
}

}  // namespace

void addCompareCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<CompareOptions>();
    command
        .add_option("RESULTS", options->results, "Directory of orvix predict or its results.json")
        ->required()
        ->type_name("");
    command
        .add_option("MODEL", options->models,
                    "Structures (PDB or mmCIF, gzip too), each with all its models")
        ->required()
        ->type_name("");
    command.add_option("--json", options->record, "Write the comparison as a JSON record")
        ->type_name("FILE");
    command
        .add_option("--table", options->table,
                    "Write a table of all residues and models, tab separated")
        ->type_name("FILE");
    command.add_flag("--all-chains", options->allChains,
                     "Take each chain that is the protein as a model, not the best of each model");
    command.add_option("--draws", options->rules.draws, "Draws for the errors of the ranks")
        ->check(CLI::Range(100, 1000000))
        ->type_name("N")
        ->capture_default_str();
    command.add_option("--block", options->rules.block, "Neighbouring residues drawn together")
        ->check(CLI::Range(1, 100))
        ->type_name("N")
        ->capture_default_str();
    command.add_option("--seed", options->rules.seed, "Start of the draws")
        ->type_name("N")
        ->capture_default_str();
    command.callback([options, &status] {
        compareWith(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
