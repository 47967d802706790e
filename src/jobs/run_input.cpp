#include "jobs/run_input.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/text.h"
#include "import/shift_text.h"

namespace orvix::jobs {
namespace {

/// Whether the library can't read the file as it is: the standard input, pipes, and files that are
/// compressed, begin with a byte order mark or have 16 bits a character.
bool isPackedText(const std::string& file) {
    std::error_code failure;
    if (file == importing::standardInput || !std::filesystem::is_regular_file(file, failure)) {
        return true;
    }
    std::string start(3, '\0');
    std::ifstream(file, std::ios::binary).read(start.data(), 3);
    return start.compare(0, 2, "\x1f\x8b") == 0 || start == "\xef\xbb\xbf" ||
           start.compare(0, 2, "\xff\xfe") == 0 || start.compare(0, 2, "\xfe\xff") == 0 ||
           start.find('\0') < 2;
}

bool choosesPart(const importing::ImportOptions& options) {
    return !options.list.empty() || !options.entity.empty() || !options.assembly.empty() ||
           !options.sequenceFile.empty() || options.numbering != "seq" ||
           options.maxAmbiguity != 0 || options.shiftNumbers;
}

}  // namespace

Settings runSettings(const Preparation& preparation, const std::string& dataDirectory,
                     const std::string& title) {
    Settings settings;
    settings.tabDir = dataDirectory + "/tab";
    settings.inTitle = title;
    settings.noProton = preparation.noProton;
    settings.isoCorrect = preparation.isotopeCorrection;
    settings.noOxiCysCheck = preparation.keepCysteines;
    return settings;
}

RunInput takeInput(const std::string& file, const importing::ImportOptions& options,
                   const std::string& title) {
    RunInput input;
    input.file = file;
    std::string fromFile;
    const std::string given = importing::readShiftText(file);
    if (options.format.empty() && importing::isShiftTableText(given)) {
        if (choosesPart(options)) {
            input.warnings.push_back(file +
                                     " is an input table and taken as it is; the options for "
                                     "reading other forms have no effect");
        }
        input.tableReport = importing::lookAtShiftTable(given, file);
        for (const std::string& warning : input.tableReport.warnings()) {
            input.warnings.push_back(warning);
        }
        if (isPackedText(file)) {
            input.tableText = given;
        } else {
            input.shifts = namingInput(file, [&] { return shiftInput(given, file); });
        }
    } else {
        input.imported = importing::importShiftText(given, file, options);
        fromFile = input.imported->title;
        input.warnings = input.imported->report.warnings();
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

}  // namespace orvix::jobs
