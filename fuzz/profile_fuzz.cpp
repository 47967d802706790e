#include <string_view>

#include "fuzz_input.h"
#include "import/profile_import.h"
#include "networks/check_file.h"

namespace {

void requireWhole(const orvix::networks::SequenceProfile& profile) {
    require(profile.rows.size() == profile.sequence.size());
    for (const auto& row : profile.rows) {
        for (const double value : row) {
            require(value >= 0.0 && value <= 1.0001);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile copy;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    orvix::importing::SubstitutionScores scores{};
    for (std::size_t i = 0; i < scores.size(); ++i) {
        scores[i].fill(-1.0);
        scores[i][i] = 5.0;
    }
    orvix::networks::SequenceProfile profile;
    if (orvix::importing::profileFromPssm(text, profile).empty()) {
        requireWhole(profile);
        orvix::networks::writeCheckFile(copy.path(), profile);
    }
    profile = {};
    if (orvix::importing::profileFromAlignment(text, scores, profile).empty()) {
        requireWhole(profile);
        int length = 0;
        int extraRows = 0;
        orvix::networks::SequenceProfile again;
        if (orvix::networks::writeCheckFile(copy.path(), profile)) {
            require(orvix::networks::readCheckFile(copy.path(), again, length, extraRows) ==
                    orvix::networks::CheckFileStatus::ok);
            require(again.sequence == profile.sequence && again.rows == profile.rows);
        }
    }
    int length = 0;
    int extraRows = 0;
    orvix::networks::readCheckFile(inputFile(data, size), profile, length, extraRows);
    return 0;
}
