#include "compare/comparison_file.h"

#include <algorithm>
#include <cstddef>

#include "base/run_end.h"
#include "base/version.h"
#include "compare/dssp.h"
#include "results/gather.h"
#include "results/record_reader.h"
#include "results/record_writer.h"

namespace orvix::compare {
namespace {

using Json = nlohmann::ordered_json;

Json number(const std::optional<double>& value, int decimals) {
    const std::optional<double> printed =
        value ? results::printedNumber(*value, decimals) : std::nullopt;
    return printed ? Json(*printed) : Json();
}

Json flag(const std::optional<bool>& value) {
    return value ? Json(*value) : Json();
}

Json share(const Share& value) {
    return {{"agree", value.part}, {"count", value.whole}};
}

/// Degrees have three decimals, as the angles of the tables.
constexpr int degreeDecimals = 3;

Json rankRecord(const std::optional<Rank>& rank) {
    if (!rank) {
        return {};
    }
    return {{"place", rank->place},
            {"low", rank->low},
            {"high", rank->high},
            {"misfit", number(rank->misfit, degreeDecimals)},
            {"error", number(rank->error, degreeDecimals)},
            {"best_share", number(rank->bestShare, 4)},
            {"not_worse", number(rank->notWorse, 4)}};
}

constexpr const char* residueKeys[] = {
    "resid",     "phi", "psi",     "chi1",           "dssp",
    "deviation", "bad", "rotamer", "rotamer_agrees", "secondary_structure_agrees"};

/// Residues stand as one list for each quantity.
Json residueColumns(const std::map<int, ResidueComparison>& residues) {
    Json columns;
    for (const char* const key : {"resid", "phi", "psi", "chi1", "dssp", "deviation", "bad",
                                  "rotamer", "rotamer_agrees", "secondary_structure_agrees"}) {
        columns[key] = Json::array();
    }
    for (const auto& [resid, one] : residues) {
        columns["resid"].push_back(resid);
        columns["phi"].push_back(number(one.model.phi, degreeDecimals));
        columns["psi"].push_back(number(one.model.psi, degreeDecimals));
        columns["chi1"].push_back(number(one.model.chi1, degreeDecimals));
        columns["dssp"].push_back(std::string(1, one.model.dssp));
        columns["deviation"].push_back(number(one.deviation, degreeDecimals));
        columns["bad"].push_back(flag(one.far));
        columns["rotamer"].push_back(one.rotamer.empty() ? Json() : Json(one.rotamer));
        columns["rotamer_agrees"].push_back(flag(one.rotamerAgrees));
        columns["secondary_structure_agrees"].push_back(flag(one.stateAgrees));
    }
    return columns;
}

/// A text in a cell of a table.
std::string cell(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text.empty() ? "." : text;
}

std::string cell(const std::optional<double>& value) {
    const Json printed = number(value, degreeDecimals);
    return printed.is_null() ? "." : printed.dump();
}

std::string cell(const std::optional<bool>& value) {
    return !value ? "." : *value ? "1" : "0";
}

void requireResidue(const results::RecordPlace& place,
                    const results::FinishedPrediction& prediction) {
    if (prediction.residues.count(place.residueNumber()) == 0) {
        place.reject("a residue of the prediction");
    }
}

/// What a page takes from a model has to be there and of its kind.
void requireModel(const results::RecordPlace& model,
                  const results::FinishedPrediction& prediction) {
    for (const char* const key : {"file", "chain", "placement"}) {
        model[key].text();
    }
    model["number"].integer();
    for (const char* const key : {"strong", "rotamers", "secondary_structure"}) {
        model[key]["agree"].integer();
        model[key]["count"].integer();
    }
    for (const char* const key : {"phi_rmsd", "psi_rmsd"}) {
        model[key].number();
    }
    if (const results::RecordPlace rank = model["rank"]; !rank.isNull()) {
        for (const char* const key : {"place", "low", "high"}) {
            rank[key].integer();
        }
        for (const char* const key : {"misfit", "error", "best_share"}) {
            rank[key].number();
        }
    }
    const results::RecordPlace columns = model["residues"];
    const results::RecordPlace resids = columns["resid"];
    for (const char* const key : residueKeys) {
        if (columns[key].list().size() != resids.size()) {
            columns[key].reject("a list of " + std::to_string(resids.size()) + " values");
        }
    }
    for (std::size_t i = 0; i < resids.size(); ++i) {
        requireResidue(resids[i], prediction);
        for (const char* const key : {"phi", "psi", "deviation"}) {
            columns[key][i].number();
        }
    }
}

}  // namespace

std::string comparisonRecord(const results::FinishedPrediction& prediction,
                             const Comparison& comparison, const std::string& source) {
    Json record;
    record["schema"] = comparisonSchema;
    record["schema_version"] = comparisonVersion;
    record["program"] = {{"name", programName}, {"version", programVersion()}};
    record["results"] = {{"file", source},
                         {"title", prediction.title},
                         {"sequence", prediction.sequence},
                         {"first_residue", prediction.firstResidue}};
    record["strong"] = comparison.strong;
    record["generous"] = comparison.generous;
    record["all_disagree"] = comparison.allDisagree;
    record["ranking"] = {{"residues", comparison.ranked},
                         {"draws", comparison.rules.draws},
                         {"block", comparison.rules.block},
                         {"seed", comparison.rules.seed},
                         {"deviation_cap", deviationCap}};
    record["models"] = Json::array();
    for (const ModelComparison& one : comparison.models) {
        Json& model = record["models"].emplace_back();
        model["file"] = one.model.file;
        model["number"] = one.model.number;
        model["chain"] = one.model.chain;
        model["placement"] = one.model.placement;
        model["rank"] = rankRecord(one.rank);
        model["strong"] = share(one.strong);
        model["trusted"] = share(one.trusted);
        model["phi_rmsd"] = number(one.phiRmsd, degreeDecimals);
        model["psi_rmsd"] = number(one.psiRmsd, degreeDecimals);
        model["rotamers"] = share(one.rotamers);
        model["secondary_structure"] = share(one.states);
        model["residues"] = residueColumns(one.residues);
    }
    return results::recordText(record);
}

std::string comparisonTable(const results::FinishedPrediction& prediction,
                            const Comparison& comparison) {
    std::string text =
        "resid\tresname\tclass\tphi\tpsi\trotamer\tss\tmodel\tfile\tnumber\tchain\tmodel_phi\t"
        "model_psi\tdeviation\tbad\tmodel_chi1\tmodel_rotamer\trotamer_agrees\tdssp\tmodel_ss\t"
        "ss_agrees\n";
    for (const auto& [resid, residue] : prediction.residues) {
        const std::string predicted =
            std::to_string(resid) + '\t' + residue.label + '\t' + cell(residue.classWord) + '\t' +
            cell(residue.phi) + '\t' + cell(residue.psi) + '\t' +
            cell(residue.chi1 ? residue.chi1->rotamer : std::string()) + '\t' +
            cell(residue.structure ? residue.structure->state : std::string());
        for (std::size_t i = 0; i < comparison.models.size(); ++i) {
            const ModelComparison& model = comparison.models[i];
            const auto found = model.residues.find(resid);
            if (found == model.residues.end()) {
                continue;
            }
            const ResidueComparison& one = found->second;
            text += predicted;
            for (const std::string& value :
                 {std::to_string(i + 1), cell(model.model.file), std::to_string(model.model.number),
                  cell(model.model.chain), cell(one.model.phi), cell(one.model.psi),
                  cell(one.deviation), cell(one.far), cell(one.model.chi1), cell(one.rotamer),
                  cell(one.rotamerAgrees), std::string(1, one.model.dssp),
                  std::string(1, threeState(one.model.dssp)), cell(one.stateAgrees)}) {
                text += '\t' + value;
            }
            text += '\n';
        }
    }
    return text;
}

nlohmann::ordered_json parseComparison(const std::string& text, const std::string& name,
                                       const results::FinishedPrediction& prediction) {
    nlohmann::json document;
    try {
        document = nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception& error) {
        throw InputRejected(name + ": no JSON text: " + error.what());
    }
    const results::RecordPlace root(name, document);
    if (root["schema"].value() != comparisonSchema) {
        root["schema"].reject("\"" + std::string(comparisonSchema) + "\"");
    }
    if (root["schema_version"].value() != comparisonVersion) {
        root["schema_version"].reject(std::to_string(comparisonVersion));
    }
    const results::RecordPlace of = root["results"];
    if (of["sequence"].text() != prediction.sequence ||
        of["first_residue"].integer() != prediction.firstResidue) {
        throw InputRejected(name + ": is a comparison with another prediction");
    }
    const results::RecordPlace far = root["all_disagree"];
    for (std::size_t i = 0; i < far.list().size(); ++i) {
        requireResidue(far[i], prediction);
    }
    root["ranking"]["residues"].list();
    root["ranking"]["draws"].integer();
    const results::RecordPlace models = root["models"];
    for (std::size_t i = 0; i < models.list().size(); ++i) {
        requireModel(models[i], prediction);
    }
    return Json::parse(text);
}

}  // namespace orvix::compare
