#include "import/residue_names.h"

#include <string>

#include "base/residues.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

using Letters = std::map<std::string, char, std::less<>>;

const Letters standardNames = [] {
    Letters letters;
    for (const Residue& residue : residues) {
        if (residue.isStandard()) {
            letters.emplace(residue.name, residue.letter);
        }
    }
    return letters;
}();

// States that structure programs give names of their own.
const Letters stateNames = {
    {"ARG+", 'R'}, {"ARGN", 'R'}, {"ASH", 'D'},  {"ASP-", 'D'}, {"ASPH", 'D'}, {"GLH", 'E'},
    {"GLU-", 'E'}, {"GLUH", 'E'}, {"CYSS", 'C'}, {"CYSH", 'C'}, {"CYX", 'C'},  {"CYM", 'C'},
    {"CYS2", 'C'}, {"HIS+", 'H'}, {"HIST", 'H'}, {"HID", 'H'},  {"HIE", 'H'},  {"HIP", 'H'},
    {"HSD", 'H'},  {"HSE", 'H'},  {"HSP", 'H'},  {"LYS+", 'K'}, {"LYN", 'K'},  {"LYSN", 'K'},
    {"CPRO", 'P'}, {"PROC", 'P'}, {"TYR-", 'Y'}, {"TYM", 'Y'}};

// Modified residues of the chemical component dictionary with an L amino acid as parent.
const Letters modifiedNames = {
    {"MSE", 'M'}, {"FME", 'M'}, {"MHO", 'M'}, {"SME", 'M'}, {"OMT", 'M'}, {"SEP", 'S'},
    {"SAC", 'S'}, {"OSE", 'S'}, {"TPO", 'T'}, {"PTR", 'Y'}, {"TYS", 'Y'}, {"IYR", 'Y'},
    {"NIY", 'Y'}, {"TPQ", 'Y'}, {"HYP", 'P'}, {"CSO", 'C'}, {"CSD", 'C'}, {"CSX", 'C'},
    {"CME", 'C'}, {"OCS", 'C'}, {"SEC", 'C'}, {"CSE", 'C'}, {"CAS", 'C'}, {"SMC", 'C'},
    {"CSS", 'C'}, {"CYG", 'C'}, {"P1L", 'C'}, {"MLY", 'K'}, {"M3L", 'K'}, {"MLZ", 'K'},
    {"ALY", 'K'}, {"KCX", 'K'}, {"LLP", 'K'}, {"LYZ", 'K'}, {"PYL", 'K'}, {"KCR", 'K'},
    {"AGM", 'R'}, {"2MR", 'R'}, {"DA2", 'R'}, {"CIR", 'R'}, {"NMM", 'R'}, {"HIC", 'H'},
    {"MHS", 'H'}, {"NEP", 'H'}, {"PHD", 'D'}, {"BHD", 'D'}, {"SNN", 'D'}, {"IAS", 'D'},
    {"CGU", 'E'}, {"PCA", 'Q'}, {"MEQ", 'Q'}, {"MEN", 'N'}, {"AHB", 'N'}, {"NLE", 'L'},
    {"MLE", 'L'}, {"MVA", 'V'}, {"NVA", 'V'}, {"AIB", 'A'}, {"ABA", 'A'}, {"AYA", 'A'},
    {"MAA", 'A'}, {"SAR", 'G'}, {"GL3", 'G'}, {"PFF", 'F'}, {"PHI", 'F'}, {"4BF", 'F'},
    {"TRQ", 'W'}, {"HTR", 'W'}, {"TRO", 'W'}, {"4IN", 'W'}, {"FTR", 'W'}, {"BTR", 'W'}};

}  // namespace

void ResidueNames::addParent(std::string_view name, std::string_view parent) {
    const auto found = standardNames.find(foldUpper(parent));
    if (found != standardNames.end()) {
        parents_[foldUpper(name)] = found->second;
    }
}

ResidueLetter ResidueNames::letter(std::string_view name) const {
    using Kind = ResidueLetter::Kind;
    const std::string folded = foldUpper(name);
    if (folded.size() == 1) {
        const bool known =
            std::string_view("ACDEFGHIKLMNPQRSTVWY").find(folded[0]) != std::string_view::npos;
        if (folded == "U") {
            return {'C', Kind::modified};
        }
        return known ? ResidueLetter{folded[0], Kind::standard} : ResidueLetter{};
    }
    if (const auto found = standardNames.find(folded); found != standardNames.end()) {
        return {found->second, Kind::standard};
    }
    if (const auto found = stateNames.find(folded); found != stateNames.end()) {
        return {found->second, Kind::state};
    }
    if (const auto found = parents_.find(folded); found != parents_.end()) {
        return {found->second, Kind::modified};
    }
    if (const auto found = modifiedNames.find(folded); found != modifiedNames.end()) {
        return {found->second, Kind::modified};
    }
    // Variants of chain ends and states: TYR_NH2, CYS-NH2, GLU_LL.
    const auto plain = standardNames.find(folded.substr(0, folded.find_first_of("_-")));
    if (plain != standardNames.end()) {
        return {plain->second, Kind::state};
    }
    return {};
}

}  // namespace orvix::importing
