// Makes the binary check file that the sequence-only mode reads, from what sequence searches write
// today: the ASCII matrix of PSI-BLAST or a multiple alignment in FASTA form.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "base/numbers.h"
#include "import/profile_import.h"
#include "networks/check_file.h"
#include "tables/gdb.h"

namespace {

constexpr const char* usage =
    "Use: orvix-profile INPUT OUTPUT.check [TABLE DIRECTORY]\n"
    "Turns INPUT into the profile file of orvixn -seqSS -blast_check OUTPUT.check.\n"
    "INPUT is the ASCII matrix of PSI-BLAST (psiblast -out_ascii_pssm) or a multiple alignment in\n"
    "FASTA form, query first. An alignment needs BLOSUM62.tab of the table directory; without the\n"
    "third argument that is $ORVIXN_DIR/tab.\n";

int refuse(const std::string& file, const std::string& what) {
    std::cerr << "orvix-profile: " << file << ": " << what << '\n';
    return 3;
}

/// Scores of BLOSUM62.tab by places of the profile letters; false if a row is missing.
bool readScores(const std::string& file, orvix::importing::SubstitutionScores& scores) {
    if (!std::ifstream(file)) {
        return false;
    }
    GDB table(file);
    const std::string letters = orvix::networks::profileLetters;
    for (std::size_t a = 0; a < letters.size(); ++a) {
        auto row = table.getEntry("RESNAME", letters.substr(a, 1), 1);
        if (row.empty()) {
            return false;
        }
        for (std::size_t b = 0; b < letters.size(); ++b) {
            scores[a][b] = orvix::textToDouble(row[letters.substr(b, 1)]);
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "-h" || first == "--help") {
        std::cout << usage;
        return 0;
    }
    if (argc < 3 || argc > 4) {
        std::cerr << usage;
        return 2;
    }
    const std::string output = argv[2];
    std::ifstream in(first, std::ios::binary);
    std::stringstream content;
    if (!in || !(content << in.rdbuf())) {
        return refuse(first, "can't be read or is empty");
    }
    const std::string text = content.str();

    orvix::networks::SequenceProfile profile;
    std::string wrong;
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != std::string::npos && text[start] == '>') {
        const char* directory = std::getenv("ORVIXN_DIR");
        const std::string tables =
            argc == 4 ? argv[3] : std::string(directory != nullptr ? directory : ".") + "/tab";
        orvix::importing::SubstitutionScores scores{};
        if (!readScores(tables + "/BLOSUM62.tab", scores)) {
            return refuse(
                tables + "/BLOSUM62.tab",
                "no table with the 20 rows of BLOSUM62; name the table directory as third "
                "argument or set ORVIXN_DIR");
        }
        wrong = orvix::importing::profileFromAlignment(text, scores, profile);
    } else {
        wrong = orvix::importing::profileFromPssm(text, profile);
    }
    if (!wrong.empty()) {
        return refuse(first, wrong);
    }
    if (!orvix::networks::writeCheckFile(output, profile)) {
        std::cerr << "orvix-profile: can't write " << output << '\n';
        return 1;
    }
    std::cout << profile.sequence.size() << " residues written to " << output << '\n';
    return 0;
}
