#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/messages.h"
#include "run/prediction.h"
#include "run/settings.h"
#include "tables/gdb.h"

class PDB;

namespace orvix {

class Model;

/// The shifts that a run works on.
struct ShiftInput {
    std::string name;  ///< file or whatever else messages call it
    GDB table;         ///< the input table
    /// The known structure to compare with, with the residue numbers of the table; absent for the
    /// file of Settings::refFile as it stands.
    std::shared_ptr<const PDB> reference{};
};

/// Parses the text of an input table. `name` stands for it in messages.
ShiftInput shiftInput(std::string_view text, const std::string& name);
/// Reads an input table from a file. Throws InputRejected when it can't be opened.
ShiftInput readShiftInput(const std::string& path);

/// How a run is carried out; nothing here changes its result.
struct RunControl {
    std::stop_token stop;  ///< a stop that is asked for ends the run between two residues
    int threads = 0;       ///< most threads of its inner loops; 0 for all processors
    /// Hears each message when it is spoken, on the thread of the run; empty for nobody.
    std::function<void(const Message&)> listener;
};

/// The whole prediction for one protein. Writes no file, prints nothing; what a run has to say is
/// in the messages of its result. May be called on any number of threads at the same time with one
/// model. Throws RunEnd: input for what is wrong with shifts, reference structure or settings,
/// dataDirectory for tables, networks and database, system for a stop.
Prediction predict(const std::shared_ptr<const Model>& model, ShiftInput input,
                   const Settings& settings, const RunControl& control = {});

/// The stages of the shifts alone: sequence, secondary shifts, outliers, referencing offsets. The
/// rows of later stages are empty.
Prediction checkShifts(const std::shared_ptr<const Model>& model, ShiftInput input,
                       const Settings& settings, const RunControl& control = {});

}  // namespace orvix
