// Secondary structure from a sequence profile alone.
#include <ostream>

#include "base/run_end.h"
#include "base/streams.h"
#include "base/text_writer.h"
#include "networks/check_file.h"
#include "networks/secondary_structure.h"
#include "networks/sequence_network.h"
#include "networks/stage_network.h"
#include "networks/structure_table.h"
#include "run/orvix.h"
#include "run/predict.h"
#include "shifts/residue_numbers.h"

namespace {

/// Reads the profile of the run; residues are numbered from `first`.
std::map<int, std::vector<double>> readProfile(ORVIX& run, int first) {
    run.seq.clear();
    orvix::networks::SequenceProfile profile;
    int length = 0, extraRows = 0;
    const orvix::networks::CheckFileStatus status =
        orvix::networks::readCheckFile(run.blastCheckFile, profile, length, extraRows);
    if (status == orvix::networks::CheckFileStatus::cannotOpen) {
        orvix::out() << "Unable to open file";
        throw orvix::RunEnd(orvix::EndReason::input, -1, "",
                            "can't open check file " + run.blastCheckFile);
    }
    if (status == orvix::networks::CheckFileStatus::badLength) {
        const std::string message = "Check file " + run.blastCheckFile +
                                    " has a sequence length of " + std::to_string(length) +
                                    ", expected 0 to " +
                                    std::to_string(orvix::networks::checkFileLengthLimit);
        throw orvix::RunEnd(orvix::EndReason::input, -1, "\t" + message + "\n", message);
    }
    if (extraRows > 0) {
        orvix::err() << "\tCheck file " << run.blastCheckFile << " has " << extraRows
                     << " rows beyond its sequence, they are dropped\n";
    }
    std::map<int, std::vector<double>> input;
    for (std::size_t i = 0; i < profile.rows.size(); ++i) {
        const int residue = first + static_cast<int>(i);
        std::vector<double>& vector = input[residue];
        for (double value : profile.rows[i]) {
            vector.push_back(value * 100.0);
        }
        run.seq[residue] = std::string(1, profile.sequence[i]);
    }
    return input;
}

/// The rows of the table; a residue without a class counts as coil.
std::map<int, orvix::summaries::StructureRow> structureRowsOf(const ORVIX& run) {
    std::map<int, orvix::summaries::StructureRow> rows;
    for (const auto& [residue, values] : run.seqSSResult) {
        const orvix::networks::ClassCall call = orvix::networks::callClass(values, "hec");
        orvix::summaries::StructureRow& row = rows[residue];
        row.residue = residue;
        row.name = row.state = run.seqName(residue);
        row.helix = values[0];
        row.strand = values[1];
        row.coil = values[2];
        row.confidence = orvix::networks::shownConfidence(call.confidence);
        row.letter = call.letter == "x" ? "c" : call.letter;
    }
    return rows;
}

}  // namespace

void ORVIX::runSeqSS_Prediction() {
    orvix::out() << "Secondary structure prediction ..." << std::endl;
    int first = 1;
    if (!inFile.empty()) {
        inTable = orvix::readShiftInput(inFile).table;
        seq = inTable.residList;
        first = inTable.firstResid;
        orvix::shifts::requireResidueNumbers(first, first, first);
    }
    orvix::networks::ResidueMap profile;
    if (!blastCheckFile.empty()) {
        profile = readProfile(*this, first);
    }
    using orvix::networks::stageNetwork;
    seqSSResult = orvix::networks::runSequenceNetwork(
        *stageNetwork(*this, orvix::networks::profileKind), profile, {});

    const std::string file = outBase + "SS.tab";
    orvix::TextWriter table(file);
    if (!table.isOpen()) {
        orvix::err() << "\tCan't open write file " << file << " !!!\n";
        return;
    }
    table.text() = orvix::networks::sequenceStructureTable(inTitle, first, structureRowsOf(*this));
}
