#include <ostream>
#include <string>

#include "base/run_end.h"
#include "base/streams.h"
#include "run/citation.h"
#include "run/options.h"
#include "run/orvix.h"

namespace {

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
    throw orvix::RunEnd(orvix::EndReason::usage, -1, orvix::usageText(), "see the usage text");
}
