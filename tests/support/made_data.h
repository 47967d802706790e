#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orvix::test {

/// One level of a made network: all weights are zero but those of a few signals, so that
///   output k = bias k + sum over signals s of weight(s, k) * tanh(tanh(input of s)).
/// All members of the ensemble are alike.
struct MadeLevel {
    struct Signal {
        int input;
        std::vector<std::pair<int, double>> weights;  ///< output, weight
    };

    int inputs, hidden, outputs;
    std::vector<double> bias;
    std::vector<Signal> signals;

    /// Output `k` when the signals' inputs have these values.
    double value(int k, const std::vector<double>& inputsOfSignals) const;
};

/// The three weight files of a level: `prefix`.WI.tab, .WL1.tab, .WL2.tab.
void writeLevel(const std::string& prefix, const MadeLevel& level, int members = 3);

/// What the made networks say, for expectations. The surface networks know two peaks, each a box
/// and those around it, by the CA shift of the residue: it speaks for the helix box when positive,
/// for the strand box when negative; the hybrid network never looks at shifts.
namespace made {

inline constexpr int helixBox = 6 * 18 + 7;    ///< phi -60..-40, psi -40..-20
inline constexpr int strandBox = 3 * 18 + 15;  ///< phi -120..-100, psi 120..140
extern const MadeLevel surface1, surface2, hybrid;
extern const MadeLevel structure1, structure2, structureWide1, structureWide2;
/// Constant class values (H, E, L) of the networks for an incomplete window and of the sequence.
inline constexpr double center[3] = {0.7, 0.2, 0.1};
inline constexpr double before[3] = {0.1, 0.7, 0.2};
inline constexpr double after[3] = {0.2, 0.2, 0.6};
inline constexpr double sequence[3] = {0.15, 0.25, 0.6};
inline constexpr double profile[3] = {0.5, 0.3, 0.2};

/// The query: helix 2..11, turn 12..14, strand 15..23 of 24 residues. Residue 8 lacks CB, residue
/// 18 all six shifts.
inline constexpr int length = 24;
extern const char* const query;
/// The database: proteins made100, made101 ... of the length and fold of the query, made100 with
/// its sequence. So many because the search ranks by a product with the score of the map, which is
/// only right among rows that fit the map: there have to be a thousand. The first few are the
/// observed triplets.
inline constexpr int proteins = 400;
inline constexpr int observed = 8;

}  // namespace made

/// Writes a whole data directory (`directory`/tab with tables, networks, observed triplets and a
/// database), the shift table query.tab and the profile query.check. All of it is
/// computed here; nothing was trained or measured.
void writeMadeData(const std::string& directory);

}  // namespace orvix::test
