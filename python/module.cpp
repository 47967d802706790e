// The native half of the Python module. Options come as the words of the program's command line, so
// that names, ranges and defaults are those of `orvix`; the work is that of src/jobs. Data frames
// are made of the results record on the Python side.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "base/run_end.h"
#include "base/version.h"
#include "cli/data_directory.h"
#include "cli/image_options.h"
#include "cli/import_options.h"
#include "cli/prediction_options.h"
#include "cli/prediction_page.h"
#include "cli/restraint_options.h"
#include "cli/writing_time.h"
#include "import/shift_import.h"
#include "jobs/prediction_job.h"
#include "model/model.h"
#include "results/results_file.h"

namespace py = pybind11;
using namespace orvix;

namespace {

using Words = std::vector<std::string>;

/// Files may hold what is no UTF-8, and messages and reports quote them.
py::str shownText(const std::string& text) {
    PyObject* const decoded =
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace");
    if (decoded == nullptr) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::str>(decoded);
}

py::list shownTexts(const std::vector<std::string>& texts) {
    py::list shown;
    for (const std::string& text : texts) {
        shown.append(shownText(text));
    }
    return shown;
}

/// Carries out `read`, whose complaints about options are those of the command line.
template <class Read>
auto readingOptions(const Read& read) {
    try {
        return read();
    } catch (const CLI::ParseError& error) {
        throw RunEnd(EndReason::usage, error.what());
    }
}

/// Reads `words` into options that `add` knows how to add to a command.
template <class Options, class Add>
Options readWords(const Add& add, Words words) {
    Options options;
    CLI::App line;
    line.set_help_flag();
    add(line, options);
    // CLI11 takes words from the end.
    std::reverse(words.begin(), words.end());
    line.parse(words);
    return options;
}

struct NativeImport {
    std::string file;
    importing::ImportedTable table;
};

NativeImport importFile(const std::string& file, const Words& words) {
    const auto options = readingOptions([&] {
        return readWords<importing::ImportOptions>(
            [](CLI::App& line, importing::ImportOptions& given) {
                cli::addImportOptions(line, given);
            },
            words);
    });
    return {file, importing::importShifts(file, options)};
}

std::string tableText(const NativeImport& imported) {
    std::ostringstream text;
    importing::writeShiftTable(imported.table, text);
    return text.str();
}

std::string reportText(const NativeImport& imported) {
    std::ostringstream text;
    importing::writeImportReport(imported.table, text);
    return text.str();
}

struct NativePrediction {
    results::FinishedPrediction finished;
    std::vector<std::string> warnings, words;
    std::string report;  ///< of the import; empty for an input table
};

std::string restraintsOf(const NativePrediction& prediction, const std::string& word,
                         const Words& words) {
    return readingOptions([&] {
        const auto options = readWords<cli::RestraintOptions>(cli::addRestraintOptions, words);
        const restraints::RestraintFormat format = cli::restraintFormat(word, "");
        return cli::restraintText(
            cli::restraintFile(prediction.finished, prediction.finished.inputFile, format, options),
            format);
    });
}

class NativeModel {
  public:
    NativeModel(const std::string& path, const std::string& beside) {
        cli::DataPlaces places = cli::dataPlaces(path);
        if (!beside.empty()) {
            places.program = beside;
        }
        const cli::DataDirectory found = cli::findDataDirectory(places);
        data_ = {found.path, found.place};
    }

    const std::string& directory() const { return data_.path; }

    /// The options of `orvix predict` by words. `take` makes the input of them.
    template <class Take>
    NativePrediction predict(const Words& words, int threads, const Take& take) const {
        const jobs::PredictionOptions options =
            readingOptions([&] { return cli::readPredictionOptions({}, words); });
        const jobs::RunInput input = take(options);
        jobs::requireExclusion(options.exclude, data_.path);
        RunControl control;
        control.threads = threads;
        jobs::PredictionOutcome outcome =
            jobs::predictInput(model_, input, options, data_, control, false);
        NativePrediction prediction{std::move(outcome.finished), input.warnings,
                                    std::move(outcome.words), ""};
        prediction.warnings.insert(prediction.warnings.end(), outcome.notes.begin(),
                                   outcome.notes.end());
        if (input.imported) {
            prediction.report = reportText({input.file, *input.imported});
        }
        return prediction;
    }

