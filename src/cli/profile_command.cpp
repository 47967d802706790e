// `orvix profile`: the binary check file that the sequence-only mode reads, from what sequence
// searches write today: the ASCII matrix of PSI-BLAST or a multiple alignment in FASTA form.

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "base/numbers.h"
#include "base/version.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/output_options.h"
#include "import/profile_import.h"
#include "networks/check_file.h"
#include "tables/gdb.h"

namespace orvix::cli {
namespace {

struct ProfileOptions {
    std::string file, output, dataDirectory;
};

std::string readText(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream content;
    if (!in || !(content << in.rdbuf())) {
        throw InputRejected(file + ": can't be read or is empty");
    }
    return content.str();
}

/// Scores of a table of BLOSUM62 by places of the profile letters.
importing::SubstitutionScores readScores(const std::string& file) {
    importing::SubstitutionScores scores{};
    GDB table(file);
    const std::string letters = networks::profileLetters;
    for (std::size_t a = 0; a < letters.size(); ++a) {
        auto row = table.getEntry("RESNAME", letters.substr(a, 1), 1);
        if (row.empty()) {
            throw RunEnd(EndReason::dataDirectory,
                         file + ": no row of the residue " + letters.substr(a, 1));
        }
        for (std::size_t b = 0; b < letters.size(); ++b) {
            scores[a][b] = textToDouble(row[letters.substr(b, 1)]);
        }
    }
    return scores;
}

void makeProfile(const ProfileOptions& options) {
    requireOutput(options.output, {options.file});
    const std::string text = readText(options.file);
    networks::SequenceProfile profile;
    std::string wrong;
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != std::string::npos && text[start] == '>') {
        const DataDirectory data = findDataDirectory(dataPlaces(options.dataDirectory));
        wrong = importing::profileFromAlignment(text, readScores(data.path + "/tab/BLOSUM62.tab"),
                                                profile);
    } else {
        wrong = importing::profileFromPssm(text, profile);
    }
    if (!wrong.empty()) {
        throw InputRejected(options.file + ": " + wrong);
    }
    networks::writeCheckFile(options.output, profile);
    std::cerr << programName << ": " << options.output << ": " << profile.sequence.size()
              << " residues\n";
}

}  // namespace

void addProfileCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<ProfileOptions>();
    command
        .add_option("FILE", options->file,
                    "ASCII matrix of PSI-BLAST (psiblast -out_ascii_pssm), or a multiple alignment "
                    "in FASTA form, query first")
        ->required()
        ->type_name("");
    command.add_option("-o,--output", options->output, "Profile file for orvixn -blast_check")
        ->required()
        ->type_name("FILE");
    addDataOption(command, options->dataDirectory);
    command.callback([options, &status] {
        makeProfile(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
