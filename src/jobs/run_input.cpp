#include "jobs/run_input.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

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

/// Titles are one line with single blanks, as from a command line of orvixn.
std::string oneLine(const std::string& title) {
    return simplifyWhiteSpace(title);
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
    RunInput input = takeText(importing::readShiftText(file), file, options, title);
    if (!input.imported && !isPackedText(file)) {
        input.tableText.clear();
    }
    return input;
}

RunInput takeText(const std::string& text, const std::string& file,
                  const importing::ImportOptions& options, const std::string& title) {
    if (!options.format.empty() || !importing::isShiftTableText(text)) {
        return takeImported(importing::importShiftText(text, file, options), file, title);
    }
    RunInput input;
    input.file = file;
    if (choosesPart(options)) {
        input.warnings.push_back(file +
                                 " is an input table and taken as it is; the options for "
                                 "reading other forms have no effect");
    }
    input.tableReport = importing::lookAtShiftTable(text, file);
    for (const std::string& warning : input.tableReport.warnings()) {
        input.warnings.push_back(warning);
    }
    input.tableText = text;
    input.shifts = namingInput(file, [&] { return shiftInput(text, file); });
    input.title = oneLine(title.empty() ? file : title);
    return input;
}

RunInput takeImported(importing::ImportedTable imported, const std::string& file,
                      const std::string& title) {
    RunInput input;
    input.file = file;
    input.warnings = imported.report.warnings();
    std::ostringstream table;
    importing::writeShiftTable(imported, table);
    input.tableText = table.str();
    input.shifts = namingInput(file, [&] { return shiftInput(input.tableText, file); });
    input.title = oneLine(!title.empty() ? title : !imported.title.empty() ? imported.title : file);
    input.imported = std::move(imported);
    return input;
}

}  // namespace orvix::jobs
