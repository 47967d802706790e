// The native half of the Python module: reading, prediction and files. Data frames are made of the
// results record on the Python side.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "base/run_end.h"
#include "base/text.h"
#include "base/version.h"
#include "cli/data_directory.h"
#include "import/shift_import.h"
#include "import/shift_text.h"
#include "model/model.h"
#include "report/page_record.h"
#include "report/pages.h"
#include "restraints/restraint_file.h"
#include "results/gather.h"
#include "results/results_file.h"
#include "run/predict.h"

namespace py = pybind11;
using namespace orvix;

namespace {

/// More residues of another name than this make the angles of a run worthless; as in the program.
constexpr std::size_t toleratedMismatches = 4;

struct NativeModel {
    explicit NativeModel(const std::string& path)
        : directory(cli::findDataDirectory(cli::dataPlaces(path)).path),
          model(std::make_shared<const Model>()) {}
    std::string directory;
    std::shared_ptr<const Model> model;
};

struct NativePrediction {
    results::FinishedPrediction finished;
    std::vector<std::string> warnings;
};

/// A shift file or its text as a table to run on.
struct Input {
    std::string table, title;
    std::map<int, std::string> authorNumber;
    std::vector<std::string> warnings;
};

Input readInput(const std::optional<std::string>& given, const std::string& name) {
    const std::string text = given ? *given : importing::readShiftText(name);
    Input input;
    if (importing::isShiftTableText(text)) {
        input.warnings = importing::lookAtShiftTable(text, name).warnings();
        input.table = text;
        return input;
    }
    const importing::ImportedTable imported = importing::importShiftText(text, name, {});
    std::ostringstream table;
    importing::writeShiftTable(imported, table);
    input.table = table.str();
    input.title = imported.title;
    input.authorNumber = imported.authorNumber;
    input.warnings = imported.report.warnings();
    return input;
}

void requireRange(const results::FinishedSettings& asked, const Prediction& checked) {
    const int begin = checked.seqFirstResid, end = begin + checked.seqLength - 1;
    const int first = asked.first.value_or(begin), last = asked.last.value_or(end);
    if (first > last || first > end || last < begin) {
        throw RunEnd(EndReason::usage, "first, last: residues " + std::to_string(first) + " to " +
                                           std::to_string(last) + " hold none of the sequence, " +
                                           std::to_string(begin) + " to " + std::to_string(end));
    }
}

NativePrediction predictShifts(const NativeModel& data, const std::optional<std::string>& text,
                               const std::string& name, const std::string& title,
                               results::FinishedSettings asked, int threads) {
    if (!asked.s2Threshold || !(*asked.s2Threshold >= 0.0 && *asked.s2Threshold <= 1.0)) {
        throw RunEnd(EndReason::usage, "s2_threshold: expected a number from 0 to 1");
    }
    if (*asked.count < 1 || *asked.count > 25) {
        throw RunEnd(EndReason::usage, "count: expected a number from 1 to 25");
    }
    if (threads < 0 || threads > 1024) {
        throw RunEnd(EndReason::usage, "threads: expected a number from 0 to 1024");
    }
    const Input input = readInput(text, name);
    asked.dataDirectory = data.directory;
    Settings settings;
    settings.tabDir = data.directory + "/tab";
    settings.inTitle = simplifyWhiteSpace(!title.empty()         ? title
                                          : !input.title.empty() ? input.title
                                                                 : name);
    if (!asked.reference.empty()) {
        settings.refFile = asked.reference;
        settings.refTitle = simplifyWhiteSpace(asked.reference);
    }
    settings.noProton = asked.noProton;
    settings.isoCorrect = asked.isotopeCorrection;
    settings.noOxiCysCheck = asked.keepCysteines;
    settings.offsetCorrect = asked.offsetCorrection;
    settings.clip = asked.clip;
    settings.s2Limit = 1.0 - *asked.s2Threshold;
    settings.exclList = simplifyWhiteSpace(asked.exclude);
    settings.count = *asked.count;
    settings.firstResid = asked.first.value_or(settings.firstResid);
    settings.lastResid = asked.last.value_or(settings.lastResid);
    RunControl control;
    control.threads = threads;

    const auto shifts = [&] { return shiftInput(input.table, name); };
    const Prediction checked = checkShifts(data.model, shifts(), settings, control);
    requireRange(asked, checked);
    const auto limits = data.model->table(checked.settings.ssLimitFile);
    const std::size_t others = results::shiftReport(checked, *limits).mismatches.size();
    if (others > toleratedMismatches) {
        throw InputRejected(name + ": the residue names of " + std::to_string(others) +
                            " residues are not those of the sequence; check the sequence and its "
                            "first residue");
    }
    const Prediction prediction = orvix::predict(data.model, shifts(), settings, control);
    results::ResultsOrigin origin;
    origin.inputFile = name;
    origin.authorNumber = input.authorNumber;
    origin.settings = asked;
    return {results::finishedPrediction(prediction, origin, *limits), input.warnings};
}

std::string restraintText(const NativePrediction& prediction, const std::string& format) {
    restraints::RestraintFile file;
    const bool cyana = format == "cyana";
    file.names = restraints::RestraintNames(cyana);
    file.version = programVersion();
    file.source = prediction.finished.inputFile;
    file.prediction = prediction.finished;
    file.rules.classes = {"Strong"};
    file.set = restraints::makeRestraints(file.prediction, file.rules,
                                          file.names.namedUnknown(file.prediction));
    std::ostringstream out;
    if (cyana) {
        restraints::writeCyana(file, out);
    } else if (format == "cns") {
        restraints::writeCns(file, out);
    } else if (format == "nef") {
        restraints::writeNef(file, out);
    } else if (format == "nmrstar") {
        restraints::writeNmrStar(file, out);
    } else {
        throw RunEnd(EndReason::usage,
                     "format '" + format + "' is none of cyana, cns, nef, nmrstar");
    }
    return out.str();
}

std::string reportPage(const NativePrediction& prediction) {
    report::PageOrigin origin;
    origin.program = programName;
    origin.version = programVersion();
    const auto record = nlohmann::ordered_json::parse(results::resultsText(prediction.finished));
    const std::vector<report::RestraintText> files = {
        {"cyana", "restraints.aco", restraintText(prediction, "cyana")},
        {"cns", "restraints.tbl", restraintText(prediction, "cns")}};
    return report::pageWithRecord(report::proteinPage,
                                  report::proteinRecord(record, files, origin));
}

PyObject *baseError, *usageError, *inputError, *dataError, *systemError;

PyObject* newError(py::module_& module, const char* name, PyObject* base) {
    PyObject* const type =
        PyErr_NewException((std::string("orvix.") + name).c_str(), base, nullptr);
    module.attr(name) = py::handle(type);
    return type;
}

PyObject* errorOf(EndReason reason) {
    switch (reason) {
        case EndReason::usage:
            return usageError;
        case EndReason::input:
            return inputError;
        case EndReason::dataDirectory:
            return dataError;
        case EndReason::system:
            return systemError;
        case EndReason::complete:
            break;
    }
    return baseError;
}

}  // namespace

