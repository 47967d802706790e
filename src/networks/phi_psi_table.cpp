#include "networks/phi_psi_table.h"

#include <cstdio>

#include "base/phi_psi_grid.h"

namespace orvix::networks {
namespace {

void appendNumber(std::string& text, const char* format, int value) {
    char buffer[32];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(buffer, sizeof buffer, format, value);
#pragma GCC diagnostic pop
    text += buffer;
}

std::string header(const std::string& title) {
    std::string text = "REMARK  Neural network predicted 2D Phi/Psi distribution map for " + title +
                       "\n\n"
                       "REMARK  Ramachandran map is grouped into 18x18 Phi/Psi boxes\n"
                       "REMARK  Q_k: predicted likelihood of a residue residing in the k-th box\n"
                       "\n"
                       "REMARK  Phi/Psi box index matrix\n"
                       "REMARK    PHI:       ";
    for (int phi = 0; phi < angleBins; ++phi) {
        appendNumber(text, "%4d ", -180 + 20 * phi);
    }
    text += "\nREMARK --------------------------------------------------------------------\n";
    for (int psi = angleBins - 1; psi >= 0; --psi) {
        appendNumber(text, "REMARK    PSI=%5d: ", -180 + 20 * psi);
        for (int phi = 0; phi < angleBins; ++phi) {
            appendNumber(text, "%4d ", phi * angleBins + psi);
        }
        text += '\n';
    }
    text += "\nVARS RESID RESNAME CS_CNT5 CS_CNT_R2 CLUST_N CLUST_1_PER ";
    for (int k = 0; k < boxCount; ++k) {
        appendNumber(text, "Q_%d ", k);
    }
    text += "\nFORMAT %4d %1s %2d %2d  %2d  %5.2f   ";
    for (int k = 0; k < boxCount; ++k) {
        text += "%5.3f ";
    }
    text += "\n\n";
    return text;
}

void appendRow(std::string& text, const summaries::MapRow& row) {
    char buffer[400];
    std::snprintf(buffer, sizeof buffer, " %4d %1s %2d %2d  %2d %5.3f   ", row.residue,
                  row.name.c_str(), row.windowShifts, row.residueShifts, row.clusterCount,
                  row.firstShare);
    text += buffer;
    for (double q : row.values) {
        std::snprintf(buffer, sizeof buffer, "%5.3f ", q);
        text += buffer;
    }
    text += '\n';
}

}  // namespace

std::string phiPsiTable(const std::string& title, const std::map<int, summaries::MapRow>& rows) {
    std::string text = header(title);
    for (const auto& [residue, row] : rows) {
        appendRow(text, row);
    }
    return text;
}

}  // namespace orvix::networks
