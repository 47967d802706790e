#include "jobs/prediction_job.h"

#include <fstream>
#include <limits>
#include <sstream>

#include "base/numbers.h"
#include "base/text.h"
#include "base/version.h"
#include "base/whole_file.h"
#include "check/check_text.h"
#include "jobs/known_relatives.h"
#include "jobs/placed_reference.h"
#include "model/model.h"
#include "results/gather.h"
#include "results/plain_words.h"
#include "results/results_file.h"

namespace orvix::jobs {
namespace {

constexpr const char* inputTable = "input.tab";
constexpr const char* importReport = "import.txt";
/// More residues of another name than this make the angles of a run worthless.
constexpr std::size_t toleratedMismatches = 4;

Settings settingsOf(const PredictionOptions& options, const RunInput& input,
                    const std::string& data) {
    Settings settings = runSettings(options.preparation, data, input.title);
    if (!options.reference.empty()) {
        settings.refFile = options.reference;
        settings.refTitle = simplifyWhiteSpace(
            options.referenceTitle.empty() ? options.reference : options.referenceTitle);
    }
    settings.offsetCorrect = options.offset;
    settings.clip = !options.noClip;
    settings.s2Limit = 1.0 - textToDouble(options.s2Threshold);
    settings.exclList = simplifyWhiteSpace(options.exclude);
    settings.count = options.count;
    settings.firstResid = options.first.value_or(settings.firstResid);
    settings.lastResid = options.last.value_or(settings.lastResid);
    return settings;
}

std::string logText(const RunInput& input, const DataPlace& data,
                    const results::FinishedSettings& settings, const Prediction& prediction,
                    const std::vector<std::string>& words) {
    std::string text = std::string(programName) + " " + programVersion() + " predict\n";
    text += "Input: " + input.file +
            (input.imported ? ", imported, see " + std::string(importReport) : ", an input table") +
            "\n";
    text += "Data: " + data.path + " (" + data.found + ")\n";
    text += "Settings: " + results::settingsText(settings) + "\n\n";
    for (const std::string& warning : input.tableReport.warnings()) {
        text += "warning: " + warning + "\n";
    }
    for (const Message& message : prediction.messages) {
        text += message.text;
    }
    text += '\n';
    for (const std::string& line : words) {
        text += line + '\n';
    }
    return text;
}

/// Refuses shifts that belong to another sequence before the long part of the run.
void requireMatchingNames(const Prediction& checked, const results::ShiftReport& report,
                          const std::string& file) {
    if (report.mismatches.size() > toleratedMismatches) {
        std::string list;
        for (std::size_t i = 0; i < toleratedMismatches; ++i) {
            const results::NameMismatch& one = report.mismatches[i];
            list += (i > 0 ? ", " : "") + std::to_string(one.residue) + " " + one.tableName +
                    " (sequence " + (one.sequenceName.empty() ? "-" : one.sequenceName) + ")";
        }
        throw InputRejected(
            file + ": the residue names of " + std::to_string(report.mismatches.size()) + " of " +
            std::to_string(checked.seqLength) + " residues are not those of the sequence: " + list +
            ", ...; check the sequence and its first residue");
    }
}

/// Refuses a range of residues that holds none, and notes one that goes beyond the sequence.
void checkRange(const PredictionOptions& options, const Prediction& checked,
                std::vector<std::string>& notes) {
    const int begin = checked.seqFirstResid, end = begin + checked.seqLength - 1;
    const int first = options.first.value_or(begin), last = options.last.value_or(end);
    const auto range = [](int from, int to) {
        return std::to_string(from) + " to " + std::to_string(to);
    };
    const bool outside = first > end || last < begin;
    if (first > last || outside) {
        throw RunEnd(EndReason::usage,
                     "--first, --last: residues " + range(first, last) +
                         (!outside ? " are in the wrong order"
                                   : " are outside of the sequence, " + range(begin, end)));
    }
    if (first < begin || last > end) {
        notes.push_back("the sequence has residues " + range(begin, end) +
                        "; the range is cut to that");
    }
}

/// Corrects the shifts by the offsets of a check beside a prediction, lists them, and says so.
std::string correctReferencing(const std::shared_ptr<const Model>& model, ShiftInput& shifts,
                               const Settings& settings, const RunControl& control,
                               std::vector<results::CorrectedReference>& corrected) {
    Settings alone = settings;
    // The check is for the shifts as they are, and compares with nothing.
    alone.offsetCorrect = false;
    alone.refFile.clear();
    if (!check::hasShiftModel(alone)) {
        throw RunEnd(EndReason::dataDirectory,
                     "--reference auto: " + alone.tabDir + " holds no shift model");
    }
    RunControl quiet = control;
    quiet.listener = nullptr;
    const check::ShiftCheck found = check::checkByPrediction(model, shifts, alone, quiet);
    const check::Offsets offsets = check::offsetsToCorrect(found);
    shifts = check::correctedInput(shifts, offsets);
    const auto add = [&](std::string_view name, const std::optional<check::NucleusOffset>& one) {
        if (one) {
            corrected.push_back({std::string(name), results::printedNumber(one->offset, 3),
                                 results::printedNumber(one->error, 3), one->count});
        }
    };
    add(check::carbonsName, offsets.carbons);
    for (std::size_t atom = 0; atom < check::atomCount; ++atom) {
        add(results::shiftAtoms[atom], offsets.atoms[atom]);
    }
    return check::correctionWords(offsets, found.deuteration.looks);
}

std::vector<ResultFile> resultFiles(const RunInput& input, const Prediction& prediction,
                                    const PredictionOutcome& outcome, std::string log) {
    std::vector<ResultFile> files;
    if (!input.tableText.empty()) {
        files.push_back({inputTable, input.tableText});
    }
    if (input.imported) {
        std::ostringstream report;
        importing::writeImportReport(*input.imported, report);
        files.push_back({importReport, report.str()});
    }
    for (const ResultTable table : resultTables) {
        files.push_back({tableFileName(table), tableText(prediction, table)});
    }
    files.push_back({std::string(results::resultsFile), results::resultsText(outcome.finished)});
    files.push_back({runLogFile, std::move(log)});
    return files;
}

}  // namespace

results::FinishedSettings recordedSettings(const PredictionOptions& options,
                                           const std::string& dataDirectory) {
    results::FinishedSettings settings;
    settings.dataDirectory = dataDirectory;
    settings.reference = options.reference;
    settings.noProton = options.preparation.noProton;
    settings.isotopeCorrection = options.preparation.isotopeCorrection;
    settings.offsetCorrection = options.offset;
    settings.autoReference = options.autoReference;
    settings.keepCysteines = options.preparation.keepCysteines;
    settings.clip = !options.noClip;
    settings.s2Threshold = textToDouble(options.s2Threshold);
    settings.exclude = options.exclude;
    settings.first = options.first;
    settings.last = options.last;
    settings.count = options.count;
    return settings;
}

void requireExclusion(const std::string& exclude, const std::string& dataDirectory) {
    const std::string excluded = simplifyWhiteSpace(exclude);
    if (excluded.empty()) {
        return;
    }
    std::ifstream rows(dataDirectory + "/tab/orvix.tab");
    std::string source, before;
    while (rows >> source) {
        rows.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        if (source != before && excluded.find(source) != std::string::npos) {
            return;
        }
        before.swap(source);
    }
    throw RunEnd(EndReason::usage, "--exclude: no source of the database occurs in \"" + excluded +
                                       "\"; sources are whole words as in the table of matches");
}

PredictionOutcome predictInput(const std::shared_ptr<const Model>& model, const RunInput& input,
                               const PredictionOptions& options, const DataPlace& data,
                               const RunControl& control, bool withFiles) {
    return namingInput(input.file, [&] {
        Settings settings = settingsOf(options, input, data.path);
        PredictionOutcome outcome;
        std::string relatives;
        ShiftInput shifts = input.shifts;
        {
            RunControl quiet = control;
            quiet.listener = nullptr;
            const Prediction checked = checkShifts(model, input.shifts, settings, quiet);
            checkRange(options, checked, outcome.notes);
            requireMatchingNames(
                checked, results::shiftReport(checked, *model->table(checked.settings.ssLimitFile)),
                input.file);
            shifts.reference =
                placedReference(settings.refFile, checked.sequenceAsRead, outcome.notes);
            relatives = findRelatives(*model, checked, options.excludeRelatives, settings);
        }
        std::vector<results::CorrectedReference> corrected;
        std::string referencing;
        if (options.autoReference) {
            referencing = correctReferencing(model, shifts, settings, control, corrected);
        }
        const Prediction prediction = orvix::predict(model, std::move(shifts), settings, control);
        results::ResultsOrigin origin;
        origin.inputFile = input.file;
        if (input.imported) {
            origin.authorNumber = input.imported->authorNumber;
        }
        origin.settings = recordedSettings(options, data.path);
        if (options.excludeRelatives) {
            origin.settings.exclude = settings.exclList;
        }
        outcome.finished = results::finishedPrediction(
            prediction, origin, *model->table(prediction.settings.ssLimitFile));
        outcome.finished.correctedReferences = std::move(corrected);
        outcome.words = results::plainWords(outcome.finished,
                                            input.imported && input.imported->report.deuterated);
        if (!referencing.empty()) {
            outcome.words.push_back(referencing);
        }
        if (!relatives.empty()) {
            outcome.words.push_back(relatives);
        }
        if (withFiles) {
            outcome.files =
                resultFiles(input, prediction, outcome,
                            logText(input, data, origin.settings, prediction, outcome.words));
        }
        return outcome;
    });
}

void writeFiles(const results::OutputDirectory& output, const PredictionOutcome& outcome) {
    for (const ResultFile& file : outcome.files) {
        writeWholeFile(output.file(file.name), file.text);
    }
}

}  // namespace orvix::jobs
