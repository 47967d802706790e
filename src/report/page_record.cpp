#include "report/page_record.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "report/pages.h"

namespace orvix::report {
namespace {

using Json = nlohmann::ordered_json;

/// Class words with their letters in the strip of an index.
constexpr std::array<std::pair<std::string_view, char>, 6> classLetters = {
    {{"Strong", 'S'}, {"Generous", 'G'}, {"Warn", 'W'}, {"Dyn", 'D'}, {"Bad", 'B'}, {"None", 'N'}}};

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

/// The member of an object, or null for none and for what is no object.
const Json& member(const Json& record, const char* key) {
    static const Json missing;
    if (!record.is_object()) {
        return missing;
    }
    const auto found = record.find(key);
    return found == record.end() ? missing : *found;
}

std::string text(const Json& value) {
    return value.is_string() ? value.get<std::string>() : std::string();
}

/// A number of shifts that a sequence can have.
bool isCount(const Json& value) {
    return value.is_number_integer() && value >= 0 && value <= 1'000'000;
}

Json programRecord(const PageOrigin& origin) {
    return {{"name", origin.program}, {"version", origin.version}};
}

/// Assigned of expected shifts over all nuclei, three decimals; null where it is not known.
Json completenessShare(const Json& completeness) {
    long assigned = 0;
    long expected = 0;
    if (completeness.is_object()) {
        for (const auto& [atom, counts] : completeness.items()) {
            const Json& have = member(counts, "assigned");
            const Json& want = member(counts, "expected");
            if (isCount(have) && isCount(want)) {
                assigned += have.get<long>();
                expected += want.get<long>();
            }
        }
    }
    if (expected <= 0) {
        return {};
    }
    return static_cast<double>((2000 * assigned + expected) / (2 * expected)) / 1000.0;
}

}  // namespace

nlohmann::ordered_json proteinRecord(nlohmann::ordered_json results,
                                     const std::vector<RestraintText>& restraints,
                                     const PageOrigin& origin, nlohmann::ordered_json comparison) {
    Json record;
    record["schema"] = "orvix-report";
    record["schema_version"] = 1;
    record["program"] = programRecord(origin);
    record["written"] = textOrNull(origin.written);
    record["predicted"] = textOrNull(origin.predicted);
    record["results"] = std::move(results);
    if (!comparison.is_null()) {
        record["compare"] = std::move(comparison);
    }
    record["restraints"] = Json::array();
    for (const RestraintText& one : restraints) {
        record["restraints"].push_back(
            {{"format", one.format}, {"file", one.file}, {"text", one.text}});
    }
    return record;
}

nlohmann::ordered_json checkRecord(nlohmann::ordered_json check, const PageOrigin& origin) {
    Json record;
    record["schema"] = "orvix-check-page";
    record["schema_version"] = 1;
    record["program"] = programRecord(origin);
    record["written"] = textOrNull(origin.written);
    record["check"] = std::move(check);
    return record;
}

nlohmann::ordered_json indexEntry(const nlohmann::ordered_json& results, const std::string& name,
                                  const std::string& page) {
    const Json& residues = member(results, "residues");
    std::array<int, classLetters.size()> counts{};
    std::string strip;
    std::string structure;
    for (const Json& residue : residues.is_array() ? residues : Json::array()) {
        const std::string word = text(member(residue, "class"));
        std::size_t place = classLetters.size() - 1;
        for (std::size_t i = 0; i < classLetters.size(); ++i) {
            place = classLetters[i].first == word ? i : place;
        }
        ++counts[place];
        strip += classLetters[place].second;
        const std::string state = text(member(member(residue, "secondary_structure"), "state"));
        structure += state == "H" || state == "E" ? state : "L";
    }
    Json entry;
    entry["name"] = name;
    entry["title"] = text(member(member(results, "input"), "title"));
    entry["report"] = textOrNull(page);
    entry["residues"] = strip.size();
    entry["classes"] = Json::object();
    for (std::size_t i = 0; i < classLetters.size(); ++i) {
        entry["classes"][std::string(classLetters[i].first)] = counts[i];
    }
    entry["strip"] = strip;
    entry["structure"] = structure;
    entry["completeness"] = completenessShare(member(results, "completeness"));
    entry["outliers"] = nullptr;
    entry["serious"] = nullptr;
    if (const Json& outliers = member(results, "outliers"); outliers.is_array()) {
        int serious = 0;
        for (const Json& outlier : outliers) {
            const Json& flag = member(outlier, "serious");
            serious += flag.is_boolean() && flag.get<bool>() ? 1 : 0;
        }
        entry["outliers"] = outliers.size();
        entry["serious"] = serious;
    }
    const Json& offsets = member(results, "shift_offsets");
    entry["offsets"] = offsets.is_object() ? offsets : Json();
    return entry;
}

nlohmann::ordered_json indexRecord(std::vector<nlohmann::ordered_json> entries,
                                   const std::vector<FailedInput>& failures,
                                   const std::string& directory, const PageOrigin& origin) {
    Json record;
    record["schema"] = "orvix-report-index";
    record["schema_version"] = 1;
    record["program"] = programRecord(origin);
    record["written"] = textOrNull(origin.written);
    record["directory"] = directory;
    record["proteins"] = Json::array();
    for (Json& entry : entries) {
        record["proteins"].push_back(std::move(entry));
    }
    record["failures"] = Json::array();
    for (const FailedInput& failure : failures) {
        record["failures"].push_back({{"name", failure.name}, {"reason", failure.reason}});
    }
    return record;
}

std::string pageWithRecord(std::string_view page, const nlohmann::ordered_json& record) {
    const std::size_t place = page.find(recordMark);
    if (place == std::string_view::npos) {
        throw std::logic_error("the page has no place for its record");
    }
    const std::string text = record.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string out(page.substr(0, place));
    out.reserve(page.size() + text.size() + text.size() / 64);
    for (const char letter : text) {
        // In JSON a "<" stands only in texts, where it may be written by its number.
        if (letter == '<') {
            out += "\\u003c";
        } else {
            out += letter;
        }
    }
    out += page.substr(place + recordMark.size());
    return out;
}

}  // namespace orvix::report
