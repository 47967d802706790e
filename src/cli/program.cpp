#include "cli/program.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>

#include "base/version.h"
#include "cli/command.h"
#include "cli/nearest_word.h"
#include "cli/output_options.h"
#include "cli/stop_signals.h"

namespace orvix::cli {
namespace {

struct Subcommand {
    const char* name;
    void (*add)(CLI::App& command, ExitStatus& status);
    const char* description;
};

/// All subcommands, in the order in which the help lists them.
constexpr Subcommand subcommands[] = {
    {"import", addImportCommand,
     "Turn a shift file (NMR-STAR 3 and 2.1, NEF, XEASY/CYANA, Sparky, CSV) into an input table"},
    {"check", addCheckCommand, "Check shifts for outliers, referencing offsets and completeness"},
    {"predict", addPredictCommand, "Predict torsion angles, secondary structure and S2"},
    {"batch", addBatchCommand, "Predict many proteins in one go, and go on after an interruption"},
    {"collect", addCollectCommand, "Join the stores of batches, write their tables as text"},
    {"show", addShowCommand, "Show a finished prediction residue by residue"},
    {"report", addReportCommand,
     "Make a page to look at of a finished prediction, or an index of many"},
    {"compare", addCompareCommand, "Hold models of the structure against a finished prediction"},
    {"export", addExportCommand, "Write dihedral restraints from a finished prediction"},
    {"profile", addProfileCommand,
     "Make the profile file of orvixn -seqSS from a sequence search or an alignment"},
    {"data", addDataCommand, "Show what the data directory holds"},
};

/// The subcommand that was being read when parsing ended, or the program itself.
CLI::App& commandInUse(CLI::App& app) {
    CLI::App* command = &app;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().back();
    }
    return *command;
}

std::string fullName(const CLI::App& command) {
    return (command.get_parent() == nullptr ? "" : fullName(*command.get_parent()) + " ") +
           command.get_name();
}

/// Words that could stand where `word` stands: long options, or subcommands.
std::vector<std::string> wordsLike(const std::string& word, CLI::App& command) {
    std::vector<std::string> words;
    if (word[0] != '-') {
        for (const CLI::App* sub : command.get_subcommands({})) {
            words.push_back(sub->get_name());
        }
        return words;
    }
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            words.push_back("--" + name);
        }
    }
    return words;
}

/// Options of orvixn have one dash; `-noproton` is `--noproton` here.
std::string meantWord(const std::string& word, CLI::App& command) {
    std::string plain = word.substr(0, word.find('='));
    if (plain.size() > 2 && plain[0] == '-' && plain[1] != '-') {
        plain.insert(0, "-");
    }
    return nearestWord(plain, wordsLike(word, command));
}

int tellUsageError(CLI::App& app, const CLI::ParseError& error) {
    CLI::App& command = commandInUse(app);
    const std::string name = fullName(command);
    std::string unknown;
    for (const std::string& word : command.remaining()) {
        if (!word.empty() && word != "--") {
            unknown = word;
            break;
        }
    }
    std::string meant;
    if (unknown.empty()) {
        std::cerr << name << ": " << error.what() << '\n';
    } else {
        const bool option = unknown[0] == '-';
        const bool subcommand = !option && !command.get_subcommands({}).empty();
        std::cerr << name << ": "
                  << (option       ? "unknown option "
                      : subcommand ? "unknown subcommand "
                                   : "unexpected argument ")
                  << unknown << '\n';
        meant = option || subcommand ? meantWord(unknown, command) : std::string();
    }
    std::cerr << (meant.empty() ? "See " : "Did you mean " + meant + "? See ") << name
              << " --help\n";
    return static_cast<int>(ExitStatus::usageError);
}

int runCommand(int argc, const char* const* argv) {
    CLI::App app("Backbone and chi1 torsion angles from NMR chemical shifts", programName);
    app.set_version_flag("-V,--version", std::string(programName) + " " + programVersion(),
                         "Print the version and exit");
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 the run failed, 2 wrong usage, 3 the input was rejected,\n"
        "4 done with findings (check), 5 done but for some failed jobs (batch).");
    ExitStatus status = ExitStatus::done;
    for (const Subcommand& one : subcommands) {
        one.add(*app.add_subcommand(one.name, one.description), status);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            return tellUsageError(app, error);
        }
        app.exit(error);
    }
    writeResult("");
    return static_cast<int>(status);
}

ExitStatus statusOf(EndReason reason) {
    switch (reason) {
        case EndReason::usage:
            return ExitStatus::usageError;
        case EndReason::input:
            return ExitStatus::inputRejected;
        case EndReason::complete:
            return ExitStatus::done;
        case EndReason::dataDirectory:
        case EndReason::system:
            break;
    }
    return ExitStatus::runError;
}

int fail(ExitStatus status, const char* message) {
    std::cerr << programName << ": " << message << '\n';
    return static_cast<int>(status);
}

}  // namespace

int runProgram(int argc, const char* const* argv) noexcept {
    // A reader that went away shows where its output is written; it costs nothing else.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return runCommand(argc, argv);
    } catch (const RunEnd& end) {
        return fail(statusOf(end.reason()), end.what());
    } catch (const Interrupted& interrupted) {
        std::signal(interrupted.signal, SIG_DFL);
        std::raise(interrupted.signal);
        return 128 + interrupted.signal;
    } catch (const std::bad_alloc&) {
        return fail(ExitStatus::runError, "out of memory");
    } catch (const std::exception& error) {
        return fail(ExitStatus::runError, error.what());
    } catch (...) {
        return fail(ExitStatus::runError, "an unknown error ended the program");
    }
}

}  // namespace orvix::cli
