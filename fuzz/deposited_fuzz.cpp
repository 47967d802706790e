#include "fuzz_input.h"
#include "tables/gdb2.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile copy;
    const std::string& path = inputFile(data, size);
    for (const auto load : {&GDB2::loadORVIX, &GDB2::loadNMRStar2, &GDB2::loadNMRStar3}) {
        GDB2 table;
        (table.*load)(path);
        for (int residue = table.firstResid - 1; residue <= table.firstResid + 3; ++residue) {
            table.getResidName(residue);
        }
        table.getLineEntryIndex("RESID", 1, 1);
        table.saveGDB(copy.path());
    }
    return 0;
}
