// orvix-data: the steps in the making of the data directory that use the system's own code, so that
// angles, boxes, secondary shifts and network input are exactly those of a run.
//
//     orvix-data reference COORDINATES OUT [REMARK ...]
//     orvix-data database  WORK TABLES OUT
//     orvix-data triplets  WORK TABLES OUT [ROWS]
//     orvix-data features  WORK TABLES NAME [full|noproton|drop SEED]
//
// WORK is the directory that tools/data/cleaning.py writes: proteins.tsv, labels.tsv.gz unpacked as
// labels.tsv, scales.tsv, tables/<id>.tab, ref/<id>.pdb, perhaps chains.tsv. TABLES is the table
// directory of a run.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/phi_psi_grid.h"
#include "data_files.h"
#include "networks/network_input.h"
#include "networks/phi_psi_input.h"
#include "run/orvix.h"
#include "shifts/observed_triplets.h"
#include "structure/pdb.h"

namespace {

namespace fs = std::filesystem;
using orvix::tool::fail;
using orvix::tool::NewFile;
using orvix::tool::Quiet;
using orvix::tool::readTsv;
using orvix::tool::Row;
using orvix::tool::ScratchDirectory;

constexpr int atomCount = 6;
const std::string knownLetters = "ACDEFGHIKLMNPQRSTVWYch";

// ---- the work directory -------------------------------------------------------------------------

struct Protein {
    std::string id, source, cluster;
};

std::vector<Protein> readProteins(const fs::path& work) {
    std::vector<Protein> proteins;
    for (Row& row : readTsv(work / "proteins.tsv")) {
        proteins.push_back({row["id"], row["source"], row["cluster30"]});
    }
    return proteins;
}

/// Letter and atom key - 1 to the divisor of the search.
std::map<char, std::array<double, atomCount>> readScales(const fs::path& work, const ORVIX& run) {
    std::map<char, std::array<double, atomCount>> scales;
    for (Row& row : readTsv(work / "scales.tsv")) {
        for (const auto& [key, atom] : run.atomNames) {
            scales[row["letter"][0]][static_cast<std::size_t>(key) - 1] =
                orvix::textToDouble(row[atom]);
        }
    }
    return scales;
}

/// A run of `table` up to its secondary shifts. `change` may alter the input in between.
std::unique_ptr<ORVIX> runToSecondaryShifts(const fs::path& table, const std::string& tables,
                                            const fs::path& scratch, bool noProton,
                                            const std::function<void(ORVIX&)>& change = nullptr) {
    const Quiet quiet;
    auto run = std::make_unique<ORVIX>();
    std::map<std::string, std::string> options = {
        {"in", table.string()}, {"tabDir", tables}, {"sum", (scratch / "pred.tab").string()}};
    if (noProton) {
        options["noproton"] = "noproton";
    }
    run->setArgs(options);
    run->init();
    if (change) {
        change(*run);
    }
    run->getResInfo();
    return run;
}

// ---- angles -------------------------------------------------------------------------------------

/// Angles of a residue (degrees, 9999 missing) and whether they are to be trusted.
struct Label {
    float phi = 9999.0F, psi = 9999.0F, chi1 = 9999.0F;
    bool trusted = false, chi1Trusted = false;
};

using LabelsByProtein = std::map<std::string, std::map<int, Label>>;

LabelsByProtein readLabels(const fs::path& work) {
    LabelsByProtein labels;
    for (Row& row : readTsv(work / "labels.tsv")) {
        labels[row["id"]][orvix::textToInt(row["resid"])] = {
            orvix::textToFloat(row["phi"]), orvix::textToFloat(row["psi"]),
            orvix::textToFloat(row["chi1"]), row["use_phipsi"] == "1", row["use_chi1"] == "1"};
    }
    return labels;
}

/// The labels of a protein with the angles as a run finds them in its reference structure; a
/// protein without one keeps those of its relative.
std::map<int, Label> anglesOf(const fs::path& work, const Protein& protein,
                              const LabelsByProtein& labels) {
    const auto found = labels.find(protein.id);
    std::map<int, Label> angles;
    if (found != labels.end()) {
        angles = found->second;
    }
    const fs::path reference = work / "ref" / (protein.id + ".pdb");
    if (fs::exists(reference)) {
        PDB structure(reference.string());
        for (auto& [residue, label] : angles) {
            label.phi = structure.getPhi(1, residue);
            label.psi = structure.getPsi(1, residue);
            label.chi1 = structure.getChi1(1, residue);
        }
    }
    return angles;
}

// ---- reference structures -----------------------------------------------------------------------

/// Whether a reference structure keeps an atom: backbone, CB, alpha and amide protons, and the atom
/// that fixes chi1.
bool keptAtom(const std::string& atom) {
    static const std::set<std::string> kept = {"N", "HN", "CA", "HA",  "HA2", "HA3", "CB",
                                               "C", "O",  "CG", "CG1", "OG",  "OG1", "SG"};
    return kept.count(atom) != 0;
}

int reference(const std::vector<std::string>& args) {
    if (args.size() < 2) {
        fail("reference COORDINATES OUT [REMARK ...]");
    }
    const PDB structure(args[0]);
    if (!structure.loaded) {
        return 1;
    }
    NewFile out(args[1]);
    for (std::size_t i = 2; i < args.size(); ++i) {
        std::fprintf(out.get(), "REMARK   1 %s\n", args[i].c_str());
    }
    int serial = 0;
    const auto model = structure.atomsByNum.find(1);
    if (model == structure.atomsByNum.end()) {
        fail("no atoms in " + args[0]);
    }
    for (const auto& [number, atom] : model->second) {
        if (!keptAtom(atom.atomName)) {
            continue;
        }
        const std::string name = atom.atomName == "HN" ? "H" : atom.atomName;
        std::fprintf(out.get(), "ATOM  %5d  %-3s %3s %1s%4d    %8.3f%8.3f%8.3f  1.00%6.2f\n",
                     ++serial, name.c_str(), atom.resName.c_str(), "A", atom.resNum,
                     static_cast<double>(atom.coor[0]), static_cast<double>(atom.coor[1]),
                     static_cast<double>(atom.coor[2]), static_cast<double>(atom.tempFactor));
    }
    std::fprintf(out.get(), "END\n");
    out.finish();
    return 0;
}

// ---- database -----------------------------------------------------------------------------------

int boxOf(double phi, double psi) {
    return orvix::angleBin(phi) * 18 + orvix::angleBin(psi);
}

/// How much wider than those of measured shifts the scales of computed shifts are.
constexpr double computedWidth = 1.3;

/// Rows of chains that have a structure but no measured shifts; their number. Shifts computed from
/// the structure, where the table has them, get wider scales.
int appendChains(const fs::path& path, const std::map<char, std::array<double, atomCount>>& scales,
                 const std::map<int, std::string>& atoms, std::FILE* out) {
    if (!fs::exists(path)) {
        return 0;
    }
    int rows = 0;
    for (Row& row : readTsv(path)) {
        const double phi = orvix::textToDouble(row["phi"]);
        const double psi = orvix::textToDouble(row["psi"]);
        std::fprintf(out, "%s %s %s %.1f %.1f %.1f %d", row["source"].c_str(),
                     row["letter"].c_str(), row["resid"].c_str(), phi, psi,
                     orvix::textToDouble(row["chi1"]), boxOf(phi, psi));
        const auto scale = scales.find(row["letter"][0]);
        for (const auto& [key, atom] : atoms) {
            const std::string shift = row[atom];
            if (shift.empty() || shift == "." || scale == scales.end()) {
                std::fprintf(out, " 9999 0");
            } else {
                std::fprintf(out, " %.2f %.2f", orvix::textToDouble(shift),
                             computedWidth * scale->second[static_cast<std::size_t>(key) - 1]);
            }
        }
        std::fputc('\n', out);
        ++rows;
    }
    return rows;
}

int database(const std::vector<std::string>& args) {
    if (args.size() != 3) {
        fail("database WORK TABLES OUT");
    }
    const fs::path work = args[0];
    const auto scales = readScales(work, ORVIX());
    const LabelsByProtein labels = readLabels(work);
    const ScratchDirectory scratch;
    NewFile out(args[2]);
    int rows = 0;
    for (const Protein& protein : readProteins(work)) {
        const auto run = runToSecondaryShifts(work / "tables" / (protein.id + ".tab"), args[1],
                                              scratch.path(), false);
        for (const auto& [residue, label] : anglesOf(work, protein, labels)) {
            const std::string letter = orvix::networks::baseLetter(run->seqName(residue));
            if (!label.trusted || label.phi > 999.0F || label.psi > 999.0F || letter.size() != 1 ||
                knownLetters.find(letter) == std::string::npos) {
                continue;
            }
            const auto phi = static_cast<double>(label.phi);
            const auto psi = static_cast<double>(label.psi);
            const auto chi1 = static_cast<double>(label.chi1Trusted ? label.chi1 : 9999.0F);
            std::fprintf(out.get(), "%s %s %d %.1f %.1f %.1f %d", protein.source.c_str(),
                         letter.c_str(), residue, phi, psi, chi1, boxOf(phi, psi));
            const bool inRange = residue >= run->firstResid && residue <= run->lastResid;
            const auto scale = scales.find(letter[0]);
            for (std::size_t a = 0; a < atomCount; ++a) {
                const double shift =
                    inRange ? run->shiftMatrix[residue - run->firstResid][a] : orvix::missingValue;
                if (shift >= orvix::missingLimit || scale == scales.end()) {
                    std::fprintf(out.get(), " 9999 0");
                } else {
                    std::fprintf(out.get(), " %.2f %.2f", shift, scale->second[a]);
                }
            }
            std::fputc('\n', out.get());
            ++rows;
        }
    }
    const fs::path computed = work / "synthetic" / "chains.tsv";
    rows += appendChains(fs::exists(computed) ? computed : work / "chains.tsv", scales,
                         ORVIX().atomNames, out.get());
    out.finish();
    std::cout << rows << " database rows\n";
    return 0;
}

// ---- triplets -----------------------------------------------------------------------------------

/// A fixed scatter of the row order, so that ties are not broken by the order of the proteins.
std::uint64_t scatter(std::uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30U)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27U)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31U);
}

