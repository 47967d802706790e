#pragma once

#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "results/record_keys.h"

namespace orvix::results {

/// A record as the text of a file: one key or record on each line, lists of plain values on one.
/// Texts that are no UTF-8 get replacement characters.
std::string recordText(const nlohmann::ordered_json& record);

/// Puts the members of a record into a JSON object, in the order of its keys.
class RecordWriter {
  public:
    using Json = nlohmann::ordered_json;
    using Words = std::initializer_list<std::string_view>;

    explicit RecordWriter(Json& record) : record_(record) { record_ = Json::object(); }

    void text(std::string_view key, const std::string& value) { at(key) = value; }
    void textOrNull(std::string_view key, const std::string& value) {
        at(key) = value.empty() ? Json() : Json(value);
    }
    void sequence(std::string_view key, const std::string& value) { at(key) = value; }
    void word(std::string_view key, const std::string& value, Words) { at(key) = value; }
    void wordOrNull(std::string_view key, const std::string& value, Words) {
        textOrNull(key, value);
    }
    void letter(std::string_view key, char value) { at(key) = std::string(1, value); }
    void letterOr(std::string_view key, char value, char) { letter(key, value); }
    void integer(std::string_view key, int value) { at(key) = value; }
    void integerOrNull(std::string_view key, std::optional<int> value) { at(key) = json(value); }
    void flag(std::string_view key, bool value) { at(key) = value; }
    void number(std::string_view key, std::optional<double> value) { at(key) = json(value); }
    void angle(std::string_view key, std::optional<double> value) { number(key, value); }
    void spread(std::string_view key, std::optional<double> value) { number(key, value); }
    void integers(std::string_view key, const std::vector<int>& values) { at(key) = values; }
    void numbersOrNull(std::string_view key, const std::vector<std::optional<double>>& values) {
        Json list;
        for (const std::optional<double>& value : values) {
            list.push_back(json(value));
        }
        at(key) = list;
    }
    void pairOrNull(std::string_view key, const std::optional<ShiftLimits>& pair) {
        at(key) = pair ? Json({pair->low, pair->high}) : Json();
    }

    template <class Record, class Keys>
    void object(std::string_view key, const Record& record, Keys keys) {
        RecordWriter below(at(key));
        keys(below, record);
    }
    template <class Record, class Keys>
    void objectOrNull(std::string_view key, const std::optional<Record>& record, Keys keys) {
        at(key) = Json();
        if (record) {
            object(key, *record, keys);
        }
    }
    template <class Record, class Keys>
    void list(std::string_view key, const std::vector<Record>& records, Keys keys) {
        Json list = Json::array();
        for (const Record& record : records) {
            RecordWriter below(list.emplace_back());
            keys(below, record);
        }
        at(key) = std::move(list);
    }
    template <class Record, class Keys>
    void listOrNull(std::string_view key, const std::vector<Record>& records, Keys keys) {
        at(key) = Json();
        if (!records.empty()) {
            list(key, records, keys);
        }
    }
    template <class Record, class Keys>
    void columnsOrNull(std::string_view key, const std::vector<Record>& records, Keys keys) {
        at(key) = Json();
        if (!records.empty()) {
            object(key, records, keys);
        }
    }
    template <class Map, class Keys>
    void map(std::string_view key, const Map& members, Keys keys) {
        RecordWriter below(at(key));
        for (const auto& [name, member] : members) {
            keys(below, name, member);
        }
    }
    template <class Member>
    void column(std::string_view key, const std::vector<FinishedMatch>& rows, Member member) {
        Json list = Json::array();
        for (const FinishedMatch& row : rows) {
            list.push_back(json(row.*member));
        }
        at(key) = std::move(list);
    }
    template <class Member>
    void textColumn(std::string_view key, const std::vector<FinishedMatch>& rows, Member member) {
        column(key, rows, member);
    }
    template <class Member>
    void integerColumn(std::string_view key, const std::vector<FinishedMatch>& rows,
                       Member member) {
        column(key, rows, member);
    }
    template <class Member>
    void numberColumn(std::string_view key, const std::vector<FinishedMatch>& rows, Member member) {
        column(key, rows, member);
    }
    template <class Member>
    void flagColumn(std::string_view key, const std::vector<FinishedMatch>& rows, Member member) {
        column(key, rows, member);
    }
    void residues(std::string_view key, const FinishedPrediction& prediction) {
        Json list = Json::array();
        for (const auto& [number, residue] : prediction.residues) {
            RecordWriter below(list.emplace_back());
            below.integer("resid", number);
            keysOfResidue(below, residue);
        }
        at(key) = std::move(list);
    }

  private:
    Json& at(std::string_view key) { return record_[std::string(key)]; }
    template <class Value>
    static Json json(const Value& value) {
        return value;
    }
    static Json json(const std::optional<double>& value) {
        return value && std::isfinite(*value) ? Json(*value) : Json();
    }
    static Json json(const std::optional<int>& value) { return value ? Json(*value) : Json(); }

    Json& record_;
};

}  // namespace orvix::results
