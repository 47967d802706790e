#include "check/check_record.h"

#include "results/gather.h"
#include "results/shift_report.h"

namespace orvix::check {
namespace {

using Json = nlohmann::ordered_json;

Json numberOf(const std::optional<double>& value, int decimals) {
    const auto printed = value ? results::printedNumber(*value, decimals) : std::nullopt;
    return printed ? Json(*printed) : Json();
}

Json offsetRecord(const std::optional<NucleusOffset>& offset, bool toCorrect) {
    if (!offset) {
        return {};
    }
    return {{"offset", numberOf(offset->offset, 3)},
            {"error", numberOf(offset->error, 3)},
            {"count", offset->count},
            {"to_correct", toCorrect}};
}

Json offsetsRecord(const ShiftCheck& check) {
    const Offsets& offsets = check.offsets;
    const Offsets wrong = offsetsToCorrect(check);
    Json record = Json::object();
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        record[std::string(results::shiftAtoms[atom])] = offsetRecord(
            offsets.atoms[atom], (isCarbon(atom) ? wrong.carbons : wrong.atoms[atom]).has_value());
    }
    record[std::string(carbonsName)] = offsetRecord(offsets.carbons, wrong.carbons.has_value());
    return record;
}

Json deuterationRecord(const Deuteration& one) {
    if (!one.judged) {
        return {};
    }
    return {{"looks_deuterated", one.looks},
            {"log_likelihood_ratio", numberOf(one.gain, 2)},
            {"isotope_shift_CA", numberOf(one.caIsotope, 3)},
            {"isotope_shift_CB", numberOf(one.cbIsotope, 3)},
            {"alpha_proton_share", numberOf(one.alphaShare, 3)}};
}

Json evidenceRecord(const std::vector<PlaceEvidence>& evidence) {
    Json record = Json::object();
    for (const PlaceEvidence& one : evidence) {
        record[std::string(results::shiftAtoms[one.atom])] = {numberOf(one.own, 1),
                                                              numberOf(one.other, 1)};
    }
    return record;
}

Json residueRecord(int number, const ResidueShifts& residue) {
    Json record = {{"resid", number},
                   {"resname", residue.letter},
                   {"settled", residue.settled},
                   {"observed", Json::object()},
                   {"expected", Json::object()},
                   {"spread", Json::object()}};
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        const std::string name(results::shiftAtoms[atom]);
        const std::optional<ExpectedShift>& expected = residue.expected[atom];
        record["observed"][name] = numberOf(residue.observed[atom], 3);
        record["expected"][name] = expected ? numberOf(expected->shift, 3) : Json();
        record["spread"][name] = expected ? numberOf(expected->spread, 3) : Json();
    }
    return record;
}

}  // namespace

nlohmann::ordered_json checkRecord(const ShiftCheck& check) {
    Json record;
    record["offsets"] = offsetsRecord(check);
    record["deuteration"] = deuterationRecord(check.deuteration);
    record["misassignments"] = Json::array();
    for (const Misassignment& one : check.misassignments) {
        record["misassignments"].push_back({{"resid", one.first},
                                            {"with", one.second},
                                            {"exchanged", one.swap},
                                            {"log_likelihood_ratio", numberOf(one.gain, 2)},
                                            {"shifts", evidenceRecord(one.firstShifts)},
                                            {"shifts_of_other", evidenceRecord(one.secondShifts)}});
    }
    record["residues"] = Json::array();
    for (const auto& [number, residue] : check.chain) {
        record["residues"].push_back(residueRecord(number, residue));
    }
    return record;
}

}  // namespace orvix::check
