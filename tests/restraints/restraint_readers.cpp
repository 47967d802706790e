#include "restraints/restraint_readers.h"

#include <sstream>
#include <stdexcept>

namespace {

struct Token {
    std::string text;
    bool quoted = false;
};

std::vector<Token> starTokens(const std::string& text) {
    std::vector<Token> tokens;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] == ';') {
            std::string value = line.substr(1);
            while (std::getline(lines, line) && (line.empty() || line[0] != ';')) {
                value += "\n" + line;
            }
            tokens.push_back({value, true});
            line.erase(0, 1);
        }
        for (std::size_t i = 0; i < line.size();) {
            const char c = line[i];
            if (c == ' ' || c == '\t') {
                ++i;
            } else if (c == '#') {
                break;
            } else if (c == '\'' || c == '"') {
                std::size_t end = i;
                do {
                    end = line.find(c, end + 1);
                    if (end == std::string::npos) {
                        throw std::runtime_error("open quote: " + line);
                    }
                } while (end + 1 < line.size() && line[end + 1] != ' ');
                tokens.push_back({line.substr(i + 1, end - i - 1), true});
                i = end + 1;
            } else {
                const std::size_t end = std::min(line.find(' ', i), line.size());
                tokens.push_back({line.substr(i, end - i), false});
                i = end;
            }
        }
    }
    return tokens;
}

bool startsWith(const Token& token, const std::string& word) {
    return !token.quoted && token.text.rfind(word, 0) == 0;
}

std::vector<ReadRestraint> restraintsOf(const std::string& text, const std::string& frame,
                                        const std::string& category, const std::string& number,
                                        const std::string& atom, const std::string& residue,
                                        const std::string& lower, const std::string& upper,
                                        const std::string& angle, const std::string& id,
                                        const std::string& combination) {
    std::vector<ReadRestraint> result;
    const StarText star = readStar(text);
    const auto found = star.frames.find(frame);
    if (found == star.frames.end()) {
        return result;
    }
    for (const auto& row : found->second.loops.at(category)) {
        ReadRestraint restraint;
        for (const char* const place : {"_1", "_2", "_3", "_4"}) {
            restraint.atoms += (restraint.atoms.empty() ? "" : " ") + row.at(number + place) + " " +
                               row.at(atom + place);
        }
        restraint.lower = std::stod(row.at(lower));
        restraint.upper = std::stod(row.at(upper));
        restraint.residueName = row.at(residue + "_2");
        restraint.angleName = row.at(angle);
        restraint.id = row.at(id);
        restraint.combination = row.at(combination) == "." ? "" : row.at(combination);
        result.push_back(restraint);
    }
    return result;
}

}  // namespace

std::vector<ReadRestraint> readCyana(const std::string& text) {
    std::vector<ReadRestraint> result;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line.substr(0, line.find('#')));
        ReadRestraint restraint;
        int number = 0;
        if (words >> number >> restraint.residueName >> restraint.angleName >> restraint.lower >>
            restraint.upper) {
            restraint.atoms = std::to_string(number);
            result.push_back(restraint);
        }
    }
    return result;
}

std::vector<ReadRestraint> readCns(const std::string& text) {
    std::string words;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        words += line.substr(0, line.find('!')) + " ";
    }
    for (char& c : words) {
        c = c == '(' || c == ')' ? ' ' : c;
    }
    std::vector<ReadRestraint> result;
    int statements = 0;
    std::istringstream in(words);
    std::string word;
    while (in >> word) {
        const bool alternative = word == "or";
        if (word != "assign" && (!alternative || result.empty())) {
            throw std::runtime_error("expected assign, found " + word);
        }
        ReadRestraint restraint;
        restraint.id = std::to_string(statements += alternative ? 0 : 1);
        if (alternative) {
            result.back().combination = "1";
            restraint.combination = "2";
        }
        for (int atom = 0; atom < 4; ++atom) {
            std::string resid, number, conjunction, name, value;
            in >> resid;
            if (resid == "segid") {
                in >> restraint.residueName >> conjunction;
                while (conjunction != "and") {
                    in >> conjunction;
                }
                in >> resid;
            }
            in >> number >> conjunction >> name >> value;
            if (resid != "resid" || conjunction != "and" || name != "name") {
                throw std::runtime_error("no selection: " + resid + " " + conjunction + " " + name);
            }
            restraint.atoms += (atom == 0 ? "" : " ") + number + " " + value;
        }
        double energy = 0.0, centre = 0.0, halfWidth = 0.0;
        int exponent = 0;
        if (!(in >> energy >> centre >> halfWidth >> exponent) || energy <= 0.0 || exponent != 2) {
            throw std::runtime_error("four numbers expected behind " + restraint.atoms);
        }
        restraint.lower = centre - halfWidth;
        restraint.upper = centre + halfWidth;
        result.push_back(restraint);
    }
    return result;
}

StarText readStar(const std::string& text) {
    StarText star;
    StarFrameText* frame = nullptr;
    const std::vector<Token> tokens = starTokens(text);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (startsWith(tokens[i], "data_")) {
            star.block = tokens[i].text.substr(5);
        } else if (tokens[i].text == "save_" && !tokens[i].quoted) {
            frame = nullptr;
        } else if (startsWith(tokens[i], "save_")) {
            frame = &star.frames[tokens[i].text.substr(5)];
        } else if (startsWith(tokens[i], "_") && frame != nullptr && i + 1 < tokens.size()) {
            frame->tags[tokens[i].text] = tokens[i + 1].text;
            ++i;
        } else if (startsWith(tokens[i], "loop_") && frame != nullptr) {
            std::vector<std::string> names;
            std::string category;
            for (++i; i < tokens.size() && startsWith(tokens[i], "_"); ++i) {
                const std::size_t point = tokens[i].text.find('.');
                category = tokens[i].text.substr(1, point - 1);
                names.push_back(tokens[i].text.substr(point + 1));
            }
            auto& rows = frame->loops[category];
            while (i < tokens.size() && !startsWith(tokens[i], "stop_")) {
                rows.emplace_back();
                for (const std::string& name : names) {
                    if (i >= tokens.size() || startsWith(tokens[i], "stop_")) {
                        throw std::runtime_error("short row in " + category);
                    }
                    rows.back()[name] = tokens[i++].text;
                }
            }
            if (rows.empty() || i >= tokens.size()) {
                throw std::runtime_error("loop without rows or end: " + category);
            }
        } else {
            throw std::runtime_error("out of place: " + tokens[i].text);
        }
    }
    if (frame != nullptr) {
        throw std::runtime_error("open frame");
    }
    return star;
}

std::vector<ReadRestraint> readNef(const std::string& text) {
    return restraintsOf(text, "nef_dihedral_restraint_list_predicted", "nef_dihedral_restraint",
                        "sequence_code", "atom_name", "residue_name", "lower_limit", "upper_limit",
                        "name", "restraint_id", "restraint_combination_id");
}

std::vector<ReadRestraint> readNmrStar(const std::string& text) {
    return restraintsOf(text, "torsion_angle_constraints", "Torsion_angle_constraint",
                        "Auth_seq_ID", "Atom_ID", "Comp_ID", "Angle_lower_bound_val",
                        "Angle_upper_bound_val", "Torsion_angle_name", "ID", "Combination_ID");
}
