#include "results/results_file.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/run_end.h"
#include "base/version.h"
#include "results/record_reader.h"
#include "results/record_writer.h"

namespace orvix::results {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view checkSchema = "orvix-check";
constexpr int checkVersion = 3;

/// Appends `value` with one key or record on each line; lists of plain values stay on one.
void appendText(std::string& text, const Json& value, std::size_t depth) {
    const bool nested =
        value.is_object() || (value.is_array() && !value.empty() && value.front().is_structured());
    if (!nested || value.empty()) {
        text += value.dump(-1, ' ', false, Json::error_handler_t::replace);
        return;
    }
    text += value.is_object() ? '{' : '[';
    bool first = true;
    for (const auto& item : value.items()) {
        text += first ? "\n" : ",\n";
        first = false;
        text.append(depth + 1, ' ');
        if (value.is_object()) {
            text += Json(item.key()).dump(-1, ' ', false, Json::error_handler_t::replace) + ": ";
        }
        appendText(text, item.value(), depth + 1);
    }
    text += '\n' + std::string(depth, ' ') + (value.is_object() ? '}' : ']');
}

}  // namespace

std::string recordText(const Json& record) {
    std::string text;
    appendText(text, record, 0);
    return text + '\n';
}

char FinishedPrediction::letter(int residue) const {
    if (const auto found = residues.find(residue); found != residues.end()) {
        return found->second.letter;
    }
    return inSequence(residue) ? sequence[static_cast<std::size_t>(residue - firstResidue)] : 'X';
}

bool FinishedPrediction::hasReference() const {
    for (const auto& [number, residue] : residues) {
        if (residue.reference) {
            return true;
        }
    }
    return false;
}

std::string resultsText(const FinishedPrediction& prediction) {
    Json record;
    RecordWriter writer(record);
    writer.text("schema", std::string(resultsSchema));
    writer.integer("schema_version", resultsVersion);
    keysOfPrediction(writer, prediction);
    return recordText(record);
}

FinishedPrediction parseResults(std::string_view text, const std::string& name) {
    nlohmann::json document;
    try {
        document = nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception& error) {
        throw InputRejected(name + ": no JSON text: " + error.what());
    }
    const RecordPlace root(name, document);
    if (root["schema"].value() != resultsSchema) {
        root["schema"].reject("\"" + std::string(resultsSchema) + "\"");
    }
    const RecordPlace version = root["schema_version"];
    if (!version.value().is_number_integer() || version.integer() < 1 ||
        version.integer() > resultsVersion) {
        version.reject("a version from 1 to " + std::to_string(resultsVersion));
    }
    FinishedPrediction prediction;
    RecordReader reader(root);
    keysOfPrediction(reader, prediction);
    return prediction;
}

std::string resultsPath(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored)
               ? (std::filesystem::path(path) / resultsFile).string()
               : path;
}

FinishedPrediction readFinishedPrediction(const std::string& path) {
    const std::string file = resultsPath(path);
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (!in || !(text << in.rdbuf())) {
        throw InputRejected(file + ": can't be opened for reading, or is empty");
    }
    return parseResults(text.str(), file);
}

bool holdsResults(const std::string& directory) {
    std::ifstream file(std::filesystem::path(directory) / resultsFile);
    if (!file) {
        return false;
    }
    const nlohmann::json results = nlohmann::json::parse(file, nullptr, false);
    return results.is_object() && results.value("schema", nlohmann::json()) == resultsSchema;
}

std::string settingsText(const FinishedSettings& settings) {
    Json record;
    RecordWriter writer(record);
    keysOfSettings(writer, settings);
    return record.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json shiftReportRecord(const ShiftReport& report, const CheckOrigin& origin, int findings,
                       Json byPrediction) {
    Json record;
    RecordWriter writer(record);
    writer.text("schema", std::string(checkSchema));
    writer.integer("schema_version", checkVersion);
    writer.object("program", report, [](auto& in, const auto&) {
        in.text("name", programName);
        in.text("version", programVersion());
    });
    writer.object("input", origin, [](auto& in, const auto& one) {
        in.text("file", one.file);
        in.text("title", one.title);
        in.integer("first_residue", one.firstResidue);
        in.integer("residue_count", one.residueCount);
    });
    record["remarks"] = origin.remarks;
    writer.integer("findings", findings);
    keysOfShiftReport(writer, report);
    record["by_prediction"] = std::move(byPrediction);
    return record;
}

}  // namespace orvix::results
