#include "batch/store_tables.h"

#include <array>
#include <nlohmann/json.hpp>

#include "results/results_file.h"

namespace orvix::batch {
namespace {

using namespace results;

Cell cell(const std::string& text) {
    return text;
}
Cell cell(std::string_view text) {
    return std::string(text);
}
Cell cell(int value) {
    return static_cast<std::int64_t>(value);
}
Cell cell(bool value) {
    return static_cast<std::int64_t>(value);
}
Cell cell(std::optional<double> value) {
    return value ? Cell(*value) : Cell();
}
Cell cell(std::optional<int> value) {
    return value ? cell(*value) : Cell();
}
Cell cell(char value) {
    return std::string(1, value);
}
Cell textOrNone(const std::string& text) {
    return text.empty() ? Cell() : Cell(text);
}

/// A column of a table whose rows are made from `Row`.
template <class Row>
struct Column {
    StoreColumn column;
    std::function<Cell(const Row&)> get;
};

/// A table from its columns and a function that hands each row of a protein on.
template <class Row, class Walk>
StoreTable table(std::string name, std::size_t keys, std::vector<Column<Row>> columns, Walk walk) {
    StoreTable made;
    made.name = std::move(name);
    made.keys = keys;
    for (const Column<Row>& one : columns) {
        made.columns.push_back(one.column);
    }
    made.rows = [columns = std::move(columns), walk](const StoredProtein& protein,
                                                     const RowSink& sink) {
        std::vector<Cell> cells(columns.size());
        walk(protein, [&](const Row& row) {
            for (std::size_t i = 0; i < columns.size(); ++i) {
                cells[i] = columns[i].get(row);
            }
            sink(cells);
        });
    };
    return made;
}

/// A row that belongs to a protein as a whole or to one of its records.
template <class Record>
struct RowOf {
    const StoredProtein& protein;
    const Record& record;
};

template <class Row>
Column<Row> proteinColumn() {
    return {{"protein", "TEXT NOT NULL", "name in proteins"},
            [](const Row& row) { return cell(row.protein.name); }};
}

struct ResidueRow {
    const StoredProtein& protein;
    int number;
    const FinishedResidue& residue;
};

template <class Walk>
auto eachResidue(Walk walk) {
    return [walk](const StoredProtein& protein, const auto& sink) {
        for (const auto& [number, residue] : protein.finished.residues) {
            walk(ResidueRow{protein, number, residue}, sink);
        }
    };
}

StoreTable proteinTable() {
    using Row = StoredProtein;
    return table<Row>(
        "proteins", 1,
        {{{"name", "TEXT NOT NULL", "name of the protein, unique"},
          [](const Row& row) { return cell(row.name); }},
         {{"job", "INTEGER NOT NULL", "place in the list of jobs, from 1"},
          [](const Row& row) { return Cell(static_cast<std::int64_t>(row.number)); }},
         {{"file", "TEXT NOT NULL", "shift file as it was named"},
          [](const Row& row) { return cell(row.file); }},
         {{"title", "TEXT", "title in the tables"},
          [](const Row& row) { return textOrNone(row.finished.title); }},
         {{"sequence", "TEXT NOT NULL", "one letter a residue"},
          [](const Row& row) { return cell(row.finished.sequence); }},
         {{"first_residue", "INTEGER NOT NULL", "number of the first letter"},
          [](const Row& row) { return cell(row.finished.firstResidue); }},
         {{"residue_count", "INTEGER NOT NULL", "residues with a prediction"},
          [](const Row& row) { return cell(static_cast<int>(row.finished.residues.size())); }},
         {{"settings", "TEXT NOT NULL", "JSON: what the prediction was asked to do"},
          [](const Row& row) { return cell(settingsText(row.finished.settings)); }},
         {{"program", "TEXT NOT NULL", "program that predicted"},
          [](const Row& row) { return cell(row.finished.programName); }},
         {{"version", "TEXT NOT NULL", "its version"},
          [](const Row& row) { return cell(row.finished.programVersion); }},
         {{"data", "TEXT NOT NULL", "hash of the data directory"},
          [](const Row& row) { return cell(row.data); }},
         {{"key", "TEXT NOT NULL", "hash of input, options, version and data"},
          [](const Row& row) { return cell(row.key); }}},
        [](const StoredProtein& protein, const auto& sink) { sink(protein); });
}

StoreTable residueTable() {
    using Row = ResidueRow;
    std::vector<Column<Row>> columns = {
        proteinColumn<Row>(),
        {{"resid", "INTEGER NOT NULL", "residue number"},
         [](const Row& row) { return cell(row.number); }},
        {{"resname", "TEXT NOT NULL", "letter as in the input"},
         [](const Row& row) { return cell(row.residue.label); }},
        {{"state_letter", "TEXT NOT NULL", "letter as predicted; c: oxidised cysteine"},
         [](const Row& row) { return cell(row.residue.letter); }},
        {{"author_resid", "TEXT", "number of the authors"},
         [](const Row& row) { return textOrNone(row.residue.authorNumber); }}};
    for (std::size_t atom = 0; atom < shiftAtoms.size(); ++atom) {
        columns.push_back({{"shift_" + std::string(shiftAtoms[atom]), "REAL", "shift, ppm"},
                           [atom](const Row& row) { return cell(row.residue.shifts[atom]); }});
    }
    for (std::size_t atom = 0; atom < shiftAtoms.size(); ++atom) {
        columns.push_back(
            {{"secondary_" + std::string(shiftAtoms[atom]), "REAL", "secondary shift, ppm"},
             [atom](const Row& row) { return cell(row.residue.secondaryShifts[atom]); }});
    }
    const auto add = [&](const char* name, const char* type, const char* meaning, auto get) {
        columns.push_back({{name, type, meaning}, get});
    };
    const auto own = [&](const char* name, const char* type, const char* meaning, auto member) {
        add(name, type, meaning, [member](const Row& row) { return cell(row.residue.*member); });
    };
    own("phi", "REAL", "degrees", &FinishedResidue::phi);
    own("psi", "REAL", "degrees", &FinishedResidue::psi);
    own("phi_spread", "REAL", "degrees", &FinishedResidue::phiSpread);
    own("psi_spread", "REAL", "degrees", &FinishedResidue::psiSpread);
    own("score", "REAL", "mean score of the used matches", &FinishedResidue::score);
    own("match_count", "INTEGER", "matches that agree", &FinishedResidue::matchCount);
    own("shift_count", "INTEGER", "shifts of the residue and its neighbours",
        &FinishedResidue::shiftCount);
    own("class", "TEXT NOT NULL", "Strong, Generous, Warn, Dyn, Bad or None",
        &FinishedResidue::classWord);
    own("s2", "REAL", "order parameter", &FinishedResidue::s2);
    const auto part = [&](const char* name, const char* type, const char* meaning, auto record,
                          auto member) {
        add(name, type, meaning, [record, member](const Row& row) {
            const auto& value = row.residue.*record;
            return value ? cell((*value).*member) : Cell();
        });
    };
    const auto structure = &FinishedResidue::structure;
    part("ss", "TEXT", "H, E or L", structure, &FinishedStructure::state);
    part("ss_confidence", "REAL", "", structure, &FinishedStructure::confidence);
    part("ss_helix", "REAL", "probability", structure, &FinishedStructure::helix);
    part("ss_strand", "REAL", "probability", structure, &FinishedStructure::strand);
    part("ss_coil", "REAL", "probability", structure, &FinishedStructure::coil);
    part("ss_source", "TEXT", "shifts, sequence or chain end", structure,
         &FinishedStructure::source);
    const auto chi1 = &FinishedResidue::chi1;
    part("chi1", "REAL", "degrees", chi1, &FinishedChi1::angle);
    part("chi1_spread", "REAL", "degrees", chi1, &FinishedChi1::spread);
    add("rotamer", "TEXT", "g-, g+, t or na", [](const Row& row) {
        return row.residue.chi1 ? textOrNone(row.residue.chi1->rotamer) : Cell();
    });
    part("chi1_g_minus", "REAL", "probability", chi1, &FinishedChi1::gaucheMinus);
    part("chi1_g_plus", "REAL", "probability", chi1, &FinishedChi1::gauchePlus);
    part("chi1_trans", "REAL", "probability", chi1, &FinishedChi1::trans);
    part("chi1_turned", "INTEGER", "1: turned by -120 degrees (valine)", chi1,
         &FinishedChi1::turned);
    const auto reference = &FinishedResidue::reference;
    part("ref_phi", "REAL", "of the known structure, degrees", reference, &FinishedReference::phi);
    part("ref_psi", "REAL", "of the known structure, degrees", reference, &FinishedReference::psi);
    part("ref_chi1", "REAL", "of the known structure, degrees", reference,
         &FinishedReference::chi1);
    return table<Row>("residues", 2, std::move(columns),
                      eachResidue([](const Row& row, const auto& sink) { sink(row); }));
}

/// The list in square brackets, with as few digits as give the numbers back.
std::string mapText(const std::vector<std::optional<double>>& map) {
    nlohmann::json list = nlohmann::json::array();
    for (const std::optional<double>& value : map) {
        list.push_back(value ? nlohmann::json(*value) : nlohmann::json());
    }
    return list.dump();
}

std::string clusterText(const std::vector<FinishedCluster>& clusters) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const FinishedCluster& cluster : clusters) {
        list.push_back(
            {{"seed", cluster.seed},
             {"sum", cluster.sum ? nlohmann::ordered_json(*cluster.sum) : nlohmann::ordered_json()},
             {"boxes", cluster.boxes}});
    }
    return list.dump();
}

