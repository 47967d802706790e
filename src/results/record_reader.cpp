#include "results/record_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>

#include "base/missing.h"
#include "base/phi_psi_grid.h"
#include "base/run_end.h"

namespace orvix::results {
namespace {

using nlohmann::json;

/// Numbers of residues stay far from where sums of them could overflow.
constexpr double residueNumberLimit = 1e6;

bool sameResidue(char a, char b) {
    const auto fold = [](char c) { return std::toupper(static_cast<unsigned char>(c)); };
    return fold(a) == fold(b);
}

/// One residue, and what the sequence and the convention of valine's chi1 say about it.
FinishedResidue readResidue(const RecordPlace& place, char inSequence) {
    FinishedResidue residue;
    RecordReader reader(place);
    keysOfResidue(reader, residue);
    if (!sameResidue(inSequence, residue.letter)) {
        place["resname"].reject(std::string("\"") + inSequence + "\" as in the sequence");
    }
    if (residue.chi1) {
        const RecordPlace turned = place["chi1"]["turned"];
        const bool valine = residue.letter == 'V';
        if (turned.isNull()) {
            residue.chi1->turned = valine;
        }
        if (residue.chi1->turned && !valine) {
            turned.reject("false for a residue that is no valine");
        }
    }
    return residue;
}

}  // namespace

void RecordPlace::reject(const std::string& expected) const {
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

RecordPlace RecordPlace::operator[](std::string_view key) const {
    static const json null;
    if (!value_.is_object()) {
        reject("an object");
    }
    const auto found = value_.find(std::string(key));
    return {file_, found == value_.end() ? null : *found,
            path_.empty() ? std::string(key) : path_ + "." + std::string(key)};
}

RecordPlace RecordPlace::operator[](std::size_t index) const {
    return {file_, value_[index], path_ + "[" + std::to_string(index) + "]"};
}

std::string RecordPlace::text() const {
    if (!value_.is_string()) {
        reject("a text");
    }
    return value_.get<std::string>();
}

char RecordPlace::letter() const {
    if (!value_.is_string() || text().size() != 1 ||
        std::isgraph(static_cast<unsigned char>(text()[0])) == 0) {
        reject("one letter");
    }
    return text()[0];
}

int RecordPlace::residueNumber() const {
    if (!value_.is_number_integer() || std::fabs(value_.get<double>()) > residueNumberLimit) {
        reject("a residue number");
    }
    return value_.get<int>();
}

int RecordPlace::integer() const {
    constexpr double limit = 1e9;
    if (!value_.is_number_integer() || std::fabs(value_.get<double>()) > limit) {
        reject("a whole number");
    }
    return value_.get<int>();
}

bool RecordPlace::flag() const {
    if (!value_.is_boolean()) {
        reject("true or false");
    }
    return value_.get<bool>();
}

std::optional<double> RecordPlace::number() const {
    if (isNull()) {
        return std::nullopt;
    }
    if (!value_.is_number()) {
        reject("a number or null");
    }
    const double number = value_.get<double>();
    return number >= missingLimit ? std::nullopt : std::optional(number);
}

std::optional<double> RecordPlace::angle() const {
    const std::optional<double> angle = number();
    if (angle && std::fabs(*angle) > 360.0) {
        reject("an angle in degrees or null");
    }
    return angle;
}

std::optional<double> RecordPlace::spread() const {
    const std::optional<double> spread = number();
    if (spread && *spread < 0.0) {
        reject("a spread in degrees or null");
    }
    return spread;
}

std::string RecordPlace::word(std::initializer_list<std::string_view> words) const {
    if (!value_.is_string() || std::find(words.begin(), words.end(), text()) == words.end()) {
        std::string list;
        for (const std::string_view one : words) {
            list += (list.empty() ? "" : ", ") + std::string(one);
        }
        reject("one of " + list);
    }
    return text();
}

std::string RecordPlace::sequence() const {
    std::string sequence;
    for (const char letter : text()) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isspace(code) != 0) {
            continue;
        }
        if (std::isalpha(code) == 0 && letter != '?') {
            reject("a sequence in one-letter code");
        }
        sequence += letter;
    }
    if (sequence.empty() || static_cast<double>(sequence.size()) > residueNumberLimit) {
        reject("a sequence in one-letter code");
    }
    return sequence;
}

const RecordPlace& RecordPlace::list() const {
    if (!value_.is_array()) {
        reject("a list");
    }
    return *this;
}

void RecordReader::letterOr(std::string_view key, char& value, char other) {
    const RecordPlace place = place_[key];
    value = other;
    // The state that the prediction found, where it is told, says more than the letter given.
    if (!place.isNull()) {
        value = place.letter();
        if (!sameResidue(value, other)) {
            place.reject(std::string("a state of \"") + other + "\"");
        }
    }
}

void RecordReader::integers(std::string_view key, std::vector<int>& values) {
    const RecordPlace list = place_[key];
    for (std::size_t i = 0; i < list.list().size(); ++i) {
        values.push_back(list[i].integer());
    }
}

void RecordReader::numbersOrNull(std::string_view key, std::vector<std::optional<double>>& values) {
    const RecordPlace list = place_[key];
    for (std::size_t i = 0; !list.isNull() && i < list.list().size(); ++i) {
        values.push_back(list[i].number());
    }
}

void RecordReader::pairOrNull(std::string_view key, std::optional<ShiftLimits>& pair) {
    const RecordPlace list = place_[key];
    if (list.isNull()) {
        return;
    }
    if (list.list().size() != 2 || !list[0].number() || !list[1].number()) {
        list.reject("a list of two numbers");
    }
    pair = {*list[0].number(), *list[1].number()};
}

void RecordReader::residues(std::string_view key, FinishedPrediction& prediction) {
    const RecordPlace list = place_[key];
    if (!list.value().is_array()) {
        list.reject("a list of residues");
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        const RecordPlace place = list[i];
        const int number = place["resid"].residueNumber();
        if (!prediction.inSequence(number)) {
            place["resid"].reject("a number within the sequence, " +
                                  std::to_string(prediction.firstResidue) + " to " +
                                  std::to_string(prediction.lastResidue()));
        }
        if (prediction.residues.count(number) > 0) {
            place["resid"].reject("each residue once");
        }
        const auto index = static_cast<std::size_t>(number - prediction.firstResidue);
        prediction.residues.emplace(number, readResidue(place, prediction.sequence[index]));
    }
}

}  // namespace orvix::results
