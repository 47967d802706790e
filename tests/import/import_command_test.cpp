#include <CLI/CLI.hpp>

#include "cli/command.h"
#include "import/import_text.h"

namespace orvix {
namespace {

cli::ExitStatus runImport(const std::vector<std::string>& words) {
    CLI::App app;
    cli::ExitStatus status = cli::ExitStatus::runError;
    cli::addImportCommand(*app.add_subcommand("import"), status);
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    reversed.emplace_back("import");
    app.parse(reversed);
    return status;
}

TEST(ImportCommand, WritesTableAndReport) {
    const TemporaryFile input(shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", "1 MET CA 55.1"));
    const TemporaryFile table;
    const TemporaryFile report;
    EXPECT_EQ(runImport({input.path(), "-o", table.path(), "--report", report.path()}),
              cli::ExitStatus::done);
    EXPECT_NE(table.content().find("   1 M   CA     55.1\n"), std::string::npos);
    EXPECT_NE(report.content().find("written: 1 shifts"), std::string::npos);

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    runImport({input.path()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), table.content());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), report.content());
}

TEST(ImportCommand, TellsItsErrorsApart) {
    const std::string text = shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", "1 MET CA 55.1");
    const TemporaryFile input(text);
    EXPECT_THROW(runImport({}), CLI::ParseError);
    EXPECT_THROW(runImport({input.path(), "--numbering", "other"}), CLI::ParseError);
    EXPECT_THROW(runImport({"/nowhere/x.str"}), InputRejected);
    EXPECT_THROW(runImport({input.path(), "--list", "4"}), InputRejected);
    EXPECT_THROW(runImport({input.path(), "-o", "/nowhere/x.tab", "--report", "/dev/null"}),
                 RunError);
    EXPECT_THROW(runImport({input.path(), "-o", input.path()}), CLI::ParseError);
    EXPECT_EQ(input.content(), text);
}

}  // namespace
}  // namespace orvix
