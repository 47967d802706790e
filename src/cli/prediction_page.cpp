#include "cli/prediction_page.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/run_end.h"
#include "base/version.h"
#include "cli/writing_time.h"
#include "compare/comparison_file.h"
#include "report/page_record.h"
#include "report/pages.h"
#include "restraints/restraint_file.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct OfferedFormat {
    const char* word;
    const char* suffix;
    bool cyanaNames;
    void (*write)(const restraints::RestraintFile& file, std::ostream& out);
};
constexpr OfferedFormat offeredFormats[] = {{"cyana", ".aco", true, restraints::writeCyana},
                                            {"cns", ".tbl", false, restraints::writeCns},
                                            {"nef", ".nef", false, restraints::writeNef}};

std::vector<report::RestraintText> restraintTexts(results::FinishedPrediction prediction,
                                                  const std::string& source) {
    restraints::RestraintFile file;
    file.source = source;
    file.prediction = std::move(prediction);
    file.version = programVersion();
    file.created = writingTime();
    file.set = restraints::makeRestraints(file.prediction, file.rules);
    std::string stem = std::filesystem::path(file.prediction.inputFile).filename().string();
    stem = stem.substr(0, stem.find('.'));
    if (stem.empty()) {
        stem = "restraints";
    }
    std::vector<report::RestraintText> texts;
    for (const OfferedFormat& format : offeredFormats) {
        file.names = restraints::RestraintNames(format.cyanaNames);
        std::ostringstream text;
        format.write(file, text);
        texts.push_back({format.word, stem + format.suffix, text.str()});
    }
    return texts;
}

}  // namespace

std::string readText(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (!in || !(text << in.rdbuf())) {
        throw InputRejected(file + ": can't be opened for reading, or is empty");
    }
    return text.str();
}

std::string predictionPage(const std::string& text, const std::string& source,
                           const std::string& predicted, const std::string& comparison) {
    // The reader names the place of a fault; only what it takes becomes a page.
    results::FinishedPrediction prediction = results::parseResults(text, source);
    nlohmann::ordered_json models;
    if (!comparison.empty()) {
        models = compare::parseComparison(readText(comparison), comparison, prediction);
    }
    return report::pageWithRecord(
        report::proteinPage,
        report::proteinRecord(
            nlohmann::ordered_json::parse(text), restraintTexts(std::move(prediction), source),
            {programName, programVersion(), writingTime() + "Z", predicted}, std::move(models)));
}

std::string checkPage(const nlohmann::ordered_json& record) {
    return report::pageWithRecord(
        report::checkPage,
        report::checkRecord(record, {programName, programVersion(), writingTime() + "Z", ""}));
}

}  // namespace orvix::cli
