// The phi/psi map stage: network input, surface networks, the map of each residue and its clusters.
#include <array>
#include <ostream>
#include <utility>

#include "base/phi_psi_grid.h"
#include "base/streams.h"
#include "model/model.h"
#include "networks/network_input.h"
#include "networks/phi_psi_input.h"
#include "networks/phi_psi_map.h"
#include "networks/stage_network.h"
#include "networks/surface_network.h"
#include "run/orvix.h"
#include "run/prediction.h"

namespace {

using orvix::networks::MapChoice;
using orvix::networks::WindowCount;

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

/// The raw map of a residue by the network that counts for it; empty if that has none.
std::vector<double> rawMap(const ORVIX& run, int residue, const WindowCount& missing) {
    const MapChoice choice =
        chooseMap(orvix::networks::residueRange(run), residue, missing, run.noProton);
    if (choice == MapChoice::none) {
        return std::vector<double>(orvix::boxCount, 0.0);
    }
    return orvix::networks::vectorOf(
        choice == MapChoice::standard ? run.mapStandard : run.mapHybrid, residue);
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
    row.values = map;
    row.clusters = clusterList(found);
    std::vector<int> seeds;
    for (const orvix::summaries::MapCluster& cluster : row.clusters) {
        seeds.push_back(cluster.boxes.front());
    }
    row.firstShare = orvix::networks::seedShare(map, seeds);
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
    const std::array<double, orvix::boxCount> prior = orvix::phiPsiPrior();
    for (const auto& [residue, standard] : mapStandard) {
        const WindowCount missing = orvix::networks::missingInWindow(missingCount, residue);
        const std::vector<double> raw = rawMap(*this, residue, missing);
        if (raw.size() == prior.size()) {
            storeMap(*this, residue, missing, orvix::networks::boxMap(raw, prior));
        }
    }
    writeTable(orvix::ResultTable::maps);
}
