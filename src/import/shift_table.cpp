#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include "base/run_end.h"
#include "import/atom_names.h"
#include "import/residue_numbers.h"
#include "import/row_selection.h"
#include "import/shift_file.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

// A row that is on its way into the table.
struct Candidate {
    const ShiftRow* row;
    std::string valueText;
    double value;
};

class TableBuilder {
  public:
    TableBuilder(ShiftFile file, const ImportOptions& options)
        : file_(std::move(file)), options_(options) {
        for (const ResidueParent& parent : file_.parents) {
            names_.addParent(parent.name, parent.parent);
        }
    }

    ImportedTable build() {
        RowSelection selection = selectRows(file_, options_);
        if (!options_.sequenceFile.empty()) {
            selection.entity = readSequenceFile(options_.sequenceFile, file_.report);
        }
        const ResidueNumbers numbers(selection, names_, options_, file_.path, file_.report);
        for (const ShiftRow& row : selection.rows) {
            takeRow(row, numbers);
        }
        for (auto& [residue, protons] : glycines_) {
            placeGlycine(residue, protons);
        }
        return finish(numbers);
    }

  private:
    using Atoms = std::map<std::string, Candidate>;

    static constexpr const char* secondOfPair = "HA again";

    void add(ImportFinding finding, const ShiftRow& row, const std::string& remark = {}) {
        file_.report.add(finding, describe(row) + remark);
    }

    void takeRow(const ShiftRow& row, const ResidueNumbers& numbers) {
        const int residue = numbers.residueOf(row);
        const char letter = residue == ResidueNumbers::none ? names_.letter(row.residueName).letter
                                                            : numbers.letter(residue);
        const AtomName atom = readAtomName(row.atom, letter);
        if (atom.kind == AtomName::Kind::other) {
            add(ImportFinding::notRead, row);
            return;
        }
        if (atom.kind == AtomName::Kind::aminoTerminus) {
            add(ImportFinding::aminoTerminus, row);
            return;
        }
        if (residue == ResidueNumbers::none) {
            int number = 0;
            const bool readable = parseNumber(row.number, number) ||
                                  (isMissing(row.number) && parseNumber(row.authorNumber, number));
            add(readable ? ImportFinding::outsideSequence : ImportFinding::numberUnreadable, row);
            return;
        }
        Candidate candidate{&row, row.value, 0.0};
        if (!readValue(candidate) || !checkAmbiguity(row)) {
            return;
        }
        checkResidueName(row, residue, numbers);
        Atoms& atoms =
            atom.kind == AtomName::Kind::glycineAlpha ? glycines_[residue] : residues_[residue];
        // Two values for the set of both protons are one for each.
        const auto pair = atoms.find(atom.name);
        const bool second = atom.name == "HA" && row.atom.size() > 2 && pair != atoms.end() &&
                            pair->second.value != candidate.value;
        const auto [first, fresh] = atoms.emplace(second ? secondOfPair : atom.name, candidate);
        if (!fresh) {
            add(first->second.value == candidate.value ? ImportFinding::duplicateEqual
                                                       : ImportFinding::duplicateDifferent,
                row, "; kept: " + describe(*first->second.row));
        }
    }

    bool readValue(Candidate& candidate) {
        constexpr double missing = 999.0;  // ppm; from here on a run takes a shift as missing
        const ShiftRow& row = *candidate.row;
        if (isMissing(row.value)) {
            add(ImportFinding::valueMissing, row);
            return false;
        }
        if (std::count(row.value.begin(), row.value.end(), ',') == 1 &&
            row.value.find('.') == std::string::npos) {
            std::replace(candidate.valueText.begin(), candidate.valueText.end(), ',', '.');
        }
        if (!parseValue(candidate.valueText, candidate.value)) {
            add(ImportFinding::valueNotNumber, row);
            return false;
        }
        if (std::abs(candidate.value) >= missing) {
            add(ImportFinding::valueMissing, row);
            return false;
        }
        if (candidate.value == 0.0) {
            add(ImportFinding::valueZero, row);
            return false;
        }
        if (candidate.valueText != row.value) {
            add(ImportFinding::valueRewritten, row, " -> " + candidate.valueText);
        }
        return true;
    }

    bool checkAmbiguity(const ShiftRow& row) {
        int code = 0;
        if (!parseNumber(row.ambiguity, code)) {
            return true;
        }
        const std::string remark = ", ambiguity code " + row.ambiguity;
        if (options_.maxAmbiguity > 0 && code > options_.maxAmbiguity) {
            add(ImportFinding::tooAmbiguous, row, remark);
            return false;
        }
        if (code == 4 || code == 5 || code == 6 || code == 9) {
            add(ImportFinding::ambiguous, row, remark);
        }
        return true;
    }

