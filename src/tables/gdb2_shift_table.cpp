// Reader of shift tables: the typed table with the checks that make it one.

#include <string>

#include "tables/gdb2.h"
#include "tables/shift_table_reports.h"

namespace {

struct ExpectedColumn {
    const char* name;
    int type;
    const char* typeWords;
    char typeLetter;
};

// In the order of the checks.
constexpr ExpectedColumn expectedColumns[] = {{"ATOMNAME", 2, "a string", 's'},
                                              {"SHIFT", 1, "a float", 'f'},
                                              {"RESID", 0, "an integer", 'd'},
                                              {"RESNAME", 2, "a string", 's'}};

bool checkColumns(GDB2& table) {
    for (const ExpectedColumn& column : expectedColumns) {
        const std::string name = column.name;
        if (table.getVarIndex1(name) == 0) {
            return orvix::tables::failLoad(table, "ORVIX Format Error: Table is missing expected " +
                                                      name + " variable in VARS line.\n");
        }
        if (table.getVarType(name) != column.type) {
            const std::string start =
                "ORVIX Format Error: " + name + " variable with " + column.typeWords + " type (";
            const std::string end =
                std::string(1, column.typeLetter) + ") is expected in FORMAT line.\n";
            // The gathered text keeps its percent sign doubled, ready for a printf.
            const std::size_t before = table.errorText.size();
            orvix::tables::failLoad(table, start + "%" + end);
            table.errorText.resize(before);
            table.errorText += start + "%%" + end;
            return false;
        }
    }
    return true;
}

void compareWithSequence(GDB2& table, orvix::tables::ResidueMismatches& mismatches) {
    if (table.residList.empty()) {
        return;
    }
    for (int row = 1; row <= table.lineCount; ++row) {
        const int resid = table.getIntNodeVal(row, "RESID");
        const std::string name = table.getStringNodeVal(row, "RESNAME");
        const std::string& expected = table.residList[resid];
        if (name != expected) {
            mismatches.report(resid, "SEQUENCE", expected, "Chemical Shift Table", name);
        }
    }
}

}  // namespace

bool GDB2::loadORVIX(const std::string& file) {
    if (!loadGDB(file)) {
        return false;
    }
    if (getData("SEQUENCE").empty()) {
        return orvix::tables::failLoad(
            *this,
            "ORVIX Format Error: Table is missing expected DATA SEQUENCE header "
            "lines.\n");
    }
    if (getData("FIRST_RESID").empty()) {
        orvix::tables::giveNotice(
            *this, "ORVIX Format Notice: Table is missing DATA FIRST_RESID specification.\n");
        orvix::tables::giveNotice(*this, "ORVIX Format Notice: Assuming FIRST_RESID value of 1.\n");
    }
    if (!checkColumns(*this)) {
        return false;
    }
    orvix::tables::ResidueMismatches mismatches(*this, "ORVIX");
    compareWithSequence(*this, mismatches);
    if (mismatches.residueCount() >= orvix::tables::ResidueMismatches::limit) {
        errorText += noticeText;
    }
    return mismatches.conclude();
}
