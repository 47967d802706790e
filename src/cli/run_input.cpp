#include "cli/run_input.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <sstream>

#include "base/line_reader.h"
#include "base/text.h"
#include "base/version.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "import/shift_text.h"

namespace orvix::cli {
namespace {

/// Whether the library can't read the file as it is: the standard input, and files that are
/// compressed, begin with a byte order mark or have 16 bits a character.
bool isPackedText(const std::string& file) {
    if (file == importing::standardInput) {
        return true;
    }
    std::string start(3, '\0');
    std::ifstream(file, std::ios::binary).read(start.data(), 3);
    return start.compare(0, 2, "\x1f\x8b") == 0 || start == "\xef\xbb\xbf" ||
           start.compare(0, 2, "\xff\xfe") == 0 || start.compare(0, 2, "\xfe\xff") == 0 ||
           start.find('\0') < 2;
}

}  // namespace

void addPreparationOptions(CLI::App& command, PreparationOptions& options) {
    addDataOption(command, options.dataDirectory);
    command.add_option("--title", options.title, "Title in the tables; FILE if absent")
        ->type_name("TEXT");
    command.add_flag("--no-proton,--noproton", options.noProton,
                     "Take HA and HN as missing, work from 13C and 15N alone");
    command.add_flag("--iso", options.isotopeCorrection,
                     "Correct CA and CB shifts of a deuterated sample");
    command.add_flag("--keep-cysteines", options.keepCysteines,
                     "Keep the cysteine states as given instead of taking them from CB");
}

Settings runSettings(const PreparationOptions& options, const std::string& dataDirectory,
                     const std::string& title) {
    Settings settings;
    settings.tabDir = dataDirectory + "/tab";
    settings.inTitle = title;
    settings.noProton = options.noProton;
    settings.isoCorrect = options.isotopeCorrection;
    settings.noOxiCysCheck = options.keepCysteines;
    return settings;
}

RunInput takeInput(const std::string& file, const importing::ImportOptions& options,
                   const std::string& title) {
    RunInput input;
    input.file = file;
    std::string fromFile;
    const std::string given = importing::readShiftText(file);
    if (options.format.empty() && importing::isShiftTableText(given)) {
        if (!options.list.empty() || !options.entity.empty() || !options.assembly.empty() ||
            !options.sequenceFile.empty() || options.numbering != "seq" ||
            options.maxAmbiguity != 0 || options.shiftNumbers) {
            std::cerr << programName << ": warning: " << file
                      << " is an input table and taken as it is; the options for reading other "
                         "forms have no effect\n";
        }
        input.tableReport = importing::lookAtShiftTable(given, file);
        if (isPackedText(file)) {
            input.tableText = given;
        } else {
            input.shifts = namingInput(file, [&] { return shiftInput(given, file); });
        }
    } else {
        input.imported = importing::importShiftText(given, file, options);
        fromFile = input.imported->title;
        std::ostringstream text;
        importing::writeShiftTable(*input.imported, text);
        input.tableText = text.str();
    }
    if (!input.tableText.empty()) {
        input.shifts = namingInput(file, [&] { return shiftInput(input.tableText, file); });
    }
    // Titles are one line with single blanks, as from a command line of orvixn.
    input.title = simplifyWhiteSpace(!title.empty() ? title : !fromFile.empty() ? fromFile : file);
    return input;
}

void tellImport(const RunInput& input) {
    if (input.imported) {
        std::cerr << programName << ": " << input.file << " read as " << input.imported->format
                  << ", " << input.imported->shifts.size() << " backbone shifts; "
                  << input.imported->fit.text << '\n';
    }
    for (const std::string& warning :
         (input.imported ? input.imported->report : input.tableReport).warnings()) {
        std::cerr << programName << ": warning: " << warning << '\n';
    }
}

}  // namespace orvix::cli
