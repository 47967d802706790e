#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>

#include "base/version.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/output_options.h"
#include "cli/writing_time.h"
#include "restraints/restraint_file.h"
#include "results/results_file.h"

namespace orvix::cli {

namespace {

struct ExportOptions {
    std::string input, format;
    std::optional<std::string> output;
    std::vector<std::string> classes = {"Strong"};
    std::vector<std::string> nameEntries;
    double spreadFactor = 2.0, minimum = 20.0;
    bool withChi1 = true, ambiguous = false;
    std::string chi1Centre = "rotamer", numbering = "seq", segment, chain = "A";
};

const std::map<std::string, restraints::RestraintFormat> formatWords = {
    {"cyana", restraints::RestraintFormat::cyana},
    {"cns", restraints::RestraintFormat::cns},
    {"nef", restraints::RestraintFormat::nef},
    {"nmrstar", restraints::RestraintFormat::nmrStar}};
const std::map<std::string, restraints::RestraintFormat> formatSuffixes = {
    {".aco", restraints::RestraintFormat::cyana},
    {".tbl", restraints::RestraintFormat::cns},
    {".nef", restraints::RestraintFormat::nef},
    {".str", restraints::RestraintFormat::nmrStar}};

[[noreturn]] void usageError(const std::string& option, const std::string& text) {
    throw CLI::ValidationError(option, text);
}

restraints::RestraintFormat chosenFormat(const ExportOptions& options) {
    if (const auto found = formatWords.find(options.format); found != formatWords.end()) {
        return found->second;
    }
    if (!options.format.empty()) {
        usageError("--format", "'" + options.format + "' is none of cyana, cns, nef, nmrstar");
    }
    const auto found =
        formatSuffixes.find(std::filesystem::path(options.output.value_or("")).extension());
    if (found == formatSuffixes.end()) {
        usageError("--format", "say which: cyana, cns, nef or nmrstar");
    }
    return found->second;
}

restraints::RestraintRules chosenRules(const ExportOptions& options) {
    restraints::RestraintRules rules;
    rules.classes.clear();
    for (const std::string& word : options.classes) {
        if (word != "Strong" && word != "Generous") {
            usageError("--classes", "'" + word +
                                        "' can't be restrained; only residues of the classes "
                                        "Strong and Generous can");
        }
        rules.classes.insert(word);
    }
    if (!std::isfinite(options.spreadFactor) || options.spreadFactor < 0.0) {
        usageError("--k", "expected a number of 0 or more");
    }
    // The least that does not print as a point.
    constexpr double least = 0.001;
    if (!(options.minimum >= least && options.minimum < 180.0)) {
        usageError("--min", "expected degrees of 0.001 or more and below 180");
    }
    rules.spreadFactor = options.spreadFactor;
    rules.minimum = options.minimum;
    rules.withChi1 = options.withChi1;
    rules.ambiguous = options.ambiguous;
    rules.chi1Centre = options.chi1Centre == "angle" ? restraints::Chi1Centre::angle
                                                     : restraints::Chi1Centre::rotamer;
    return rules;
}

restraints::RestraintNames chosenNames(const ExportOptions& options,
                                       restraints::RestraintFormat format) {
    restraints::RestraintNames names(format == restraints::RestraintFormat::cyana);
    for (const std::string& entry : options.nameEntries) {
        try {
            names.addEntry(entry);
        } catch (const std::invalid_argument& error) {
            usageError("--name-map", error.what());
        }
    }
    return names;
}

void checkIdentifier(const char* option, const std::string& text, std::size_t longest) {
    const bool fits =
        text.size() <= longest && std::all_of(text.begin(), text.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-';
        });
    if (!fits) {
        usageError(option, "expected at most " + std::to_string(longest) +
                               " letters, digits, _ or -, found '" + text + "'");
    }
}

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
                const ExportOptions& options) {
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

void writeRestraintFile(const restraints::RestraintFile& file, restraints::RestraintFormat format,
                        std::ostream& out) {
    switch (format) {
        case restraints::RestraintFormat::cyana:
            return restraints::writeCyana(file, out);
        case restraints::RestraintFormat::cns:
            return restraints::writeCns(file, out);
        case restraints::RestraintFormat::nef:
            return restraints::writeNef(file, out);
        case restraints::RestraintFormat::nmrStar:
            return restraints::writeNmrStar(file, out);
    }
}

void runExport(const ExportOptions& options) {
    const restraints::RestraintFormat format = chosenFormat(options);
    restraints::RestraintFile file;
    file.rules = chosenRules(options);
    file.names = chosenNames(options, format);
    checkIdentifier("--segid", options.segment, 4);
    checkIdentifier("--chain", options.chain, 8);
    file.segment = options.segment;
    file.chain = options.chain;
    file.numbering =
        options.numbering == "auth" ? restraints::Numbering::author : restraints::Numbering::table;
    file.version = programVersion();
    file.created = writingTime();

    file.source = results::resultsPath(options.input);
    file.prediction = results::readFinishedPrediction(file.source);
    for (const auto& [number, name] : file.names.numbered()) {
        if (!file.prediction.inSequence(number)) {
            usageError("--name-map", "no residue " + std::to_string(number) + " in the sequence");
        }
    }
    if (options.output) {
        requireOutput(*options.output, {file.source});
    }
    file.set = restraints::makeRestraints(file.prediction, file.rules,
                                          file.names.namedUnknown(file.prediction));
    restraints::checkNumbering(file, format);

    std::ostringstream text;
    writeRestraintFile(file, format, text);
    if (options.output) {
        writeWholeFile(*options.output, text.str());
    } else {
        writeResult(text.str());
    }
    writeNotes(file, format, options);
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
    command
        .add_option("--classes", options->classes,
                    "Classes to restrain: Strong, or Strong,Generous")
        ->delimiter(',')
        ->capture_default_str();
    command.add_option("--k", options->spreadFactor, "Half width is at least K times the spread")
        ->capture_default_str();
    command.add_option("--min", options->minimum, "Least half width in degrees")
        ->capture_default_str();
    command.add_flag("--chi1,!--no-chi1", options->withChi1, "Restrain chi1 (default) or not");
    command.add_flag("--ambiguous", options->ambiguous,
                     "Residues of class Warn whose matches fall in two clear islands: a choice of "
                     "both, where the format holds one");
    command
        .add_option("--chi1-centre", options->chi1Centre,
                    "Centre of chi1 intervals: rotamer (-60, 60, 180) or angle")
        ->check(CLI::IsMember({"rotamer", "angle"}))
        ->capture_default_str();
    command
        .add_option("--name-map", options->nameEntries,
                    "Residue names as KEY=NAME: HIS=HIST, c=CYS, 57=HIS+")
        ->delimiter(',');
    command
        .add_option("--numbering", options->numbering,
                    "Residue numbers: seq (of the input table) or auth (the author's)")
        ->check(CLI::IsMember({"seq", "auth"}))
        ->capture_default_str();
    command.add_option("--segid", options->segment, "Segment identifier of cns files");
    command.add_option("--chain", options->chain, "Chain code of nef and nmrstar files")
        ->capture_default_str();
    command.callback([options, &status] {
        runExport(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
