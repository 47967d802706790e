#include <ostream>
#include <string>

#include "base/run_end.h"
#include "base/streams.h"
#include "run/citation.h"
#include "run/orvix.h"

namespace {

constexpr const char* usageText =
    R"(Input Options:
 -in           [None]         Input Shift Table.
 -inTitle      [None]         Input Shift Table Title.
 -ref          [None]         Reference PDB Structure Input.
 -refTitle     [None]         Reference PDB Structure Input Title.
 -proton                      Use ORVIX-N Parameters for 1H/13C/15N (Default).
 -noproton                    Ignore Proton Shifts in Input, Use ORVIX
                              Parameters for 13C/15N Input Shifts Only.
 -autoproton                  Automatically Set Proton/No Proton Mode.
Output Options: 
 -sum          [pred.tab]     Summary Prediction Output.
 -all          [predAll.tab]  Comprehensive Prediction Output.
 -verb                        Verbose Mode ON.
 -noverb                      Verbose Mode OFF (Default).

Prediction Parameters:
 -first        [First]        First RESID to Use.
 -last         [Last]         Last RESID to Use.
 -s2Thresh     [0.6]          Minimum RCI-S2 for Accept A Prediction.

Chemical Shift (CS) Quality Check and Correction:
 -iso                         Apply 2H Isotope Correction to CA/CB Shifts.
 -offset                      Apply CS Offset Correction If Needed.
 -check                       Quality Check Only, without ORVIX-N Prediction.
 -clip                        Clip Extreme Shifts (Default).
 -noclip                      No Clipping of Shifts.
 -OxiCysCheck                 Auto Oxidization State Correction for CYS (Default)
                              (According To A CB Shift Cutoff Of 34ppm)
 -noOxiCysCheck               No Auto Oxidization State Correction for CYS

Exclude Options (Use Only One):
 -autoExcl                    Exclude Database Proteins with Sequence
                              Identical to Input Shifts (Default).
 -noautoExcl                  No Auto-Exclude of Identical Sequences.
 -excl         [None]         List of Database Proteins to Exclude;
                              Overrides Auto-Exclude.

Auto Format-Conversion Options for Input Shifts:
 -auto                        Test Input File Formats, Auto-Convert BMRB
                              NMR-Star Format if Needed (Default).
 -noauto                      No Input Format Testing or Conversion.
 -bmrb         [bmrb.tab]     Intermediate Output for Converted Shifts.

ORVIX-N Database:
 -orvixnDir    [ORVIXN_DIR]   ORVIX-N Main Directory.
 -tabDir       [tab]          Subdirectory of Database Tables.
 -rand         [randcoil.tab] Random Coil Shift Table.
 -adj          [rcadj.tab]    Adjustment Table, or Keyword None.
 -prev         [rcprev.tab]   Previous Residue Adjustment, or None.
 -next         [rcnext.tab]   Next Residue Adjustment, or None.
 -limits       [sslimit.tab]  Secondary Shift Limits (For -clip).
 -db           [orvix.tab]    ORVIX-N Database File.

Sequence Based Secondary Structure Prediction Options:
 -seqSS                       Run the Module Only, without ORVIX-N Prediction.
 -blast_check  [None]         Input Psi-Blast .check File.

 -np           [1]            Number of processors for multi-threading.

Examples:
 Predict Phi/Psi Backbone and Chi1 Torsions from Ubiquitin Chemical Shifts:
   orvixn -in ubiq.tab
 Predict Phi/Psi and Chi1, Compare Predictions to Known Ubiquitin Structure:
   orvixn -in ubiq.tab -ref ubiq.pdb
)";

constexpr const char* bannerRule =
    "*--------------------------------------------------------------------*\n";

}  // namespace

void ORVIX::printInfo() {
    std::string text = bannerRule;
    text +=
        " This is the ORVIX-N system for predicting protein backbone/sidechain\n"
        " torsion angles and secondary structure from NMR chemical shifts.\n"
        "\n"
        " ORVIX-N is an enhanced version of the ORVIX/ORVIX+ systems.\n"
        " ORVIX-N relies more extensively on the artificial neural networks\n"
        " than ORVIX+ and improves upon the original ORVIX/ORVIX+ by an\n"
        " optimized database mining scheme. ORVIX-N offers additional\n"
        " predictions for sidechain chi1 rotameric states.\n"
        "\n"
        " Restraints for structure calculation come from the torsion angle\n"
        " table; take the residues of class Strong, see the user's guide.\n"
        "\n"
        " For more information, see:\n"
        "\n"
        "  docs/guide.md         the user's guide of this distribution\n"
        "  docs/tables.md        the formats of all tables\n"
        "\n"
        " Reference:\n"
        "\n";
    for (std::string_view line : orvix::citation) {
        text.append(line) += '\n';
    }
    text += '\n';
    text.append(orvix::versionRemark) += '\n';
    text += bannerRule;
    text += '\n';
    orvix::err() << text;
}

void ORVIX::printSyntax() {
    throw orvix::RunEnd(orvix::EndReason::usage, -1, usageText, "see the usage text");
}
