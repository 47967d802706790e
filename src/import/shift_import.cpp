#include "import/shift_import.h"

#include "base/run_end.h"
#include "import/shift_file.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

using Reader = ShiftFile (*)(std::string_view, const std::string&);

struct Form {
    const char* name;
    Reader read;
};

constexpr Form forms[] = {{"nmrstar3", readNmrStar3}, {"nmrstar21", readNmrStar21},
                          {"nef", readNef},           {"xeasy", readXeasy},
                          {"sparky", readSparky},     {"csv", readCsv},
                          {"rows", readRows},         {"nmrview", readNmrView}};

std::string knownForms() {
    std::string names;
    for (const std::string& name : importFormats()) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return names;
}

}  // namespace

const std::vector<std::string>& importFormats() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        for (const Form& form : forms) {
            list.emplace_back(form.name);
        }
        return list;
    }();
    return names;
}

ImportedTable importShifts(const std::string& path, const ImportOptions& options) {
    return importShiftText(readShiftText(path), path, options);
}

ImportedTable importShiftText(const std::string& text, const std::string& path,
                              const ImportOptions& options) {
    if (options.numbering != "seq" && options.numbering != "auth") {
        throw InputRejected("numbering " + options.numbering +
                            " is not known; expected seq or auth");
    }
    if (text.find_first_not_of(" \t\n") == std::string::npos) {
        throw InputRejected(path + ": the file is empty");
    }
    if (options.format.empty() && options.sequenceFile.empty()) {
        // Its rows could be read as a list, but then a sequence with holes would be made of them.
        const std::string broken = nameBrokenTable(text);
        if (!broken.empty()) {
            throw InputRejected(
                path + ": " + broken +
                "; mend the table, or name the whole sequence by --sequence; known forms: " +
                knownForms());
        }
    }
    const std::string format = options.format.empty() ? findFormat(text) : options.format;
    for (const Form& form : forms) {
        if (format == form.name) {
            ShiftFile file = form.read(text, path);
            file.report.noteFirst("file: " + path + ", read as " + format);
            if (file.rows.empty()) {
                const std::string losses = file.report.losses();
                throw InputRejected(path + ": no row with a shift in it (read as " + format +
                                    (losses.empty() ? "" : "; " + losses) + ")");
            }
            return buildShiftTable(std::move(file), options);
        }
    }
    if (!format.empty()) {
        throw InputRejected(path + ": the form " + format +
                            " is not known; known forms: " + knownForms());
    }
    if (isShiftTableText(text)) {
        throw InputRejected(path + ": is an input table already and needs no import");
    }
    const std::string wrong = nameWrongForm(text);
    throw InputRejected(path + ": " + (wrong.empty() ? "no known form of a shift file" : wrong) +
                        "; known forms: " + knownForms());
}

void writeImportReport(const ImportedTable& table, std::ostream& out, std::size_t itemLimit) {
    table.report.write(out, itemLimit);
}

}  // namespace orvix::importing
