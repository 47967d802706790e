#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <ostream>

#include "base/angles.h"
#include "base/numbers.h"
#include "base/phi_psi_grid.h"
#include "base/process.h"
#include "base/streams.h"
#include "networks/network_input.h"
#include "networks/phi_psi_input.h"
#include "networks/phi_psi_table.h"
#include "networks/surfann.h"
#include "run/orvix.h"

namespace {

constexpr std::size_t boxCount = 324;
constexpr int obsRowLimit = 24000;

/// Loads the observed triplets into the arrays that the averaging scans.
void loadObservedTriplets(ORVIX& run) {
    run.obsCSTable.loadGDB(run.tablePath("orvix_obsCS.tab"));
    if (run.obsShift == nullptr) {
        run.obsShift = new double*[obsRowLimit];
        run.obsShift[0] = new double[static_cast<std::size_t>(obsRowLimit) * 18]();
        run.obsResName = new std::string*[obsRowLimit];
        run.obsResName[0] = new std::string[static_cast<std::size_t>(obsRowLimit) * 4];
        for (int i = 1; i < obsRowLimit; ++i) {
            run.obsShift[i] = run.obsShift[0] + static_cast<std::ptrdiff_t>(i) * 18;
            run.obsResName[i] = run.obsResName[0] + static_cast<std::ptrdiff_t>(i) * 4;
        }
    }
    std::array<std::string, 18> columns;
    std::array<std::string, 4> names;
    for (int k = 1; k <= 3; ++k) {
        const std::string suffix = "_R" + std::to_string(k);
        names[static_cast<std::size_t>(k)] = "RESNAME" + suffix;
        for (const auto& [key, atom] : run.atomNames) {
            columns[static_cast<std::size_t>((k - 1) * 6 + key - 1)] = atom + suffix;
        }
    }
    const auto cell = [](const std::map<std::string, std::string>& row, const std::string& name) {
        static const std::string none;
        const auto found = row.find(name);
        return std::cref(found == row.end() ? none : found->second);
    };
    for (const auto& [number, row] : run.obsCSTable.entries) {
        if (number < 1 || number >= obsRowLimit) {
            continue;
        }
        const bool excluded = !run.exclList.empty() &&
                              run.exclList.find(cell(row, "SOURCE").get()) != std::string::npos;
        for (std::size_t j = 0; j < columns.size(); ++j) {
            run.obsShift[number][j] =
                excluded ? 99.0 : orvix::textToDouble(cell(row, columns[j]).get());
        }
        for (std::size_t k = 1; k <= 3; ++k) {
            run.obsResName[number][k] = cell(row, names[k]).get();
        }
    }
}

/// Fills `annInput` for the residues in range.
void prepareNetworkInput(ORVIX& run) {
    const orvix::networks::ShiftsByResidue shifts = orvix::networks::clippedShifts(run);
    for (int r = run.firstResid; r <= run.lastResid; ++r) {
        std::vector<double> vector = orvix::networks::residueInput(run, r, shifts);
        if (vector.size() == orvix::networks::residueVectorSize) {
            run.annInput[r] = std::move(vector);
        }
    }
}

/// Runs the surface networks on the network input.
void runSurfaceNetworks(ORVIX& run) {
    std::map<int, std::vector<double>> input = orvix::networks::residueFirst(run.annInput);
    if (!run.noProton) {
        SURFANN standard(160, 180, 324, 1620, 360, 324, run.tabDir, "surf20");
        standard.set_input_code(5);
        standard.setThread(run.nProc);
        standard.runANN(input);
        run.mapStandard = std::move(standard.level2Output);
    }
    SURFANN hybrid(160, 180, 324, 1620, 360, 324, run.tabDir, "surf20_hyb");
    hybrid.set_input_code(5);
    hybrid.setHybrid(1);
    hybrid.setThread(run.nProc);
    hybrid.runHybridANN(input);
    run.mapHybrid = std::move(hybrid.level1Output);
    if (run.noProton) {
        run.mapStandard = run.mapHybrid;
    }
}

/// Shifts missing in the window of five around a residue.
struct WindowCount {
    int total = 0;
    int worst = 0;
};

WindowCount missingInWindow(const ORVIX& run, int residue) {
    WindowCount window;
    for (int r = residue - 2; r <= residue + 2; ++r) {
        window.total += run.missingAt(r);
        window.worst = std::max(window.worst, run.missingAt(r));
    }
    return window;
}

/// The map that counts for a residue: the standard network where the window has its shifts, the
/// hybrid network where it lacks some or the range ends close by, zeros otherwise.
const std::vector<double>& chooseMap(const ORVIX& run, int residue, const WindowCount& missing) {
    static const std::vector<double> zeros(boxCount, 0.0);
    static const std::vector<double> none;
    const auto mapOf =
        [residue](const std::map<int, std::vector<double>>& maps) -> const std::vector<double>& {
        const auto found = maps.find(residue);
        return found == maps.end() ? none : found->second;
    };
    const int lastSequence = run.seqFirstResid + run.seqLength - 1;
    // The inner neighbours of an end of the range that is no end of the chain come first.
    if ((residue == run.firstResid + 1 && residue != run.firstCSResid) ||
        (residue == run.lastResid - 1 && residue != lastSequence)) {
        return mapOf(run.mapHybrid);
    }
    if (residue < run.firstResid || residue > run.lastResid ||
        (residue == run.firstResid && run.firstResid != run.firstCSResid) ||
        (residue == run.lastResid && run.lastResid != lastSequence)) {
        return zeros;
    }
    const int limit = run.noProton ? 5 : 4;
    if (missing.worst <= limit) {
        return mapOf(run.mapStandard);
    }
    return missing.total <= 24 ? mapOf(run.mapHybrid) : zeros;
}

}  // namespace

