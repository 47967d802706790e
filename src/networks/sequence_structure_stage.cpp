#include <algorithm>
#include <cstdio>
#include <memory>
#include <ostream>

#include "base/process.h"
#include "base/run_end.h"
#include "base/streams.h"
#include "networks/check_file.h"
#include "networks/secondary_structure.h"
#include "networks/sequence_network.h"
#include "networks/stage_network.h"
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
    std::map<int, std::vector<double>> profile;
    if (!blastCheckFile.empty()) {
        profile = readProfile(*this, first);
    }
    using orvix::networks::stageNetwork;
    seqSSResult = orvix::networks::runSequenceNetwork(
        *stageNetwork(*this, orvix::networks::profileKind), profile, {});

    const std::string file = outBase + "SS.tab";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(file.c_str(), "w"),
                                                              &std::fclose);
    if (out == nullptr) {
        orvix::err() << "\tCan't open write file " << file << " !!!\n";
        return;
    }
    orvix::networks::ClassBlocks blocks("\n");
    std::string rows;
    for (const auto& [residue, values] : seqSSResult) {
        orvix::networks::ClassCall call = orvix::networks::callClass(values, "hec");
        if (call.letter == "x") {
            call.letter = "c";
        }
        call.confidence = orvix::networks::shownConfidence(call.confidence);
        const std::string& letter = seqName(residue);
        blocks.add(letter, call.letter, call.confidence);
        char line[200];
        std::snprintf(line, sizeof line, " %4d %1s %8.3f %8.3f %8.3f %4.2f %s\n", residue,
                      letter.c_str(), values[0], values[1], values[2], call.confidence,
                      call.letter.c_str());
        rows += line;
    }
    const std::string text = "REMARK  Neural network secondary structure prediction for " +
                             inTitle +
                             "\nREMARK  Predictions using amino acid sequence alone\n"
                             "REMARK     h-Helix    e-Strand   c-Coil \n\n"
                             "DATA FIRST_RESID " +
                             std::to_string(first) + "\n\n" + blocks.finish() +
                             "VARS RESID RESNAME Q_H Q_E Q_L CONFIDENCE SS_CLASS\n"
                             "FORMAT %4d %1s %8.3f %8.3f %8.3f %4.2f %s\n\n" +
                             rows;
    std::fwrite(text.data(), 1, text.size(), out.get());
    orvix::finishFile(out.get(), file);
}