int triplets(const std::vector<std::string>& args) {
    if (args.size() < 3 || args.size() > 4) {
        fail("triplets WORK TABLES OUT [ROWS]");
    }
    const fs::path work = args[0];
    const int wanted =
        args.size() > 3 ? orvix::textToInt(args[3]) : orvix::shifts::ObservedTriplets::rowLimit - 1;
    const ScratchDirectory scratch;
    struct Triplet {
        int known = 0;
        std::uint64_t order = 0;
        std::string source;
        std::map<std::string, std::string> record;
    };
    std::vector<Triplet> found;
    std::map<int, std::string> atoms;
    for (const Protein& protein : readProteins(work)) {
        const auto run = runToSecondaryShifts(work / "tables" / (protein.id + ".tab"), args[1],
                                              scratch.path(), false);
        atoms = run->atomNames;
        for (int r = run->firstResid + 1; r < run->lastResid; ++r) {
            Triplet triplet;
            bool named = true;
            for (int k = r - 1; k <= r + 1; ++k) {
                const std::string& name = run->seqName(k);
                named = named && name.size() == 1 && knownLetters.find(name) != std::string::npos;
                for (std::size_t a = 0; a < atomCount; ++a) {
                    const double shift = run->shiftMatrix[k - run->firstResid][a];
                    triplet.known += shift < orvix::missingLimit ? (k == r ? 2 : 1) : 0;
                }
            }
            if (!named) {
                continue;
            }
            triplet.source = protein.source;
            triplet.order = scatter(found.size());
            triplet.record = run->getTriplet(r);
            found.push_back(std::move(triplet));
        }
    }
    std::vector<std::size_t> order(found.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return found[a].known != found[b].known ? found[a].known > found[b].known
                                                : found[a].order < found[b].order;
    });
    order.resize(std::min(order.size(), static_cast<std::size_t>(std::max(wanted, 0))));
    std::sort(order.begin(), order.end());

    NewFile out(args[2]);
    std::set<std::string> sources;
    for (const std::size_t i : order) {
        sources.insert(found[i].source);
    }
    std::fprintf(out.get(),
                 "REMARK Secondary shifts (ppm) of %zu triplets of residues of %zu proteins\n\n",
                 order.size(), sources.size());
    std::string vars = "VARS   SOURCE";
    std::string formats = "FORMAT %18s";
    for (int k = 1; k <= 3; ++k) {
        const std::string suffix = "_R" + std::to_string(k);
        vars += " RESID" + suffix + " RESNAME" + suffix;
        formats += " %4d %1s";
        for (const auto& [key, atom] : atoms) {
            vars += " " + atom + suffix;
            formats += " %7.3f";
        }
    }
    std::fprintf(out.get(), "%s\n%s\n\n", vars.c_str(), formats.c_str());
    for (const std::size_t i : order) {
        std::map<std::string, std::string>& record = found[i].record;
        std::fprintf(out.get(), "%s", found[i].source.c_str());
        for (int k = 1; k <= 3; ++k) {
            const std::string suffix = "_R" + std::to_string(k);
            std::fprintf(out.get(), " %4s %s", record["RESID" + suffix].c_str(),
                         record["RESNAME" + suffix].c_str());
            for (const auto& [key, atom] : atoms) {
                const double shift = orvix::textToDouble(record[atom + suffix]);
                if (shift >= orvix::missingLimit) {
                    std::fprintf(out.get(), " 9999");
                } else {
                    std::fprintf(out.get(), " %.3f", shift);
                }
            }
        }
        std::fputc('\n', out.get());
    }
    out.finish();
    std::cout << order.size() << " triplets of " << sources.size() << " proteins\n";
    return 0;
}

