#include <CLI/CLI.hpp>
#include <iostream>

#include "companion/command.h"

int main(int argc, char** argv) {
    CLI::App app("Backbone and chi1 torsion angles from NMR chemical shifts", "orvix");
    app.require_subcommand(1);
    orvix::ExitStatus status = orvix::ExitStatus::done;
    orvix::addImportCommand(app, status);
    orvix::addCheckCommand(app, status);
    orvix::addPredictCommand(app, status);
    orvix::addExportCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(orvix::ExitStatus::usageError);
    } catch (const orvix::InputRejected& error) {
        std::cerr << "orvix: " << error.what() << '\n';
        return static_cast<int>(orvix::ExitStatus::inputRejected);
    } catch (const orvix::RunError& error) {
        std::cerr << "orvix: " << error.what() << '\n';
        return static_cast<int>(orvix::ExitStatus::runError);
    }
    return static_cast<int>(status);
}