    void checkResidueName(const ShiftRow& row, int residue, const ResidueNumbers& numbers) {
        const char own = names_.letter(row.residueName).letter;
        if (own != 'X' && own != numbers.letter(residue) &&
            mismatches_.insert({residue, row.residueName}).second) {
            add(ImportFinding::residueMismatch, row,
                "; the sequence has " + numbers.residue(residue).name + " there");
        }
    }

    // The run reads HA2 and HA3 of a glycine and nothing else.
    void placeGlycine(int residue, Atoms& protons) {
        Atoms& atoms = residues_[residue];
        const auto has = [&protons](const char* name) { return protons.count(name) > 0; };
        // The older names HA1 and HA2 are today's HA2 and HA3.
        const bool older = has("HA1") && !has("HA3");
        const std::vector<std::pair<const char*, std::vector<const char*>>> places = {
            {"HA2", {older ? "HA3" : "HA2"}}, {"HA3", {"HA3"}},        {"HA1", {"HA2"}},
            {"HAX", {"HA2", "HA3"}},          {"HAY", {"HA3", "HA2"}}, {"HA", {"HA2"}},
            {secondOfPair, {"HA3"}}};
        for (const auto& [name, targets] : places) {
            const auto proton = protons.find(name);
            if (proton == protons.end()) {
                continue;
            }
            const ShiftRow& row = *proton->second.row;
            const bool pair = std::string_view(name) == "HA" || name == secondOfPair;
            const auto target =
                std::find_if(targets.begin(), targets.end(),
                             [&atoms](const char* place) { return atoms.count(place) == 0; });
            if (target == targets.end() || (pair && atoms.count("HA3") > 0)) {
                add(ImportFinding::pairBesideSingle, row);
                continue;
            }
            atoms.emplace(*target, proton->second);
            if (row.atom != *target) {
                add(ImportFinding::glycineRenamed, row, std::string(" -> ") + *target);
            }
        }
    }

    ImportedTable finish(const ResidueNumbers& numbers) {
        ImportedTable table;
        for (const auto& [residue, atoms] : residues_) {
            std::vector<std::pair<std::string, Candidate>> ordered(atoms.begin(), atoms.end());
            std::sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) {
                return atomOrder(a.first) < atomOrder(b.first);
            });
            for (const auto& [atom, candidate] : ordered) {
                table.shifts.push_back(shiftOf(atom, candidate, numbers, residue));
            }
        }
        std::sort(renamed_.begin(), renamed_.end());
        for (const auto& [line, text] : renamed_) {
            file_.report.add(ImportFinding::atomRenamed, text);
        }
        if (table.shifts.empty()) {
            throw InputRejected(file_.path + ": no backbone shift with a value among its " +
                                std::to_string(file_.rows.size()) + " rows (" +
                                file_.report.losses() + ")");
        }
        table.title = file_.title;
        table.format = file_.format;
        table.sequence = numbers.sequence();
        table.firstResidue = numbers.tableNumber(0);
        table.authorNumber = numbers.authorNumbers();
        file_.report.note(
            "written: " + std::to_string(table.shifts.size()) + " shifts, sequence " +
            std::to_string(table.firstResidue) + " to " +
            std::to_string(table.firstResidue + static_cast<int>(table.sequence.size()) - 1));
        warnOfRows(ImportFinding::duplicateDifferent, "second value of an atom left out");
        warnOfRows(ImportFinding::rowIncomplete, "row that can't be read");
        table.fit = numbers.fit();
        table.report = std::move(file_.report);
        return table;
    }

    // What is lost for a reason in the file stands in every report, not only in the long one.
    void warnOfRows(ImportFinding finding, const std::string& what) {
        const std::vector<std::string>& items = file_.report.items(finding);
        if (!items.empty()) {
            file_.report.warn(what + ": " + std::to_string(items.size()) + ", the first is " +
                              items[0]);
        }
    }

    ImportedShift shiftOf(const std::string& atom, const Candidate& candidate,
                          const ResidueNumbers& numbers, int residue) {
        const ShiftRow& row = *candidate.row;
        if (row.atom != atom && atom != "HA2" && atom != "HA3") {
            renamed_.emplace_back(row.line, describe(row) + " -> " + atom);
        }
        const ShiftRange range = usualRange(atom);
        if (candidate.value < range.low || candidate.value > range.high) {
            add(ImportFinding::outOfRange, row);
        }
        const char own = names_.letter(row.residueName).letter;
        return {numbers.tableNumber(residue),
                std::string(1, own == 'X' ? numbers.letter(residue) : own), atom,
                candidate.valueText, candidate.value};
    }

    ShiftFile file_;
    const ImportOptions& options_;
    ResidueNames names_;
    std::map<int, Atoms> residues_;
    std::map<int, Atoms> glycines_;
    std::set<std::pair<int, std::string>> mismatches_;
    std::vector<std::pair<int, std::string>> renamed_;  // line, text
};

}  // namespace

ImportedTable buildShiftTable(ShiftFile file, const ImportOptions& options) {
    return TableBuilder(std::move(file), options).build();
}

}  // namespace orvix::importing
