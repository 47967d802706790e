#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>

#include "base/version.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/output_options.h"
#include "cli/restraint_options.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct ExportOptions {
    std::string input, format;
    std::optional<std::string> output;
    RestraintOptions restraints;
};

std::string listed(const std::vector<int>& residues) {
    std::string list;
    for (const int residue : residues) {
        list += (list.empty() ? "" : " ") + std::to_string(residue);
    }
    return list;
}

int residuesOfOtherClasses(const restraints::RestraintFile& file) {
    int count = 0;
    for (const auto& [number, residue] : file.prediction.residues) {
        count += file.rules.classes.count(residue.classWord) == 0 ? 1 : 0;
    }
    return count;
}

void writeNotes(const restraints::RestraintFile& file, restraints::RestraintFormat format,
                const RestraintOptions& options) {
    const auto note = [](const std::string& text) { std::cerr << "orvix: note: " << text << '\n'; };
    const restraints::RestraintSet& set = file.set;
    std::cerr << programName << ": " << set.restraints.size()
              << " restraints: " << set.count(restraints::Dihedral::phi) << " phi, "
              << set.count(restraints::Dihedral::psi) << " psi, "
              << set.count(restraints::Dihedral::chi1) << " chi1\n";
    if (file.rules.ambiguous) {
        std::vector<int> residues;
        for (const restraints::AmbiguousRestraint& one : set.ambiguous) {
            residues.push_back(one.residue);
        }
        note(std::to_string(residues.size()) + " residues of class Warn with two clear islands" +
             (residues.empty() ? "" : ": " + listed(residues)) +
             (format == restraints::RestraintFormat::cyana
                  ? "; not restrained, the format holds no alternatives"
                  : ""));
    }
    const int choices =
        format == restraints::RestraintFormat::cyana ? 0 : static_cast<int>(set.ambiguous.size());
    if (const int left = residuesOfOtherClasses(file) - choices; left > 0) {
        note(std::to_string(left) + " residues of other classes, not restrained");
    }
    if (set.restraints.empty()) {
        note("no restraints: no residue of the chosen classes has a usable angle");
    }
    if (!set.endResidues.empty()) {
        note("residues at an end, not restrained: " + listed(set.endResidues));
    }
    if (!set.gapResidues.empty()) {
        note("residues beside a gap of the sequence, the angle across it not restrained: " +
             listed(set.gapResidues));
    }
    if (!set.unknownResidues.empty()) {
        note("residues of unknown type, not restrained (name them by --name-map NUMBER=NAME): " +
             listed(set.unknownResidues));
    }
    if (set.withoutValue > 0) {
        note(std::to_string(set.withoutValue) +
             " angles without a value or an error estimate, not restrained");
    }
    if (set.withoutRotamer > 0) {
        note(std::to_string(set.withoutRotamer) +
             " side chains without a predicted rotamer, chi1 not restrained");
    }
    if (set.wholeCircle > 0) {
        note(std::to_string(set.wholeCircle) +
             " angles whose interval would be the whole circle, not restrained");
    }
    if (!set.outsideRotamer.empty()) {
        note("chi1 angle outside the interval about its rotamer's centre (see --chi1-centre): " +
             listed(set.outsideRotamer));
    }
    if (format != restraints::RestraintFormat::cns && !options.segment.empty()) {
        note("--segid has no place in this format");
    }
    if (format == restraints::RestraintFormat::cns && !options.nameEntries.empty()) {
        note("--name-map changes comments only: the selections of this format name no residues");
    }
}

void runExport(const ExportOptions& options) {
    const restraints::RestraintFormat format =
        restraintFormat(options.format, options.output.value_or(""));
    const std::string source = results::resultsPath(options.input);
    results::FinishedPrediction prediction = results::readFinishedPrediction(source);
    if (options.output) {
        requireOutput(*options.output, {source});
    }
    const restraints::RestraintFile file =
        restraintFile(std::move(prediction), source, format, options.restraints);
    if (options.output) {
        writeWholeFile(*options.output, restraintText(file, format));
    } else {
        writeResult(restraintText(file, format));
    }
    writeNotes(file, format, options.restraints);
}

}  // namespace

void addExportCommand(CLI::App& command, ExitStatus& status) {
    auto options = std::make_shared<ExportOptions>();
    command
        .add_option("prediction", options->input, "results.json, or the directory that holds it")
        ->required()
        ->type_name("DIR|FILE");
    command.add_option("-f,--format", options->format,
                       "cyana, cns, nef or nmrstar; by default from the suffix of the output "
                       "(.aco .tbl .nef .str)");
    command.add_option("-o,--output", options->output, "Output file (default: standard output)")
        ->type_name("FILE");
    addRestraintOptions(command, options->restraints);
    command.callback([options, &status] {
        runExport(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
