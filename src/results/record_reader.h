#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "results/record_keys.h"

namespace orvix::results {

/// A value in a results file together with the way that leads to it, for messages.
class RecordPlace {
  public:
    RecordPlace(const std::string& file, const nlohmann::json& value, std::string path = {})
        : file_(file), value_(value), path_(std::move(path)) {}

    /// Throws InputRejected with file, place, what was expected and what was found.
    [[noreturn]] void reject(const std::string& expected) const;

    const nlohmann::json& value() const { return value_; }
    bool isNull() const { return value_.is_null(); }
    std::size_t size() const { return value_.size(); }

    /// Null for a key that is not there; rejects what is no object.
    RecordPlace operator[](std::string_view key) const;
    RecordPlace operator[](std::size_t index) const;

    std::string text() const;
    std::string textOrNothing() const { return isNull() ? std::string() : text(); }
    char letter() const;
    int residueNumber() const;
    int integer() const;
    bool flag() const;
    /// Empty for null and for marks of missing values (999.0 and more).
    std::optional<double> number() const;
    std::optional<double> angle() const;
    std::optional<double> spread() const;
    std::string word(std::initializer_list<std::string_view> words) const;
    std::string sequence() const;
    /// This place; rejects what is no list.
    const RecordPlace& list() const;

  private:
    const std::string& file_;
    const nlohmann::json& value_;
    std::string path_;
};

/// Takes the members of a record from a JSON object. What older versions lack stays as it is in a
/// fresh record; a value of another kind is rejected.
class RecordReader {
  public:
    using Words = std::initializer_list<std::string_view>;

    explicit RecordReader(RecordPlace place) : place_(std::move(place)) {}

    void text(std::string_view key, std::string& value) { value = place_[key].text(); }
    void textOrNull(std::string_view key, std::string& value) {
        value = place_[key].textOrNothing();
    }
    void sequence(std::string_view key, std::string& value) { value = place_[key].sequence(); }
    void word(std::string_view key, std::string& value, Words words) {
        value = place_[key].word(words);
    }
    void wordOrNull(std::string_view key, std::string& value, Words words) {
        value = place_[key].isNull() ? std::string() : place_[key].word(words);
        if (value == "na") {
            value.clear();
        }
    }
    void letter(std::string_view key, char& value) { value = place_[key].letter(); }
    /// A letter that may be missing and is then `other`; else it must be a state of that.
    void letterOr(std::string_view key, char& value, char other);
    void integer(std::string_view key, int& value) { value = place_[key].integer(); }
    void integerOrNull(std::string_view key, std::optional<int>& value) {
        const RecordPlace place = place_[key];
        value = place.isNull() ? std::nullopt : std::optional<int>(place.integer());
    }
    void flag(std::string_view key, bool& value) {
        if (const RecordPlace place = place_[key]; !place.isNull()) {
            value = place.flag();
        }
    }
    void number(std::string_view key, std::optional<double>& value) {
        value = place_[key].number();
    }
    void angle(std::string_view key, std::optional<double>& value) { value = place_[key].angle(); }
    void spread(std::string_view key, std::optional<double>& value) {
        value = place_[key].spread();
    }
    void integers(std::string_view key, std::vector<int>& values);
    void numbersOrNull(std::string_view key, std::vector<std::optional<double>>& values);
    void pairOrNull(std::string_view key, std::optional<ShiftLimits>& pair);

    template <class Record, class Keys>
    void object(std::string_view key, Record& record, Keys keys) {
        if (RecordReader below(place_[key]); !below.place_.isNull()) {
            keys(below, record);
        }
    }
    template <class Record, class Keys>
    void objectOrNull(std::string_view key, std::optional<Record>& record, Keys keys) {
        if (!place_[key].isNull()) {
            object(key, record.emplace(), keys);
        }
    }
    template <class Record, class Keys>
    void list(std::string_view key, std::vector<Record>& records, Keys keys) {
        const RecordPlace list = place_[key];
        for (std::size_t i = 0; !list.isNull() && i < list.list().size(); ++i) {
            RecordReader below(list[i]);
            keys(below, records.emplace_back());
        }
    }
    template <class Record, class Keys>
    void listOrNull(std::string_view key, std::vector<Record>& records, Keys keys) {
        list(key, records, keys);
    }
    template <class Record, class Keys>
    void columnsOrNull(std::string_view key, std::vector<Record>& records, Keys keys) {
        object(key, records, keys);
    }
    template <class Map, class Keys>
    void map(std::string_view key, Map& members, Keys keys) {
        RecordReader below(place_[key]);
        if (below.place_.isNull()) {
            return;
        }
        if (!below.place_.value().is_object()) {
            below.place_.reject("an object");
        }
        for (const auto& item : below.place_.value().items()) {
            keys(below, item.key(), members[item.key()]);
        }
    }
    void textColumn(std::string_view key, std::vector<FinishedMatch>& rows,
                    std::string FinishedMatch::*member) {
        column(key, rows,
               [&](const RecordPlace& at, FinishedMatch& row) { row.*member = at.text(); });
    }
    void integerColumn(std::string_view key, std::vector<FinishedMatch>& rows,
                       int FinishedMatch::*member) {
        column(key, rows,
               [&](const RecordPlace& at, FinishedMatch& row) { row.*member = at.integer(); });
    }
    void numberColumn(std::string_view key, std::vector<FinishedMatch>& rows,
                      std::optional<double> FinishedMatch::*member) {
        column(key, rows,
               [&](const RecordPlace& at, FinishedMatch& row) { row.*member = at.number(); });
    }
    void flagColumn(std::string_view key, std::vector<FinishedMatch>& rows,
                    bool FinishedMatch::*member) {
        column(key, rows,
               [&](const RecordPlace& at, FinishedMatch& row) { row.*member = at.flag(); });
    }
    void residues(std::string_view key, FinishedPrediction& prediction);

  private:
    /// Values of one list, one for each row; the first list makes the rows.
    template <class Take>
    void column(std::string_view key, std::vector<FinishedMatch>& rows, Take take) {
        const RecordPlace values = place_[key];
        if (rows.empty()) {
            rows.resize(values.list().size());
        }
        if (values.list().size() != rows.size()) {
            values.reject("a list of " + std::to_string(rows.size()) + " values");
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            take(values[i], rows[i]);
        }
    }

    RecordPlace place_;
};

}  // namespace orvix::results
