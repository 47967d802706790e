#include "cli/restraint_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>

#include "base/version.h"
#include "cli/writing_time.h"

namespace orvix::cli {
namespace {

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

restraints::RestraintRules chosenRules(const RestraintOptions& options) {
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

restraints::RestraintNames chosenNames(const RestraintOptions& options,
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

}  // namespace

void addRestraintOptions(CLI::App& command, RestraintOptions& options) {
    command
        .add_option("--classes", options.classes, "Classes to restrain: Strong, or Strong,Generous")
        ->delimiter(',')
        ->capture_default_str();
    command.add_option("--k", options.spreadFactor, "Half width is at least K times the spread")
        ->capture_default_str();
    command.add_option("--min", options.minimum, "Least half width in degrees")
        ->capture_default_str();
    command.add_flag("--chi1,!--no-chi1", options.withChi1, "Restrain chi1 (default) or not");
    command.add_flag("--ambiguous", options.ambiguous,
                     "Residues of class Warn whose matches fall in two clear islands: a choice of "
                     "both, where the format holds one");
    command
        .add_option("--chi1-centre", options.chi1Centre,
                    "Centre of chi1 intervals: rotamer (-60, 60, 180) or angle")
        ->check(CLI::IsMember({"rotamer", "angle"}))
        ->capture_default_str();
    command
        .add_option("--name-map", options.nameEntries,
                    "Residue names as KEY=NAME: HIS=HIST, c=CYS, 57=HIS+")
        ->delimiter(',');
    command
        .add_option("--numbering", options.numbering,
                    "Residue numbers: seq (of the input table) or auth (the author's)")
        ->check(CLI::IsMember({"seq", "auth"}))
        ->capture_default_str();
    command.add_option("--segid", options.segment, "Segment identifier of cns files");
    command.add_option("--chain", options.chain, "Chain code of nef and nmrstar files")
        ->capture_default_str();
}

restraints::RestraintFormat restraintFormat(const std::string& word, const std::string& file) {
    if (const auto found = formatWords.find(word); found != formatWords.end()) {
        return found->second;
    }
    if (!word.empty()) {
        usageError("--format", "'" + word + "' is none of cyana, cns, nef, nmrstar");
    }
    const auto found = formatSuffixes.find(std::filesystem::path(file).extension());
    if (found == formatSuffixes.end()) {
        usageError("--format", "say which: cyana, cns, nef or nmrstar");
    }
    return found->second;
}

restraints::RestraintFile restraintFile(results::FinishedPrediction prediction,
                                        const std::string& source,
                                        restraints::RestraintFormat format,
                                        const RestraintOptions& options) {
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
    file.source = source;
    file.prediction = std::move(prediction);
    for (const auto& [number, name] : file.names.numbered()) {
        if (!file.prediction.inSequence(number)) {
            usageError("--name-map", "no residue " + std::to_string(number) + " in the sequence");
        }
    }
    file.set = restraints::makeRestraints(file.prediction, file.rules,
                                          file.names.namedUnknown(file.prediction));
    restraints::checkNumbering(file, format);
    return file;
}

std::string restraintText(const restraints::RestraintFile& file,
                          restraints::RestraintFormat format) {
    std::ostringstream out;
    switch (format) {
        case restraints::RestraintFormat::cyana:
            restraints::writeCyana(file, out);
            break;
        case restraints::RestraintFormat::cns:
            restraints::writeCns(file, out);
            break;
        case restraints::RestraintFormat::nef:
            restraints::writeNef(file, out);
            break;
        case restraints::RestraintFormat::nmrStar:
            restraints::writeNmrStar(file, out);
            break;
    }
    return out.str();
}

}  // namespace orvix::cli