StoreTable mapTable() {
    using Row = ResidueRow;
    return table<Row>(
        "maps", 2,
        {proteinColumn<Row>(),
         {{"resid", "INTEGER NOT NULL", "residue number"},
          [](const Row& row) { return cell(row.number); }},
         {{"boxes", "TEXT NOT NULL", "JSON: the 324 boxes of the phi/psi map"},
          [](const Row& row) { return cell(mapText(row.residue.map)); }},
         {{"clusters", "TEXT NOT NULL", "JSON: its clusters with seed, sum and boxes"},
          [](const Row& row) { return cell(clusterText(row.residue.clusters)); }}},
        eachResidue([](const Row& row, const auto& sink) {
            if (!row.residue.map.empty()) {
                sink(row);
            }
        }));
}

struct MatchRowOf {
    const ResidueRow& of;
    int rank;
    const FinishedMatch& match;
};

StoreTable matchTable() {
    using Row = MatchRowOf;
    const auto own = [](const char* name, const char* type, const char* meaning, auto member) {
        return Column<Row>{{name, type, meaning},
                           [member](const Row& row) { return cell(row.match.*member); }};
    };
    return table<Row>(
        "matches", 3,
        {{{"protein", "TEXT NOT NULL", "name in proteins"},
          [](const Row& row) { return cell(row.of.protein.name); }},
         {{"resid", "INTEGER NOT NULL", "residue number"},
          [](const Row& row) { return cell(row.of.number); }},
         {{"rank", "INTEGER NOT NULL", "from 1, the best first"},
          [](const Row& row) { return cell(row.rank); }},
         own("source", "TEXT NOT NULL", "word of the database protein", &FinishedMatch::source),
         own("window", "TEXT NOT NULL", "letters of the stretch", &FinishedMatch::window),
         own("match_resid", "INTEGER NOT NULL", "number of its centre", &FinishedMatch::residue),
         own("phi", "REAL", "degrees", &FinishedMatch::phi),
         own("psi", "REAL", "degrees", &FinishedMatch::psi),
         own("chi1", "REAL", "degrees", &FinishedMatch::chi1),
         own("score", "REAL", "", &FinishedMatch::score),
         own("used", "INTEGER NOT NULL", "1: the prediction is taken from it",
             &FinishedMatch::used)},
        eachResidue([](const ResidueRow& row, const auto& sink) {
            int rank = 0;
            for (const FinishedMatch& match : row.residue.matches) {
                sink(MatchRowOf{row, ++rank, match});
            }
        }));
}

