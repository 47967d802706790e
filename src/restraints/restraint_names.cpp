#include "restraints/restraint_names.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include "base/residues.h"

namespace orvix::restraints {

namespace {

constexpr std::string_view oxidisedCysteine = "CYSS";
constexpr std::string_view unknownName = "UNK";
constexpr std::size_t longestName = 5;

bool isName(std::string_view text) {
    const auto fits = [](char c) {
        return std::isupper(static_cast<unsigned char>(c)) != 0 ||
               std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-';
    };
    return !text.empty() && text.size() <= longestName &&
           std::all_of(text.begin(), text.end(), fits);
}

}  // namespace

bool isKnownLetter(char letter) {
    return findResidue(letter) != nullptr;
}

RestraintNames::RestraintNames(bool cyana) : cyana_(cyana) {}

void RestraintNames::addEntry(const std::string& entry) {
    const std::size_t sign = entry.find('=');
    if (sign == std::string::npos) {
        throw std::invalid_argument("'" + entry + "' is not of the form KEY=NAME");
    }
    const std::string key = entry.substr(0, sign);
    const std::string name = entry.substr(sign + 1);
    if (!isName(name)) {
        throw std::invalid_argument("'" + name + "' in '" + entry +
                                    "' is no residue name (capitals, digits, + and -, at most " +
                                    std::to_string(longestName) + ")");
    }
    int number = 0;
    const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), number);
    if (!key.empty() && error == std::errc() && end == key.data() + key.size()) {
        byNumber_[number] = name;
    } else if (key.size() == 1 && (isKnownLetter(key[0]) || key[0] == 'X' || key[0] == '?')) {
        byLetter_[key[0]] = name;
    } else if (key == oxidisedCysteine || key == unknownName ||
               (findResidue(key) != nullptr && findResidue(key)->isStandard())) {
        byName_[key] = name;
    } else {
        throw std::invalid_argument("'" + key + "' in '" + entry +
                                    "' is no residue number, one-letter or three-letter name");
    }
}

std::string RestraintNames::standardName(char letter) const {
    if (letter == 'c' && cyana_) {
        return std::string(oxidisedCysteine);
    }
    if (!isKnownLetter(letter)) {
        return std::string(unknownName);
    }
    // A state of its own has the name of its amino acid.
    const int standard = std::toupper(static_cast<unsigned char>(letter));
    return std::string(findResidue(static_cast<char>(standard))->name);
}

std::string RestraintNames::name(int residue, char letter) const {
    if (const auto found = byNumber_.find(residue); found != byNumber_.end()) {
        return found->second;
    }
    if (const auto found = byLetter_.find(letter); found != byLetter_.end()) {
        return found->second;
    }
    const std::string standard = standardName(letter);
    const auto found = byName_.find(standard);
    return found == byName_.end() ? standard : found->second;
}

std::set<int> RestraintNames::namedUnknown(const results::FinishedPrediction& prediction) const {
    std::set<int> named;
    for (const auto& [number, residue] : prediction.residues) {
        if (!isKnownLetter(residue.letter) && name(number, residue.letter) != unknownName) {
            named.insert(number);
        }
    }
    return named;
}

}  // namespace orvix::restraints