// ---- features -----------------------------------------------------------------------------------

/// Small generator of its own, so that a seed means the same everywhere.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    double uniform() { return static_cast<double>(scatter(state_++) >> 11U) * 0x1.0p-53; }
    double between(double low, double high) { return low + (high - low) * uniform(); }
    bool chance(double p) { return uniform() < p; }

  private:
    std::uint64_t state_;
};

/// Makes an input table as incomplete as real ones are: each nucleus loses a share of its own,
/// some proteins lack one or two nuclei altogether, and stretches of residues lack everything.
void thinOut(ORVIX& run, Random& random) {
    std::map<std::string, double> lost;
    const double share = random.between(0.02, 0.45);
    for (const auto& [key, atom] : run.atomNames) {
        lost[atom] = share * random.between(0.2, 1.2);
    }
    if (random.chance(0.4)) {
        for (int i = random.chance(0.5) ? 2 : 1; i > 0; --i) {
            lost[run.atomNames[1 + static_cast<int>(random.uniform() * 6.0)]] = 1.0;
        }
    }
    std::set<int> gone;
    const double gaps = random.between(0.0, 0.10);
    for (const auto& [residue, letter] : run.inTable.residList) {
        if (random.chance(gaps)) {
            const int length = 1 + static_cast<int>(random.uniform() * 3.0);
            for (int i = 0; i < length; ++i) {
                gone.insert(residue + i);
            }
        }
    }
    std::map<int, GDB::Entry> kept;
    for (auto& [number, row] : run.inTable.entries) {
        const std::string atom = row["ATOMNAME"] == "HA2" ? "HA" : row["ATOMNAME"];
        const bool drop = random.chance(lost[atom]);
        if (!drop && gone.count(orvix::textToInt(row["RESID"])) == 0) {
            kept[number] = row;
        }
    }
    if (kept.size() >= 20) {
        run.inTable.entries = std::move(kept);
    }
}