  private:
    jobs::DataPlace data_;
    std::shared_ptr<const Model> model_ = cli::modelFor({});
};

PyObject *baseError, *usageError, *inputError, *dataError, *runError;

PyObject* newError(py::module_& module, const char* name, PyObject* base, const char* meaning) {
    PyObject* const type =
        PyErr_NewExceptionWithDoc((std::string("orvix.") + name).c_str(), meaning, base, nullptr);
    if (type == nullptr) {
        throw py::error_already_set();
    }
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
            return runError;
        case EndReason::complete:
            break;
    }
    return baseError;
}

void addErrors(py::module_& module) {
    baseError = newError(module, "Error", nullptr, "Why something could not be done.");
    usageError = newError(module, "UsageError", baseError, "Options without a meaning.");
    inputError = newError(module, "InputError", baseError, "Shifts or another file of the user.");
    dataError =
        newError(module, "DataDirectoryError", baseError, "No data directory, or a broken one.");
    runError = newError(module, "RunError", baseError, "Something around a run failed.");
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const RunEnd& end) {
            PyErr_SetObject(errorOf(end.reason()), shownText(end.what()).ptr());
        }
    });
}

}  // namespace

PYBIND11_MODULE(_native, module) {
    // Nothing of Python is touched while the other threads of Python go on.
    using WithoutLock = py::call_guard<py::gil_scoped_release>;
    addErrors(module);
    module.attr("version") = programVersion();

    py::class_<NativeImport>(module, "Import")
        .def_property_readonly("file", [](const NativeImport& one) { return shownText(one.file); })
        .def_property_readonly("title",
                               [](const NativeImport& one) { return shownText(one.table.title); })
        .def_property_readonly("format", [](const NativeImport& one) { return one.table.format; })
        .def_property_readonly("sequence",
                               [](const NativeImport& one) { return one.table.sequence; })
        .def_property_readonly("first_residue",
                               [](const NativeImport& one) { return one.table.firstResidue; })
        .def_property_readonly(
            "warnings",
            [](const NativeImport& one) { return shownTexts(one.table.report.warnings()); })
        .def_property_readonly("table",
                               [](const NativeImport& one) { return shownText(tableText(one)); })
        .def_property_readonly("report",
                               [](const NativeImport& one) { return shownText(reportText(one)); })
        .def("rows", [](const NativeImport& one) {
            py::list rows;
            for (const importing::ImportedShift& row : one.table.shifts) {
                rows.append(py::make_tuple(row.residue, row.residueName, row.atom, row.value));
            }
            return rows;
        });
    module.def("import_shifts", &importFile, WithoutLock());

    py::class_<NativePrediction>(module, "Prediction")
        .def_property_readonly("warnings",
                               [](const NativePrediction& one) { return shownTexts(one.warnings); })
        .def_property_readonly("words",
                               [](const NativePrediction& one) { return shownTexts(one.words); })
        .def_property_readonly("report",
                               [](const NativePrediction& one) { return shownText(one.report); })
        .def(
            "json", [](const NativePrediction& one) { return results::resultsText(one.finished); },
            WithoutLock())
        .def("restraints", &restraintsOf, WithoutLock())
        .def(
            "page",
            [](const NativePrediction& one) {
                return cli::predictionPage(results::resultsText(one.finished),
                                           one.finished.inputFile, cli::writingTime() + "Z");
            },
            WithoutLock());

    py::class_<NativeModel>(module, "Model")
        .def(py::init<const std::string&, const std::string&>())
        .def_property_readonly("directory", &NativeModel::directory)
        .def(
            "predict_file",
            [](const NativeModel& model, const std::string& file, const Words& words, int threads) {
                return model.predict(words, threads, [&](const jobs::PredictionOptions& options) {
                    return jobs::takeInput(file, options.import, options.preparation.title);
                });
            },
            WithoutLock())
        .def(
            "predict_text",
            [](const NativeModel& model, const std::string& text, const std::string& name,
               const Words& words, int threads) {
                return model.predict(words, threads, [&](const jobs::PredictionOptions& options) {
                    return jobs::takeText(text, name, options.import, options.preparation.title);
                });
            },
            WithoutLock())
        .def(
            "predict_import",
            [](const NativeModel& model, const NativeImport& imported, const Words& words,
               int threads) {
                return model.predict(words, threads, [&](const jobs::PredictionOptions& options) {
                    return jobs::takeImported(imported.table, imported.file,
                                              options.preparation.title);
                });
            },
            WithoutLock());
}
