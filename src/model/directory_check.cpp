#include "model/directory_check.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>

#include "base/message_log.h"
#include "base/missing.h"
#include "base/numbers.h"
#include "base/phi_psi_grid.h"
#include "base/residues.h"
#include "base/run_end.h"
#include "base/sha256.h"
#include "model/model_source.h"
#include "search/db.h"
#include "tables/cells.h"

namespace orvix {
namespace {

namespace fs = std::filesystem;

/// What is wrong with a file.
struct Flaw {
    std::string text;
};

[[noreturn]] void flaw(const std::string& text) {
    throw Flaw{text};
}

/// A table with a row for each residue or other name.
struct NamedTable {
    const char* file;
    std::string columns;  ///< numbers, behind RESNAME
    std::string rows;     ///< names that must be there; one letter each, or words
    double least, most;   ///< range of the numbers; 9999 is always one
};

constexpr const char* standardLetters = "A C D E F G H I K L M N P Q R S T V W Y";
constexpr const char* atoms = "N HA C CA CB HN";

const std::vector<NamedTable>& namedTables() {
    static const std::vector<NamedTable> tables = {
        {"randcoil.tab", atoms, standardLetters, 0.0, 250.0},
        {"rcadj.tab", atoms, standardLetters, -20.0, 20.0},
        {"rcprev.tab", atoms, standardLetters, -20.0, 20.0},
        {"rcnext.tab", atoms, standardLetters, -20.0, 20.0},
        {"isoadj.tab", "CA CB", standardLetters, -5.0, 5.0},
        {"sslimit.tab",
         "N_MIN N_MAX HA_MIN HA_MAX C_MIN C_MAX CA_MIN CA_MAX CB_MIN CB_MAX HN_MIN HN_MAX",
         standardLetters, -60.0, 60.0},
        {"homology.tab", standardLetters, standardLetters, 0.0, 100.0},
        {"BLOSUM62.tab", standardLetters, standardLetters, -20.0, 20.0},
        {"weight.tab", std::string(atoms) + " W", "R1 R2 R3 AVG", 0.0, 1e4},
        {"chi1.tab", "0 1 2 3 4 5 6 7 8 9 10", "C D E F H I K L M N Q R S T V W Y", 0.0, 1.0}};
    return tables;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

/// A number that is one, in full.
double numberIn(const std::string& cell, const std::string& where) {
    const char* const begin = cell.c_str();
    char* end = nullptr;
    const double value = std::strtod(begin, &end);
    if (end == begin || *end != '\0' || !std::isfinite(value)) {
        flaw(where + ": \"" + cell + "\" is no number");
    }
    return value;
}

std::string checkNamed(const std::string& path, const NamedTable& expected) {
    const GDB table(path);
    std::map<std::string, const GDB::Entry*> rows;
    for (const auto& [number, row] : table.entries) {
        rows[tables::cellOf(&row, "RESNAME")] = &row;
    }
    for (const std::string& name : wordsOf(expected.rows)) {
        if (!rows.contains(name)) {
            flaw("no row " + name);
        }
    }
    const std::vector<std::string> columns = wordsOf(expected.columns);
    for (const auto& [name, row] : rows) {
        for (const std::string& column : columns) {
            const std::string where = "row " + name + ", column " + column;
            const double value = numberIn(tables::cellOf(row, column), where);
            if (value != missingValue && (value < expected.least || value > expected.most)) {
                flaw(where + ": " + tables::cellOf(row, column) + " is out of range");
            }
        }
    }
    return std::to_string(table.entries.size()) + " rows";
}

std::string checkTriplets(const std::string& path) {
    const GDB table(path);
    if (table.entries.empty()) {
        flaw("no rows");
    }
    if (table.entries.size() >= shifts::ObservedTriplets::rowLimit) {
        flaw(std::to_string(table.entries.size()) + " rows, of which only " +
             std::to_string(shifts::ObservedTriplets::rowLimit - 1) + " would be read");
    }
    for (const auto& [number, row] : table.entries) {
        for (const char* position : {"_R1", "_R2", "_R3"}) {
            const std::string at = "row " + std::to_string(number) + ", ";
            const std::string& letter = tables::cellOf(&row, std::string("RESNAME") + position);
            if (letter.size() != 1 || findResidue(letter[0]) == nullptr) {
                flaw(at + "\"" + letter + "\" is no residue letter");
            }
            for (const std::string& atom : wordsOf(atoms)) {
                const std::string column = atom + position;
                const double shift =
                    numberIn(tables::cellOf(&row, column), at + "column " + column);
                if (shift != missingValue && std::abs(shift) > 60.0) {
                    flaw(at + "column " + column + ": a secondary shift out of range");
                }
            }
        }
    }
    return std::to_string(table.entries.size()) + " triplets";
}

std::string checkDatabase(const std::string& path) {
    const auto database = TextSource().database(path, {});
    const DB& db = database->rows();
    if (db.dbSize == 0) {
        flaw("no rows");
    }
    const auto isAngle = [](float angle) { return angle >= -180.0F && angle <= 180.0F; };
    for (int i = 0; i < db.dbSize; ++i) {
        const auto at = [i](const std::string& what) {
            return "residue " + std::to_string(i + 1) + ": " + what;
        };
        const float* const angles = db.angles[i];
        if (findResidue(db.resNames[i]) == nullptr) {
            flaw(at(std::string("no residue letter \"") + db.resNames[i] + "\""));
        }
        if (!isAngle(angles[0]) || !isAngle(angles[1]) ||
            (!isAngle(angles[2]) && !(angles[2] >= 999.0F))) {
            flaw(at("an angle out of range"));
        }
        if (db.boxes[i] < 0 || db.boxes[i] >= boxCount) {
            flaw(at("box " + std::to_string(db.boxes[i]) + " out of range"));
        }
        for (int atom = 0; atom < 6; ++atom) {
            const float shift = db.shifts[i][2 * atom];
            const float scale = db.shifts[i][2 * atom + 1];
            if (!(scale >= 0.0F) || (scale > 0.0F && !(std::abs(shift) <= 60.0F))) {
                flaw(at("a shift or its scale out of range"));
            }
        }
    }
    return std::to_string(db.dbSize) + " residues of " +
           std::to_string(database->proteins().size()) + " proteins";
}

/// The rows of all members have to be there and no more.
std::string checkNetworkFile(const std::string& path, const networks::NetworkKind& kind,
                             std::size_t file) {
    const networks::NetworkShape::Level& level =
        file < networks::layerCount ? kind.shape.level1 : kind.shape.level2;
    const int rows[] = {level.input, level.hidden, level.output};
    const int columns[] = {level.input, level.input, level.hidden};
    const std::size_t layer = file % networks::layerCount;
    const networks::WeightTable table = networks::readWeightTable(path, kind.rules, columns[layer]);
    const std::size_t expected = kind.shape.members * static_cast<std::size_t>(rows[layer]);
    if (table.rowCount() != expected) {
        flaw(std::to_string(table.rowCount()) + " rows in place of " + std::to_string(expected));
    }
    const auto isWeight = [](double weight) { return std::abs(weight) < 999.0; };
    std::size_t number = 0;
    for (const double* row : table.rows()) {
        ++number;
        if (!isWeight(table.bias[number - 1]) || !std::all_of(row, row + table.columns, isWeight)) {
            flaw("row " + std::to_string(number) + ": a weight is missing or out of range");
        }
    }
    return std::to_string(table.rowCount()) + " rows of " + std::to_string(table.columns) +
           " weights";
}

class DirectoryCheck {
  public:
    explicit DirectoryCheck(const std::string& tables) : tables_(tables) {}

    void look(const std::string& name,
              const std::function<std::string(const std::string&)>& check) {
        FileFinding& found = findings_.emplace_back();
        found.name = name;
        const std::string path = (fs::path(tables_) / name).string();
        std::error_code error;
        if (!fs::is_regular_file(path, error) || !std::ifstream(path)) {
            found.state = FileFinding::State::missing;
            found.text = fs::exists(path, error) ? "is no file that can be read" : "is missing";
            return;
        }
        // What a reader has to say is a flaw, too.
        MessageLog log;
        try {
            const ScopedStreams streams(log.streams());
            found.text = check(path);
        } catch (const Flaw& wrong) {
            found.state = FileFinding::State::broken;
            found.text = wrong.text;
        } catch (const RunEnd& end) {
            found.state = FileFinding::State::broken;
            found.text = end.what();
        }
        const std::vector<Message> messages = log.take();
        if (found.state == FileFinding::State::sound && !messages.empty()) {
            const std::string& text = messages.front().text;
            found.state = FileFinding::State::broken;
            found.text = text.substr(0, text.find('\n'));
        }
    }

    /// Compares contents with the list; files that only the list knows are looked at, too.
    void compareHashes() {
        std::ifstream list(fs::path(tables_) / hashListName);
        std::string line;
        std::size_t hashes = 0;
        while (std::getline(list, line)) {
            constexpr std::size_t digits = 64;
            if (line.size() <= digits + 2) {
                continue;
            }
            ++hashes;
            const std::string name = line.substr(digits + 2);
            auto found = std::find_if(findings_.begin(), findings_.end(),
                                      [&](const FileFinding& f) { return f.name == name; });
            if (found == findings_.end()) {
                look(name, [](const std::string&) { return "listed"; });
                found = std::prev(findings_.end());
            }
            if (found->state == FileFinding::State::sound) {
                std::ifstream file(fs::path(tables_) / name, std::ios::binary);
                const std::string text{std::istreambuf_iterator<char>(file), {}};
                if (sha256({reinterpret_cast<const unsigned char*>(text.data()), text.size()}) !=
                    line.substr(0, digits)) {
                    found->state = FileFinding::State::broken;
                    found->text = std::string("its content is not that of ") + hashListName;
                }
            }
        }
        FileFinding& found = findings_.emplace_back();
        found.name = hashListName;
        if (hashes == 0) {
            found.state = FileFinding::State::missing;
            found.text = "no hashes to compare with";
        } else {
            found.text = std::to_string(hashes) + " hashes";
        }
    }

    std::vector<FileFinding> take() { return std::move(findings_); }

  private:
    const std::string& tables_;
    std::vector<FileFinding> findings_;
};

}  // namespace

std::vector<FileFinding> checkDataDirectory(const std::string& tables) {
    DirectoryCheck check(tables);
    check.look("orvix.tab", checkDatabase);
    check.look("orvix_obsCS.tab", checkTriplets);
    for (const NamedTable& table : namedTables()) {
        check.look(table.file, [&](const std::string& path) { return checkNamed(path, table); });
    }
    for (const networks::NetworkKind& kind : networks::allNetworkKinds()) {
        const std::vector<std::string> files = networks::networkFiles(kind);
        for (std::size_t file = 0; file < files.size(); ++file) {
            check.look(files[file],
                       [&](const std::string& path) { return checkNetworkFile(path, kind, file); });
        }
    }
    check.compareHashes();
    return check.take();
}

}  // namespace orvix