struct MatchedShiftRow {
    const ResidueRow& of;
    std::string_view atom;
    const MatchedShift& shift;
};

StoreTable matchedShiftTable() {
    using Row = MatchedShiftRow;
    return table<Row>("matched_shifts", 3,
                      {{{"protein", "TEXT NOT NULL", "name in proteins"},
                        [](const Row& row) { return cell(row.of.protein.name); }},
                       {{"resid", "INTEGER NOT NULL", "residue number"},
                        [](const Row& row) { return cell(row.of.number); }},
                       {{"atom", "TEXT NOT NULL", "N HA C CA CB HN"},
                        [](const Row& row) { return cell(row.atom); }},
                       {{"mean", "REAL", "mean secondary shift of the used matches, ppm"},
                        [](const Row& row) { return cell(row.shift.mean); }},
                       {{"spread", "REAL", "its spread, ppm"},
                        [](const Row& row) { return cell(row.shift.spread); }},
                       {{"count", "INTEGER NOT NULL", "matches that have it"},
                        [](const Row& row) { return cell(row.shift.count); }}},
                      eachResidue([](const ResidueRow& row, const auto& sink) {
                          for (std::size_t atom = 0; atom < shiftAtoms.size(); ++atom) {
                              if (const auto& shift = row.residue.matchedShifts[atom]) {
                                  sink(MatchedShiftRow{row, shiftAtoms[atom], *shift});
                              }
                          }
                      }));
}

