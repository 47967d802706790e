#pragma once

#include <string>

#include "run/orvix.h"
#include "support/temporary.h"

/// A table read from `text`.
inline GDB tableFrom(const std::string& text) {
    GDB table;
    table.loadGDB(orvix::test::TemporaryFile(text).path());
    return table;
}

/// A run with small reference tables of round numbers. The limits are -5 to 5 ppm for every atom of
/// A, G, C, c and P, and -1 to 1 for HA.
class ShiftRun : public testing::Test {
  protected:
    ShiftRun() {
        const std::string columns =
            "VARS RESNAME N HA C CA CB HN\nFORMAT %s %8.3f %8.3f %8.3f %8.3f %8.3f %8.3f\n";
        run.randCoilTable = tableFrom(columns +
                                      "A 124 4.3 178 52 19 8.2\n"
                                      "G 109 4.0 174 45 9999 8.3\n"
                                      "C 119 4.5 175 58 28 8.4\n"
                                      "c 118 4.7 174 55 41 8.5\n"
                                      "P 9999 4.4 177 63 32 9999\n");
        run.rcAdjTable = tableFrom(columns + "A 0.5 0 0 0.25 0 0\n");
        run.rcPrevTable = tableFrom(columns + "A 1 0 0 0 0 0.1\nG 2 0 0 0 0 0\n");
        run.rcNextTable = tableFrom(columns + "G 0 0 -0.5 0 0 0\nA 0 0 0.5 0 0 0\n");
        std::string vars = "VARS RESNAME", formats = "\nFORMAT %s", limits;
        for (const auto& [key, atom] : run.atomNames) {
            vars += " " + atom + "_MIN " + atom + "_MAX";
            formats += " %8.3f %8.3f";
            limits += atom == "HA" ? " -1 1" : " -5 5";
        }
        std::string rows;
        for (const char* name : {"A", "G", "C", "c", "P"}) {
            rows += name + limits + "\n";
        }
        run.ssLimitTable = tableFrom(vars + formats + "\n" + rows);
        run.outBase = directory_.path("run");
        run.inTitle = "the title";
        run.inFile = "in.tab";
    }
    void setInput(const std::string& sequence, const std::string& rows, int first = 1) {
        run.inTable = tableFrom("REMARK from the input\nDATA FIRST_RESID " + std::to_string(first) +
                                "\nDATA SEQUENCE " + sequence +
                                "\nVARS RESID RESNAME ATOMNAME SHIFT\n"
                                "FORMAT %4d %1s %4s %8.3f\n" +
                                rows);
    }
    /// Runs the stage; what it says goes to `output` and `errors`.
    void prepare() {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        run.getResInfo();
        output = testing::internal::GetCapturedStdout();
        errors = testing::internal::GetCapturedStderr();
    }
    std::string writtenTable() const { return directory_.read("runAdjCS.tab"); }
    /// Cell of the working table, "none" without the row.
    std::string cell(int residue, const std::string& atom, const std::string& column) {
        GDB::Entry row =
            run.adjCSTable.getEntry("RESID", std::to_string(residue), "ATOMNAME", atom, 1);
        return row.empty() ? "none" : row[column];
    }

    ORVIX run;
    std::string output, errors;

  private:
    orvix::test::TemporaryDirectory directory_;
};