int features(const std::vector<std::string>& args) {
    const std::string kind = args.size() > 3 ? args[3] : "full";
    if (args.size() < 3 || (kind == "drop") != (args.size() == 5) ||
        (kind != "full" && kind != "noproton" && kind != "drop")) {
        fail("features WORK TABLES NAME [full|noproton|drop SEED]");
    }
    const fs::path work = args[0];
    const std::vector<Protein> proteins = readProteins(work);
    const LabelsByProtein labels = readLabels(work);
    std::map<std::string, std::set<std::string>> relatives;
    for (const Protein& protein : proteins) {
        relatives[protein.cluster].insert(protein.source);
    }
    fs::create_directories(work / "features");
    const ScratchDirectory scratch;
    const GDB table((fs::path(args[1]) / "orvix_obsCS.tab").string());
    if (table.entries.size() >= orvix::shifts::ObservedTriplets::rowLimit) {
        fail("too many triplets in " + table.fileName);
    }
    const orvix::shifts::ObservedTriplets observed(table);
    NewFile list(work / "features" / (args[2] + ".tsv"));
    NewFile matrix(work / "features" / (args[2] + ".f32"));
    std::fprintf(list.get(), "id\tresid\tletter\tmissing\trow\tphi\tpsi\tchi1\n");
    int rows = 0;
    for (std::size_t p = 0; p < proteins.size(); ++p) {
        const Protein& protein = proteins[p];
        bool noProton = kind == "noproton";
        std::function<void(ORVIX&)> change;
        Random random(0);
        if (kind == "drop") {
            random = Random(scatter(static_cast<std::uint64_t>(orvix::textToInt(args[4]))) +
                            scatter(p) * 3);
            noProton = random.chance(0.15);
            change = [&random](ORVIX& run) { thinOut(run, random); };
        }
        const auto run = runToSecondaryShifts(work / "tables" / (protein.id + ".tab"), args[1],
                                              scratch.path(), noProton, change);
        run->takeTriplets(std::make_shared<const orvix::shifts::ObservedTriplets>(
            observed, [&excluded = relatives[protein.cluster]](const std::string& source) {
                return excluded.count(source) != 0;
            }));
        std::map<int, Label> angles = anglesOf(work, protein, labels);
        const orvix::networks::ShiftsByResidue shifts = orvix::networks::clippedShifts(*run);
        for (int r = run->firstResid; r <= run->lastResid; ++r) {
            std::vector<double> values = orvix::networks::residueInput(*run, r, shifts);
            if (values.size() != orvix::networks::residueVectorSize) {
                values.clear();
            }
            std::fprintf(list.get(), "%s\t%d\t%s\t%d\t%d\t%.2f\t%.2f\t%.2f\n", protein.id.c_str(),
                         r, run->seqName(r).c_str(), run->missingAt(r), values.empty() ? -1 : rows,
                         static_cast<double>(angles[r].phi), static_cast<double>(angles[r].psi),
                         static_cast<double>(angles[r].chi1));
            if (!values.empty()) {
                const std::vector<float> narrow(values.begin(), values.end());
                std::fwrite(narrow.data(), sizeof(float), narrow.size(), matrix.get());
                ++rows;
            }
        }
    }
    matrix.finish();
    list.finish();
    std::cout << rows << " residue vectors\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + std::min(argc, 2), argv + argc);
    const std::string command = argc > 1 ? argv[1] : "";
    const std::map<std::string, int (*)(const std::vector<std::string>&)> commands = {
        {"reference", &reference},
        {"database", &database},
        {"triplets", &triplets},
        {"features", &features}};
    const auto found = commands.find(command);
    if (found == commands.end()) {
        fail("usage: orvix-data reference|database|triplets|features ...");
    }
    return found->second(args);
}