void ORVIX::runABP_Prediction() {
    loadObservedTriplets(*this);
    orvix::out() << "Preparing inputs for ANN prediction ..." << std::endl;
    prepareNetworkInput(*this);
    orvix::out() << (noProton ? "ANN prediction using 13C/15N parameters only ..."
                              : "ANN prediction using standard 1H/13C/15N parameters ...")
                 << std::endl;
    runSurfaceNetworks(*this);

    const std::string file = outBase + "ABP.tab";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(file.c_str(), "w"),
                                                              &std::fclose);
    if (out == nullptr) {
        orvix::err() << "\tCan't open file write file " << file << " !!!\n";
        return;
    }
    std::string text = orvix::networks::phiPsiTableHeader(inTitle);
    const std::array<double, boxCount> prior = orvix::phiPsiPrior();
    auto found = std::make_unique<ClusterData>();
    for (const auto& [residue, standard] : mapStandard) {
        const WindowCount missing = missingInWindow(*this, residue);
        const std::vector<double>& raw = chooseMap(*this, residue, missing);
        if (raw.size() != boxCount) {
            continue;
        }
        std::vector<double> map(boxCount);
        for (std::size_t k = 0; k < boxCount; ++k) {
            const double q = raw[k] * prior[k];
            map[k] = q < 0.0 ? 0.0 : q;
        }
        const int clusterCount = getClusterInfo(map, *found);
        clusters[residue] = *found;
        double seeds = 0.0;
        for (int c = 1; c <= clusterCount; ++c) {
            seeds += map[static_cast<std::size_t>(found->clusterMember[c][1])];
        }
        double share = 0.0;
        if (clusterCount > 0 && seeds != 0.0) {
            share = map[static_cast<std::size_t>(found->clusterMember[1][1])] / seeds;
        }
        annConfidence[residue] = share;
        orvix::networks::PhiPsiTableRow row;
        row.residue = residue;
        row.name = residueLabel(residue);
        row.windowShifts = 30 - missing.total;
        row.residueShifts = 6 - missingAt(residue);
        row.clusterCount = clusterCount;
        row.firstShare = share;
        orvix::networks::appendPhiPsiRow(text, row, map);
        annPhiPsi[residue] = std::move(map);
    }
    std::fwrite(text.data(), 1, text.size(), out.get());
    orvix::finishFile(out.get(), file);
}
