#include "restraints/star_text.h"

#include <algorithm>
#include <cctype>
#include <ostream>

#include "restraints/restraint_file.h"

namespace orvix::restraints {

namespace {

bool mayStandBare(const std::string& text) {
    const auto plain = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               std::string_view("+-.,:/()*@%").find(c) != std::string_view::npos || c == '_';
    };
    // A leading underscore makes a tag, and these words are the format's own.
    static constexpr std::string_view reserved[] = {"data_", "save_", "loop_", "stop_", "global_"};
    std::string folded = text;
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::all_of(text.begin(), text.end(), plain) && text[0] != '_' && text != "." &&
           std::none_of(std::begin(reserved), std::end(reserved), [&folded](std::string_view word) {
               return folded.compare(0, word.size(), word) == 0;
           });
}

}  // namespace

std::string starValue(const std::string& text) {
    std::string value = asciiText(text);
    if (value.empty()) {
        return ".";
    }
    if (mayStandBare(value)) {
        return value;
    }
    if (value.find('\'') == std::string::npos) {
        return "'" + value + "'";
    }
    std::replace(value.begin(), value.end(), '"', '\'');
    return "\"" + value + "\"";
}

std::string starName(const std::string& text) {
    constexpr std::size_t longest = 60;
    std::string name;
    for (const char c : asciiText(text)) {
        const bool fits = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-';
        if (fits || (!name.empty() && name.back() != '_')) {
            name += fits ? c : '_';
        }
    }
    name.resize(std::min(name.size(), longest));
    while (!name.empty() && name.back() == '_') {
        name.pop_back();
    }
    return name.empty() ? "unnamed" : name;
}

StarFrameWriter::StarFrameWriter(std::ostream& out, std::string prefix, const std::string& category,
                                 const std::string& code, std::string_view categoryTag,
                                 std::string_view codeTag)
    : out_(out), prefix_(std::move(prefix)) {
    out_ << "\nsave_" << code << '\n';
    tag(categoryTag, category);
    tag(codeTag, code);
}

StarFrameWriter::~StarFrameWriter() {
    out_ << "save_\n";
}

void StarFrameWriter::tag(std::string_view name, const std::string& value) {
    out_ << "   _" << prefix_ << '.' << name << "  " << starValue(value) << '\n';
}

void StarFrameWriter::text(std::string_view name, const std::vector<std::string>& lines) {
    out_ << "   _" << prefix_ << '.' << name << "\n;\n";
    for (const std::string& line : lines) {
        const std::string printable = asciiText(line);
        // A semicolon in the first column would end the value.
        out_ << (printable.rfind(';', 0) == 0 ? " " : "") << printable << '\n';
    }
    out_ << ";\n";
}

void StarFrameWriter::beginLoop(std::string_view prefix, const std::vector<std::string>& names) {
    out_ << "\n   loop_\n";
    for (const std::string& name : names) {
        out_ << "      _" << prefix << '.' << name << '\n';
    }
    out_ << '\n';
}

void StarFrameWriter::row(const std::vector<std::string>& values) {
    out_ << "     ";
    for (const std::string& value : values) {
        out_ << ' ' << starValue(value);
    }
    out_ << '\n';
}

void StarFrameWriter::endLoop() {
    out_ << "   stop_\n";
}

}  // namespace orvix::restraints
