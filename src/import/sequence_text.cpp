#include "import/sequence_text.h"

#include <algorithm>

#include "base/run_end.h"
#include "base/text.h"
#include "import/residue_names.h"
#include "import/shift_text.h"

namespace orvix::importing {

std::vector<SequenceResidue> readSequenceText(std::string_view text) {
    std::vector<SequenceResidue> residues;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '(') {
            const std::size_t end = text.find(')', i);
            if (end == std::string_view::npos) {
                break;
            }
            residues.push_back({std::string(text.substr(i + 1, end - i - 1)), {}, {}});
            i = end;
        } else if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) {
            residues.push_back({foldUpper({&c, 1}), {}, {}});
        }
    }
    return residues;
}

void numberFromOne(std::vector<SequenceResidue>& residues) {
    int number = 1;
    for (SequenceResidue& residue : residues) {
        residue.number = std::to_string(number++);
    }
}

ShiftEntity::Kind kindByResidues(const ShiftEntity& entity) {
    const ResidueNames names;
    const auto known = std::count_if(
        entity.residues.begin(), entity.residues.end(), [&names](const SequenceResidue& residue) {
            return residue.name.size() > 1 && names.letter(residue.name).letter != 'X';
        });
    return 2 * static_cast<std::size_t>(known) >= entity.residues.size()
               ? ShiftEntity::Kind::polypeptide
               : ShiftEntity::Kind::other;
}

void dropLigands(ShiftEntity& entity, ImportReport& report) {
    const ResidueNames names;
    const auto number = [&entity](std::size_t i) {
        int value = 0;
        return parseNumber(entity.residues[i].number, value) ? value : static_cast<int>(i);
    };
    std::size_t end = entity.residues.size();
    for (std::size_t i = end; i-- > 1 && names.letter(entity.residues[i].name).letter == 'X';) {
        if (number(i) != number(i - 1) + 1) {
            end = i;
        }
    }
    for (std::size_t i = end; i < entity.residues.size(); ++i) {
        report.note("residue " + entity.residues[i].number + " " + entity.residues[i].name +
                    " behind the end of chain " + entity.id +
                    " is no amino acid and isn't part of the sequence");
    }
    entity.residues.resize(end);
}

void requireSaneLength(const std::vector<SequenceResidue>& residues, const std::string& path) {
    if (residues.size() > longestSequence) {
        throw InputRejected(path + ": a sequence of " + std::to_string(residues.size()) +
                            " residues; expected at most " + std::to_string(longestSequence));
    }
}

std::vector<SequenceResidue> readSequenceList(std::string_view text, const std::string& path) {
    std::vector<SequenceResidue> residues;
    std::vector<std::string_view> words;
    int line = 0;
    int next = 1;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view row = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        ++line;
        row = row.substr(0, row.find('#'));
        splitWords(row, words);
        if (words.empty()) {
            continue;
        }
        if (words.size() > 1 && !parseNumber(words[1], next)) {
            throw InputRejected(
                atLine(path, line, "expected a residue name and its number, as in MET 1"));
        }
        residues.push_back({std::string(words[0]), std::to_string(next), {}});
        ++next;
    }
    return residues;
}

ShiftEntity readSequenceFile(const std::string& path, ImportReport& report) {
    const std::string text = readShiftText(path);
    ShiftEntity entity;
    entity.kind = ShiftEntity::Kind::polypeptide;
    const std::size_t first = text.find_first_not_of(" \t\n");
    if (first != std::string::npos && text[first] == '>') {
        const std::size_t body = text.find('\n', first);
        const std::size_t second = text.find("\n>", first);
        entity.name = text.substr(first + 1, body == std::string::npos ? body : body - first - 1);
        if (body != std::string::npos && body != second) {
            entity.residues = readSequenceText(std::string_view(text).substr(body, second - body));
        }
        entity.numbered = false;
        if (second != std::string::npos) {
            report.warn(path + ": holds several sequences; the first one is used");
        }
    } else {
        // Names of two letters and more, or one letter a line, are a list; anything else is text.
        std::vector<std::string_view> words;
        splitWords(std::string_view(text).substr(
                       0, text.find('\n', first == std::string::npos ? 0 : first)),
                   words);
        const bool list = !words.empty() && (words[0].size() <= 4 || text[first] == '#');
        entity.residues = list ? readSequenceList(text, path) : readSequenceText(text);
        entity.numbered = list;
    }
    if (entity.residues.empty()) {
        throw InputRejected(path + ": no sequence; expected FASTA or one residue name a line");
    }
    requireSaneLength(entity.residues, path);
    if (!entity.numbered) {
        numberFromOne(entity.residues);
    }
    report.note("sequence: " + std::to_string(entity.residues.size()) + " residues from " + path);
    return entity;
}

}  // namespace orvix::importing
