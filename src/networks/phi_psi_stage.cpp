#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

#include "base/phi_psi_grid.h"
#include "base/streams.h"
#include "model/model.h"
#include "networks/network_input.h"
#include "networks/phi_psi_input.h"
#include "networks/stage_network.h"
#include "networks/surface_network.h"
#include "run/orvix.h"
#include "run/prediction.h"

namespace {

constexpr std::size_t boxes = orvix::boxCount;

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
    using namespace orvix::networks;
    const ResidueMap input = residueFirst(run.annInput);
    if (!run.noProton) {
        run.mapStandard = runSurfaceNetwork(*stageNetwork(run, surfaceKind), input);
    }
    run.mapHybrid = runHybridNetwork(*stageNetwork(run, hybridSurfaceKind), input);
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
    static const std::vector<double> zeros(boxes, 0.0);
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

/// The map weighted by the density of the plane; what is negative counts as 0.
std::vector<double> weightedMap(const std::vector<double>& raw,
                                const std::array<double, boxes>& prior) {
    std::vector<double> map(boxes);
    for (std::size_t k = 0; k < boxes; ++k) {
        const double q = raw[k] * prior[k];
        map[k] = q < 0.0 ? 0.0 : q;
    }
    return map;
}

/// Value of the first cluster's seed over those of all seeds; 0 without clusters.
double shareOfFirst(const std::vector<double>& map, const ClusterData& found) {
    const auto seed = [&](int c) {
        return map[static_cast<std::size_t>(found.clusterMember[c][1])];
    };
    double seeds = 0.0;
    for (int c = 1; c <= found.clusterCount; ++c) {
        seeds += seed(c);
    }
    return found.clusterCount > 0 && seeds != 0.0 ? seed(1) / seeds : 0.0;
}

std::vector<orvix::summaries::MapCluster> clusterList(const ClusterData& found) {
    std::vector<orvix::summaries::MapCluster> clusters;
    for (int c = 1; c <= found.clusterCount; ++c) {
        const int* const members = found.clusterMember[c];
        clusters.push_back(
            {{members + 1, members + 1 + found.clusterSize[c]}, found.clusterSum[c]});
    }
    return clusters;
}

/// Map, clusters and table row of a residue.
void storeMap(ORVIX& run, int residue, const WindowCount& missing, std::vector<double> map) {
    ClusterData& found = run.clusters[residue];
    orvix::summaries::MapRow& row = run.mapRows[residue];
    row.residue = residue;
    row.name = run.residueLabel(residue);
    row.windowShifts = 30 - missing.total;
    row.residueShifts = 6 - run.missingAt(residue);
    row.clusterCount = run.getClusterInfo(map, found);
    row.firstShare = shareOfFirst(map, found);
    row.values = map;
    row.clusters = clusterList(found);
    run.annConfidence[residue] = row.firstShare;
    run.annPhiPsi[residue] = std::move(map);
}

}  // namespace

void ORVIX::runABP_Prediction() {
    takeTriplets(model->observedTriplets(tablePath("orvix_obsCS.tab"), exclList));
    orvix::out() << "Preparing inputs for ANN prediction ..." << std::endl;
    prepareNetworkInput(*this);
    orvix::out() << (noProton ? "ANN prediction using 13C/15N parameters only ..."
                              : "ANN prediction using standard 1H/13C/15N parameters ...")
                 << std::endl;
    runSurfaceNetworks(*this);

    if (!openTable(orvix::ResultTable::maps)) {
        return;
    }
    const std::array<double, boxes> prior = orvix::phiPsiPrior();
    for (const auto& [residue, standard] : mapStandard) {
        const WindowCount missing = missingInWindow(*this, residue);
        const std::vector<double>& raw = chooseMap(*this, residue, missing);
        if (raw.size() == boxes) {
            storeMap(*this, residue, missing, weightedMap(raw, prior));
        }
    }
    writeTable(orvix::ResultTable::maps);
}
