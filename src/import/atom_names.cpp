#include "import/atom_names.h"

#include <array>

#include "import/shift_text.h"

namespace orvix::importing {

namespace {

struct Synonym {
    std::string_view name;
    std::string_view tableName;
};

constexpr std::array synonyms = {Synonym{"N", "N"},  Synonym{"N15", "N"}, Synonym{"HN", "HN"},
                                 Synonym{"H", "HN"}, Synonym{"HA", "HA"}, Synonym{"C", "C"},
                                 Synonym{"CO", "C"}, Synonym{"C'", "C"},  Synonym{"CA", "CA"},
                                 Synonym{"CB", "CB"}};

constexpr std::array<std::string_view, 8> tableOrder = {"N", "HA", "HA2", "HA3",
                                                        "C", "CA", "CB",  "HN"};

constexpr std::array<ShiftRange, 8> ranges = {{{90.0, 145.0},
                                               {0.5, 7.5},
                                               {0.5, 7.5},
                                               {0.5, 7.5},
                                               {160.0, 190.0},
                                               {35.0, 75.0},
                                               {10.0, 85.0},
                                               {4.0, 13.5}}};

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    for (std::string_view candidate : names) {
        if (name == candidate) {
            return true;
        }
    }
    return false;
}

}  // namespace

AtomName readAtomName(std::string_view name, char residue) {
    using Kind = AtomName::Kind;
    const std::string folded = foldUpper(name);
    if (residue == 'G') {
        if (isOneOf(folded, {"HA1", "HA2", "HA3", "HAX", "HAY"})) {
            return {Kind::glycineAlpha, folded};
        }
        if (isOneOf(folded, {"HA", "QA", "HA%", "HA*", "HA#", "HA2,HA3", "HA2|HA3", "HA2/HA3"})) {
            return {Kind::glycineAlpha, "HA"};
        }
    }
    if (residue != 'X' && isOneOf(folded, {"H1", "H2", "H3", "HT1", "HT2", "HT3", "H%", "HT%", "H*",
                                           "H#", "QH", "HX", "HY"})) {
        return {Kind::aminoTerminus, folded};
    }
    for (const Synonym& synonym : synonyms) {
        if (folded == synonym.name) {
            return {Kind::backbone, std::string(synonym.tableName)};
        }
    }
    return {};
}

int atomOrder(std::string_view tableAtom) {
    for (std::size_t i = 0; i < tableOrder.size(); ++i) {
        if (tableOrder[i] == tableAtom) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

ShiftRange usualRange(std::string_view tableAtom) {
    const int order = atomOrder(tableAtom);
    return order < 0 ? ShiftRange{-1e9, 1e9} : ranges[static_cast<std::size_t>(order)];
}

}  // namespace orvix::importing
