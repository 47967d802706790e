#include "results/finished_prediction.h"

#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "base/missing.h"
#include "base/run_end.h"

namespace orvix::results {

namespace {

using nlohmann::json;

constexpr std::string_view schemaName = "orvix-results";
constexpr int schemaVersion = 1;
/// Numbers of residues stay far from where sums of them could overflow.
constexpr double residueNumberLimit = 1e6;

/// A value in the file together with the way that leads to it, for messages.
class Place {
  public:
    Place(const std::string& file, const json& value, std::string path = {})
        : file_(file), value_(value), path_(std::move(path)) {}

    [[noreturn]] void reject(const std::string& expected) const {
        // Nested values are not printed: a file may nest them deeper than the stack is.
        std::string found = value_.is_object() ? "an object"
                            : value_.is_array()
                                ? "a list"
                                : value_.dump(-1, ' ', false, json::error_handler_t::replace);
        constexpr std::size_t longest = 60;
        if (found.size() > longest) {
            found = found.substr(0, longest) + "...";
        }
        throw InputRejected(file_ + ": " + (path_.empty() ? "the file" : path_) + ": expected " +
                            expected + ", found " + found);
    }

    const json& value() const { return value_; }

    Place operator[](const char* key) const {
        static const json null;
        if (!value_.is_object()) {
            reject("an object");
        }
        const auto found = value_.find(key);
        return {file_, found == value_.end() ? null : *found,
                path_.empty() ? std::string(key) : path_ + "." + key};
    }

    Place operator[](std::size_t index) const {
        return {file_, value_[index], path_ + "[" + std::to_string(index) + "]"};
    }

    std::string text() const {
        if (!value_.is_string()) {
            reject("a text");
        }
        return value_.get<std::string>();
    }

    std::string textOrNothing() const { return value_.is_null() ? std::string() : text(); }

    char letter() const {
        if (!value_.is_string() || text().size() != 1 ||
            std::isgraph(static_cast<unsigned char>(text()[0])) == 0) {
            reject("one letter");
        }
        return text()[0];
    }

    int residueNumber() const {
        if (!value_.is_number_integer() || std::fabs(value_.get<double>()) > residueNumberLimit) {
            reject("a residue number");
        }
        return value_.get<int>();
    }

    std::optional<double> number() const {
        if (value_.is_null()) {
            return std::nullopt;
        }
        if (!value_.is_number()) {
            reject("a number or null");
        }
        const double number = value_.get<double>();
        if (number >= missingLimit) {
            return std::nullopt;
        }
        return number;
    }

    std::optional<double> angle() const {
        const std::optional<double> angle = number();
        if (angle && std::fabs(*angle) > 360.0) {
            reject("an angle in degrees or null");
        }
        return angle;
    }

    std::optional<double> spread() const {
        const std::optional<double> spread = number();
        if (spread && *spread < 0.0) {
            reject("a spread in degrees or null");
        }
        return spread;
    }

    std::string word(const std::set<std::string>& words) const {
        if (!value_.is_string() || words.count(text()) == 0) {
            std::string list;
            for (const std::string& one : words) {
                list += (list.empty() ? "" : ", ") + one;
            }
            reject("one of " + list);
        }
        return text();
    }

  private:
    const std::string& file_;
    const json& value_;
    std::string path_;
};

json parseFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw InputRejected(path + ": can't be opened for reading");
    }
    try {
        return json::parse(in);
    } catch (const json::exception& error) {
        throw InputRejected(path + ": no JSON text: " + error.what());
    }
}

bool sameResidue(char a, char b) {
    const auto fold = [](char c) { return std::toupper(static_cast<unsigned char>(c)); };
    return fold(a) == fold(b);
}

std::optional<FinishedChi1> readChi1(const Place& place, bool valine) {
    if (place.value().is_null()) {
        return std::nullopt;
    }
    FinishedChi1 chi1;
    chi1.angle = place["angle"].angle();
    chi1.spread = place["spread"].spread();
    if (const Place rotamer = place["rotamer"]; !rotamer.value().is_null()) {
        chi1.rotamer = rotamer.word({"g-", "g+", "t", "na"});
        if (chi1.rotamer == "na") {
            chi1.rotamer.clear();
        }
    }
    const Place turned = place["turned"];
    if (!turned.value().is_null() && !turned.value().is_boolean()) {
        turned.reject("true or false");
    }
    chi1.turned = turned.value().is_null() ? valine : turned.value().get<bool>();
    if (chi1.turned && !valine) {
        turned.reject("false for a residue that is no valine");
    }
    return chi1;
}

