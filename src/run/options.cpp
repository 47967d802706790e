// The options of the command line and the usage text made of them.
#include "run/options.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "run/orvix.h"

namespace orvix {
namespace {

constexpr bool known = true, unknown = false;

const Option options[] = {
    {"orvixDir", known, OptionKind::value, &ORVIX::orvixDir},
    {"orvixNDir", known, OptionKind::value, &ORVIX::orvixDir, "orvixDir"},
    {"orvixnDir", known, OptionKind::value, &ORVIX::orvixDir, "orvixNDir", "[ORVIXN_DIR]",
     "ORVIX-N Main Directory."},
    {"shiftDir", known, OptionKind::none},
    {"pdbDir", known, OptionKind::none},
    {"tabDir", known, OptionKind::value, &ORVIX::tabDir, nullptr, "[tab]",
     "Subdirectory of Database Tables."},
    {"predDir", known, OptionKind::none},
    {"in", known, OptionKind::value, &ORVIX::inFile, "star", "[None]", "Input Shift Table."},
    {"inTitle", known, OptionKind::value, &ORVIX::inTitle, nullptr, "[None]",
     "Input Shift Table Title."},
    {"star", known, OptionKind::value, &ORVIX::inFile},
    {"bmrb",
     known,
     OptionKind::none,
     {},
     nullptr,
     "[bmrb.tab]",
     "Intermediate Output for Converted Shifts."},
    {"auto",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "Test Input File Formats, Auto-Convert BMRB\nNMR-Star Format if Needed (Default)."},
    {"noauto", known, OptionKind::none, {}, nullptr, "", "No Input Format Testing or Conversion."},
    {"graph", known, OptionKind::none},
    {"nograph", known, OptionKind::none},
    {"ref", known, OptionKind::value, &ORVIX::refFile, nullptr, "[None]",
     "Reference PDB Structure Input."},
    {"refTitle", known, OptionKind::value, &ORVIX::refTitle, nullptr, "[None]",
     "Reference PDB Structure Input Title."},
    {"pdb", known, OptionKind::value, &ORVIX::refFile, "ref"},
    {"sum", known, OptionKind::value, &ORVIX::sumFile, nullptr, "[pred.tab]",
     "Summary Prediction Output."},
    {"all", known, OptionKind::value, &ORVIX::allFile, nullptr, "[predAll.tab]",
     "Comprehensive Prediction Output."},
    {"out", known, OptionKind::value, &ORVIX::sumFile, "sum"},
    {"homo", known, OptionKind::value, &ORVIX::homologyFile},
    {"iso", known, OptionKind::on, &ORVIX::isoCorrect, nullptr, "",
     "Apply 2H Isotope Correction to CA/CB Shifts."},
    {"noiso", known, OptionKind::none},
    {"autoproton",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "Automatically Set Proton/No Proton Mode."},
    {"noproton", known, OptionKind::on, &ORVIX::noProton, nullptr, "",
     "Ignore Proton Shifts in Input, Use ORVIX\nParameters for 13C/15N Input Shifts Only."},
    {"proton",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "Use ORVIX-N Parameters for 1H/13C/15N (Default)."},
    {"offset", known, OptionKind::on, &ORVIX::offsetCorrect, nullptr, "",
     "Apply CS Offset Correction If Needed."},
    {"map", known, OptionKind::none},
    {"db", known, OptionKind::value, &ORVIX::dbFile, nullptr, "[orvix.tab]",
     "ORVIX-N Database File."},
    {"w", known, OptionKind::value, &ORVIX::weightFile},
    {"rand", known, OptionKind::none, {}, nullptr, "[randcoil.tab]", "Random Coil Shift Table."},
    {"adj", known, OptionKind::value, &ORVIX::rcAdjFile, nullptr, "[rcadj.tab]",
     "Adjustment Table, or Keyword None."},
    {"prev", known, OptionKind::value, &ORVIX::rcPrevFile, nullptr, "[rcprev.tab]",
     "Previous Residue Adjustment, or None."},
    {"next", known, OptionKind::value, &ORVIX::rcNextFile, nullptr, "[rcnext.tab]",
     "Next Residue Adjustment, or None."},
    {"limits", known, OptionKind::value, &ORVIX::ssLimitFile, nullptr, "[sslimit.tab]",
     "Secondary Shift Limits (For -clip)."},
    {"noautoExcl",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "No Auto-Exclude of Identical Sequences."},
    {"autoExcl",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "Exclude Database Proteins with Sequence\nIdentical to Input Shifts (Default)."},
    {"excl", known, OptionKind::value, &ORVIX::exclList, nullptr, "[None]",
     "List of Database Proteins to Exclude;\nOverrides Auto-Exclude."},
    {"first", known, OptionKind::value, &ORVIX::firstResid, nullptr, "[First]",
     "First RESID to Use."},
    {"last", known, OptionKind::value, &ORVIX::lastResid, nullptr, "[Last]", "Last RESID to Use."},
    {"thresh", known, OptionKind::none},
    {"count", known, OptionKind::value, &ORVIX::count},
    {"clip", known, OptionKind::none, {}, nullptr, "", "Clip Extreme Shifts (Default)."},
    {"noclip", known, OptionKind::off, &ORVIX::clip, nullptr, "", "No Clipping of Shifts."},
    {"path", known, OptionKind::off, &ORVIX::noPath, "nopath"},
    {"nopath", known, OptionKind::none},
    {"nofast", known, OptionKind::none},
    {"verb", known, OptionKind::off, &ORVIX::noVerb, nullptr, "", "Verbose Mode ON."},
    {"noverb", known, OptionKind::none, {}, nullptr, "", "Verbose Mode OFF (Default)."},
    {"tpct", known, OptionKind::none},
    {"dbpct", known, OptionKind::none},
    {"s2Thresh",
     known,
     OptionKind::special,
     {},
     nullptr,
     "[0.6]",
     "Minimum RCI-S2 for Accept A Prediction."},
    {"check", known, OptionKind::on, &ORVIX::checkOnly, nullptr, "",
     "Quality Check Only, without ORVIX-N Prediction."},
    {"blast_check", known, OptionKind::value, &ORVIX::blastCheckFile, nullptr, "[None]",
     "Input Psi-Blast .check File."},
    {"seqSS",
     known,
     OptionKind::special,
     {},
     nullptr,
     "",
     "Run the Module Only, without ORVIX-N Prediction."},
    {"help", known, OptionKind::special},
    {"alignLen", known, OptionKind::value, &ORVIX::alignLen},
    {"len", known, OptionKind::value, &ORVIX::alignLen, "alignLen"},
    {"np", known, OptionKind::value, &ORVIX::nProc, nullptr, "[1]",
     "Number of processors for multi-threading."},
    {"OxiCysCheck",
     known,
     OptionKind::none,
     {},
     nullptr,
     "",
     "Auto Oxidization State Correction for CYS (Default)\n"
     "(According To A CB Shift Cutoff Of 34ppm)"},
    {"noOxiCysCheck", known, OptionKind::on, &ORVIX::noOxiCysCheck, "OxiCysCheck", "",
     "No Auto Oxidization State Correction for CYS"},
    // These work, with a warning about their name.
    {"nproc", unknown, OptionKind::value, &ORVIX::nProc, "np"},
    {"rc", unknown, OptionKind::value, &ORVIX::randCoilFile},
};

/// A heading of the usage text and what stands below it.
struct Section {
    const char* heading;
    std::initializer_list<const char*> names;
};

const Section sections[] = {
    {"Input Options:\n", {"in", "inTitle", "ref", "refTitle", "proton", "noproton", "autoproton"}},
    {"Output Options: \n", {"sum", "all", "verb", "noverb"}},
    {"\nPrediction Parameters:\n", {"first", "last", "s2Thresh"}},
    {"\nChemical Shift (CS) Quality Check and Correction:\n",
     {"iso", "offset", "check", "clip", "noclip", "OxiCysCheck", "noOxiCysCheck"}},
    {"\nExclude Options (Use Only One):\n", {"autoExcl", "noautoExcl", "excl"}},
    {"\nAuto Format-Conversion Options for Input Shifts:\n", {"auto", "noauto", "bmrb"}},
    {"\nORVIX-N Database:\n",
     {"orvixnDir", "tabDir", "rand", "adj", "prev", "next", "limits", "db"}},
    {"\nSequence Based Secondary Structure Prediction Options:\n", {"seqSS", "blast_check"}},
    {"\n", {"np"}}};

constexpr const char* examples =
    "\nExamples:\n"
    " Predict Phi/Psi Backbone and Chi1 Torsions from Ubiquitin Chemical Shifts:\n"
    "   orvixn -in ubiq.tab\n"
    " Predict Phi/Psi and Chi1, Compare Predictions to Known Ubiquitin Structure:\n"
    "   orvixn -in ubiq.tab -ref ubiq.pdb\n";

void appendPadded(std::string& text, std::string_view word, std::size_t width) {
    text += word;
    text.append(width - std::min(width, word.size()), ' ');
}

void appendHelp(std::string& text, const char* name) {
    constexpr std::size_t nameWidth = 13, sampleWidth = 15;
    const Option& option = *std::find_if(
        std::begin(options), std::end(options),
        [name](const Option& candidate) { return std::string_view(candidate.name) == name; });
    text += " -";
    appendPadded(text, option.name, nameWidth);
    appendPadded(text, option.sample, sampleWidth);
    for (const char letter : std::string_view(option.help)) {
        text += letter;
        if (letter == '\n') {
            text.append(2 + nameWidth + sampleWidth, ' ');
        }
    }
    text += '\n';
}

}  // namespace

std::span<const Option> allOptions() {
    return options;
}

std::string usageText() {
    std::string text;
    for (const Section& section : sections) {
        text += section.heading;
        for (const char* name : section.names) {
            appendHelp(text, name);
        }
    }
    return text + examples;
}

}  // namespace orvix