PYBIND11_MODULE(_native, module) {
    baseError = newError(module, "Error", nullptr);
    usageError = newError(module, "UsageError", baseError);
    inputError = newError(module, "InputError", baseError);
    dataError = newError(module, "DataDirectoryError", baseError);
    systemError = newError(module, "SystemError_", baseError);
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const RunEnd& end) {
            PyErr_SetString(errorOf(end.reason()), end.what());
        }
    });
    module.attr("version") = programVersion();

    py::class_<NativePrediction>(module, "Prediction")
        .def_readonly("warnings", &NativePrediction::warnings)
        .def("json", [](const NativePrediction& one) { return results::resultsText(one.finished); })
        .def("restraints", &restraintText)
        .def("page", &reportPage);
    py::class_<NativeModel>(module, "Model")
        .def(py::init<const std::string&>())
        .def_readonly("directory", &NativeModel::directory)
        .def("predict",
             [](const NativeModel& data, const std::optional<std::string>& text,
                const std::string& name, const std::string& title, bool noProton, bool iso,
                bool offset, bool keepCysteines, bool clip, double threshold,
                const std::string& exclude, std::optional<int> first, std::optional<int> last,
                int count, const std::string& reference, int threads) {
                 results::FinishedSettings asked;
                 asked.noProton = noProton;
                 asked.isotopeCorrection = iso;
                 asked.offsetCorrection = offset;
                 asked.keepCysteines = keepCysteines;
                 asked.clip = clip;
                 asked.s2Threshold = threshold;
                 asked.exclude = exclude;
                 asked.first = first;
                 asked.last = last;
                 asked.count = count;
                 asked.reference = reference;
                 const py::gil_scoped_release others;
                 return predictShifts(data, text, name, title, asked, threads);
             });
    module.def("import_shifts", [](const std::string& path) {
        std::ostringstream table, report;
        {
            const py::gil_scoped_release others;
            const importing::ImportedTable imported = importing::importShifts(path, {});
            importing::writeShiftTable(imported, table);
            importing::writeImportReport(imported, report);
        }
        return py::make_tuple(table.str(), report.str());
    });
}
