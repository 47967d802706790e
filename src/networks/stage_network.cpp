#include "networks/stage_network.h"

#include "model/model.h"
#include "networks/ann.h"
#include "networks/network_object.h"
#include "run/orvix.h"

namespace orvix::networks {

std::shared_ptr<const NetworkWeights> stageNetwork(const ORVIX& run, const NetworkKind& kind) {
    return run.model->network(filePrefix(ANN(run.tabDir, kind.name)), kind);
}

ResidueRange residueRange(const ORVIX& run) {
    return {run.firstResid, run.lastResid, run.firstCSResid, run.lastCSResid,
            run.seqFirstResid + run.seqLength - 1};
}

}  // namespace orvix::networks
