#include "jobs/known_relatives.h"

#include <cmath>

#include "base/message_log.h"
#include "model/model.h"
#include "run/prediction.h"
#include "search/database.h"
#include "search/relatives.h"

namespace orvix::jobs {
namespace {

constexpr std::size_t listedRelatives = 4;

}  // namespace

std::string findRelatives(const Model& model, const Prediction& checked,
                          std::optional<int> percentLeftOut, Settings& settings) {
    std::string sequence;
    for (const auto& [number, letter] : checked.sequenceAsRead) {
        sequence += letter.size() == 1 ? letter[0] : 'X';
    }
    // The run itself says what the loading has to say.
    MessageLog unheard;
    const ScopedStreams streams(unheard.streams());
    const auto database = model.database(checked.settings.dbFile, checked.settings.exclList);
    const int percent = percentLeftOut.value_or(usualRelativePercent);
    const auto relatives = search::relativesOf(sequence, *database, percent / 100.0);
    if (relatives.empty()) {
        return percentLeftOut ? "No relative of " + std::to_string(percent) +
                                    " % identity and more in the database: none left out"
                              : std::string();
    }
    std::string list;
    for (std::size_t i = 0; i < relatives.size() && i < listedRelatives; ++i) {
        const search::Relative& one = relatives[i];
        list += (i > 0 ? ", " : "") + one.source.substr(0, one.source.find_last_not_of('_') + 1) +
                " (" + std::to_string(static_cast<int>(std::floor(100.0 * one.identity))) +
                " % of " + std::to_string(one.aligned) + ")";
    }
    if (relatives.size() > listedRelatives) {
        list += " and " + std::to_string(relatives.size() - listedRelatives) + " more";
    }
    const std::string kind = "of " + std::to_string(percent) + " % identity and more: " + list;
    if (!percentLeftOut) {
        return "The database holds this protein or relatives " + kind +
               "; --exclude-relatives leaves them out";
    }
    settings.exclList = search::exclusionText(settings.exclList, relatives);
    return "Left out of the database, this protein or relatives " + kind;
}

}  // namespace orvix::jobs
