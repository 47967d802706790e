#include "fuzz_input.h"
#include "tables/gdb.h"
#include "tables/gdb2.h"

namespace {

void useText(const std::string& path, const std::string& copy) {
    GDB table;
    untilRunEnds([&] { table.loadGDB(path); });
    table.getData("SEQUENCE");
    table.getEntry("RESID", "1", 1);
    for (int i = 0; i < table.varsCount; ++i) {
        table.isVarFloat(i);
    }
    table.saveGDB(copy);
    GDB again;
    untilRunEnds([&] { again.loadGDB(copy); });
}

void useTyped(const std::string& path, const std::string& copy) {
    GDB2 table;
    table.loadGDB(path);
    table.getData("SEQUENCE");
    table.getLineEntryIndex("RESID", 1, 1);
    table.getLineEntryIndex("SHIFT", 8.25F, 2);
    table.getLineEntryIndex("ATOMNAME", std::string("CA"), 1);
    table.getResidName(table.firstResid);
    if (table.varsCount > 0) {
        // Cells change their type in place.
        table.setVar(1, "RESID", "%s");
        table.setVar(1, "RESID", "%8.3f");
        table.addVar("NEW", "%4d");
    }
    table.saveGDB(copy);
    GDB2 again;
    again.loadGDB(copy);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile copy;
    const std::string& path = inputFile(data, size);
    useText(path, copy.path());
    useTyped(path, copy.path());
    return 0;
}