/// A finding with its place among those of its kind, or the name of what it is about.
template <class Record>
struct NamedRow {
    const StoredProtein& protein;
    std::string_view name;
    int place;
    const Record& record;
};

template <class Row>
Column<Row> placeColumn() {
    return {{"place", "INTEGER NOT NULL", "from 1, in the order of the report"},
            [](const Row& row) { return cell(row.place); }};
}

template <class Row>
Column<Row> nameColumn(const char* name, const char* meaning) {
    return {{name, "TEXT NOT NULL", meaning}, [](const Row& row) { return cell(row.name); }};
}

template <class Row, class Member>
Column<Row> recordColumn(const char* name, const char* type, const char* meaning, Member member) {
    return {{name, type, meaning}, [member](const Row& row) { return cell(row.record.*member); }};
}

StoreTable outlierTable() {
    using Row = NamedRow<Outlier>;
    return table<Row>(
        "outliers", 2,
        {proteinColumn<Row>(), placeColumn<Row>(),
         recordColumn<Row>("resid", "INTEGER NOT NULL", "residue number", &Outlier::residue),
         recordColumn<Row>("resname", "TEXT NOT NULL", "letter", &Outlier::name),
         recordColumn<Row>("atom", "TEXT NOT NULL", "", &Outlier::atom),
         recordColumn<Row>("secondary_shift", "REAL", "ppm", &Outlier::shift),
         recordColumn<Row>("limit_passed", "REAL", "ppm", &Outlier::limit),
         recordColumn<Row>("serious", "INTEGER NOT NULL", "1: far beyond the limit",
                           &Outlier::serious),
         recordColumn<Row>("gross", "INTEGER NOT NULL", "1: serious and not at a chain end",
                           &Outlier::gross)},
        [](const StoredProtein& protein, const auto& sink) {
            int place = 0;
            for (const Outlier& one : protein.finished.check.outliers) {
                sink(Row{protein, "", ++place, one});
            }
        });
}

StoreTable offsetTable() {
    using Row = NamedRow<ReferencingOffset>;
    using Record = ReferencingOffset;
    return table<Row>(
        "offsets", 2,
        {proteinColumn<Row>(), nameColumn<Row>("nucleus", "CA, CB, HA or C"),
         recordColumn<Row>("offset_ppm", "REAL", "referencing offset, ppm", &Record::offset),
         recordColumn<Row>("error", "REAL", "of the fitted line, ppm", &Record::error),
         recordColumn<Row>("uncertainty", "REAL", "to be expected of the estimate, ppm",
                           &Record::uncertainty),
         recordColumn<Row>("count", "INTEGER NOT NULL", "residues that it comes from",
                           &Record::count),
         recordColumn<Row>("significant", "INTEGER NOT NULL", "1: by the rule of the run",
                           &Record::significant),
         recordColumn<Row>("applied", "INTEGER NOT NULL", "1: taken off the shifts",
                           &Record::applied)},
        [](const StoredProtein& protein, const auto& sink) {
            for (std::size_t i = 0; i < offsetNuclei.size(); ++i) {
                if (const auto& one = protein.finished.check.offsets[i]) {
                    sink(Row{protein, offsetNuclei[i], 0, *one});
                }
            }
        });
}

struct LineRow {
    const StoredProtein& protein;
    std::string_view nucleus, side;
    const ReferencingLine& record;
};

StoreTable lineTable() {
    using Row = LineRow;
    using Record = ReferencingLine;
    return table<Row>(
        "referencing_lines", 3,
        {proteinColumn<Row>(),
         {{"nucleus", "TEXT NOT NULL", "CA, HA or C"},
          [](const Row& row) { return cell(row.nucleus); }},
         {{"side", "TEXT NOT NULL", "negative, positive: the sign of CA - CB"},
          [](const Row& row) { return cell(row.side); }},
         recordColumn<Row>("count", "INTEGER NOT NULL", "residues", &Record::count),
         recordColumn<Row>("slope", "REAL", "", &Record::slope),
         recordColumn<Row>("intercept", "REAL", "ppm", &Record::intercept),
         recordColumn<Row>("error", "REAL", "standard error of the residuals, ppm", &Record::error),
         recordColumn<Row>("expected", "REAL", "intercept of well referenced shifts, ppm",
                           &Record::expected)},
        [](const StoredProtein& protein, const auto& sink) {
            for (std::size_t i = 0; i < lineNuclei.size(); ++i) {
                const ReferencingLines& lines = protein.finished.check.lines[i];
                sink(Row{protein, lineNuclei[i], "negative", lines.negative});
                sink(Row{protein, lineNuclei[i], "positive", lines.positive});
            }
        });
}