FinishedResidue readResidue(const Place& place) {
    FinishedResidue residue;
    residue.letter = place["resname"].letter();
    // The state that the prediction found, where it is told, says more than the letter given.
    if (const Place state = place["state_letter"]; !state.value().is_null()) {
        if (!sameResidue(state.letter(), residue.letter)) {
            state.reject(std::string("a state of \"") + residue.letter + "\"");
        }
        residue.letter = state.letter();
    }
    residue.authorNumber = place["author_resid"].textOrNothing();
    residue.classWord = place["class"].word({"Strong", "Generous", "Warn", "Dyn", "Bad", "None"});
    if (const Place shifts = place["shifts"]; !shifts.value().is_null()) {
        for (std::size_t i = 0; i < resultShiftAtoms.size(); ++i) {
            residue.shifts[i] = shifts[resultShiftAtoms[i].data()].number();
        }
    }
    residue.phi = place["phi"].angle();
    residue.psi = place["psi"].angle();
    residue.phiSpread = place["phi_spread"].spread();
    residue.psiSpread = place["psi_spread"].spread();
    residue.chi1 = readChi1(place["chi1"], residue.letter == 'V');
    return residue;
}

std::string readSequence(const Place& place) {
    std::string sequence;
    for (const char letter : place.text()) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isspace(code) != 0) {
            continue;
        }
        if (std::isalpha(code) == 0 && letter != '?') {
            place.reject("a sequence in one-letter code");
        }
        sequence += letter;
    }
    if (sequence.empty() || static_cast<double>(sequence.size()) > residueNumberLimit) {
        place.reject("a sequence in one-letter code");
    }
    return sequence;
}

}  // namespace

char FinishedPrediction::letter(int residue) const {
    if (const auto found = residues.find(residue); found != residues.end()) {
        return found->second.letter;
    }
    return inSequence(residue) ? sequence[static_cast<std::size_t>(residue - firstResidue)] : 'X';
}

FinishedPrediction readFinishedPrediction(const std::string& path) {
    FinishedPrediction prediction;
    std::error_code ignored;
    prediction.file = std::filesystem::is_directory(path, ignored)
                          ? (std::filesystem::path(path) / "results.json").string()
                          : path;
    const json document = parseFile(prediction.file);
    const Place root(prediction.file, document);
    if (root["schema"].value() != schemaName) {
        root["schema"].reject("\"" + std::string(schemaName) + "\"");
    }
    if (root["schema_version"].value() != schemaVersion) {
        root["schema_version"].reject("version " + std::to_string(schemaVersion));
    }
    prediction.programName = root["program"]["name"].text();
    prediction.programVersion = root["program"]["version"].text();
    const Place input = root["input"];
    prediction.inputFile = input["file"].textOrNothing();
    prediction.title = input["title"].textOrNothing();
    prediction.sequence = readSequence(input["sequence"]);
    prediction.firstResidue = input["first_residue"].residueNumber();

    const Place residues = root["residues"];
    if (!residues.value().is_array()) {
        residues.reject("a list of residues");
    }
    for (std::size_t i = 0; i < residues.value().size(); ++i) {
        const Place place = residues[i];
        const int number = place["resid"].residueNumber();
        if (!prediction.inSequence(number)) {
            place["resid"].reject("a number within the sequence, " +
                                  std::to_string(prediction.firstResidue) + " to " +
                                  std::to_string(prediction.lastResidue()));
        }
        const FinishedResidue residue = readResidue(place);
        if (const char letter = prediction.letter(number); !sameResidue(letter, residue.letter)) {
            place["resname"].reject(std::string("\"") + letter + "\" as in the sequence");
        }
        if (!prediction.residues.emplace(number, residue).second) {
            place["resid"].reject("each residue once");
        }
    }
    return prediction;
}

}  // namespace orvix::results