StoreTable completenessTable() {
    using Row = NamedRow<Completeness>;
    return table<Row>(
        "completeness", 2,
        {proteinColumn<Row>(), nameColumn<Row>("atom", "N HA C CA CB HN"),
         recordColumn<Row>("assigned", "INTEGER NOT NULL", "shifts", &Completeness::assigned),
         recordColumn<Row>("expected", "INTEGER NOT NULL", "shifts that there can be",
                           &Completeness::expected)},
        [](const StoredProtein& protein, const auto& sink) {
            for (std::size_t i = 0; i < shiftAtoms.size(); ++i) {
                sink(Row{protein, shiftAtoms[i], 0, protein.finished.check.completeness[i]});
            }
        });
}

StoreTable mismatchTable() {
    using Row = NamedRow<NameMismatch>;
    return table<Row>(
        "mismatches", 2,
        {proteinColumn<Row>(),
         placeColumn<Row>(),
         recordColumn<Row>("resid", "INTEGER NOT NULL", "residue number", &NameMismatch::residue),
         {{"sequence_name", "TEXT", "letter of the sequence"},
          [](const Row& row) { return textOrNone(row.record.sequenceName); }},
         recordColumn<Row>("table_name", "TEXT NOT NULL", "letter of the rows",
                           &NameMismatch::tableName)},
        [](const StoredProtein& protein, const auto& sink) {
            int place = 0;
            for (const NameMismatch& one : protein.finished.check.mismatches) {
                sink(Row{protein, "", ++place, one});
            }
        });
}

struct LimitRow {
    const StoredProtein& protein;
    const std::string& letter;
    std::string_view atom;
    const ShiftLimits& record;
};

StoreTable limitTable() {
    using Row = LimitRow;
    return table<Row>(
        "shift_limits", 3,
        {proteinColumn<Row>(),
         {{"resname", "TEXT NOT NULL", "letter"}, [](const Row& row) { return cell(row.letter); }},
         {{"atom", "TEXT NOT NULL", "N HA C CA CB HN"},
          [](const Row& row) { return cell(row.atom); }},
         {{"low", "REAL NOT NULL", "least secondary shift that is no outlier, ppm"},
          [](const Row& row) { return Cell(row.record.low); }},
         {{"high", "REAL NOT NULL", "greatest one, ppm"},
          [](const Row& row) { return Cell(row.record.high); }}},
        [](const StoredProtein& protein, const auto& sink) {
            for (const auto& [letter, byAtom] : protein.finished.check.limits) {
                for (std::size_t i = 0; i < shiftAtoms.size(); ++i) {
                    if (byAtom[i]) {
                        sink(Row{protein, letter, shiftAtoms[i], *byAtom[i]});
                    }
                }
            }
        });
}

std::string joined(const std::vector<StoreColumn>& columns, std::size_t count) {
    std::string list;
    for (std::size_t i = 0; i < count; ++i) {
        list += (i > 0 ? ", " : "") + columns[i].name;
    }
    return list;
}

}  // namespace

std::string StoreTable::columnList() const {
    return joined(columns, columns.size());
}

std::string StoreTable::keyList() const {
    return joined(columns, keys);
}

std::string StoreTable::create() const {
    std::string text = "CREATE TABLE IF NOT EXISTS " + name + " (";
    for (const StoreColumn& column : columns) {
        text += column.name + " " + column.type + ", ";
    }
    return text + "PRIMARY KEY (" + keyList() + ")) WITHOUT ROWID";
}

std::string StoreTable::insert() const {
    std::string marks;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        marks += i > 0 ? ", ?" : "?";
    }
    return "INSERT OR REPLACE INTO " + name + " (" + columnList() + ") VALUES (" + marks + ")";
}

const std::vector<StoreTable>& storeTables() {
    static const std::vector<StoreTable> tables = {
        proteinTable(),      residueTable(),  mapTable(),    matchTable(),
        matchedShiftTable(), outlierTable(),  offsetTable(), lineTable(),
        completenessTable(), mismatchTable(), limitTable()};
    return tables;
}

const StoreTable& failureTable() {
    static const StoreTable failures = {
        "failures",
        1,
        {{"name", "TEXT NOT NULL", "name of the job"},
         {"job", "INTEGER NOT NULL", "place in the list of jobs, from 1"},
         {"file", "TEXT NOT NULL", "shift file as it was named"},
         {"reason", "TEXT NOT NULL", "why there is no result"}},
        {}};
    return failures;
}

}  // namespace orvix::batch
