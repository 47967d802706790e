#include "cli/library_run.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <iostream>

#include "base/process.h"
#include "cli/command.h"
#include "cli/signal_watch.h"
#include "temporary_directory.h"

namespace {

using orvix::InputRejected;
using orvix::RunError;
using orvix::cli::LibraryStage;

orvix::cli::LibraryOutcome run(const std::function<std::string(LibraryStage&)>& work) {
    return orvix::cli::runLibrary(work, "shifts.tab", {});
}

TEST(LibraryRun, GivesResultAndLogInOrder) {
    const std::string large(3000000, 'x');
    std::string warnings;
    orvix::cli::LibraryListener listener;
    listener.warning = [&](const std::string& line) { warnings += line + ";"; };
    const orvix::cli::LibraryOutcome outcome = orvix::cli::runLibrary(
        [&](LibraryStage&) {
            std::cout << "one\ntwo";
            std::cerr << "\tcareful" << 1 << std::endl << std::endl;
            std::cout << "three\nfour";
            return large;
        },
        "", listener);
    EXPECT_EQ(outcome.result, large);
    EXPECT_EQ(outcome.log, "one\ntwo\tcareful1\n\nthree\nfour\n");
    EXPECT_EQ(warnings, "\tcareful1;");
}

TEST(LibraryRun, NoEndOfTheLibraryPassesForSuccess) {
    const auto endWith = [](int status, const std::string& text, bool reading) {
        run([&](LibraryStage& stage) {
            stage.setReadingInput(reading);
            throw orvix::RunEnd(orvix::EndReason::system, status, text, text);
            return std::string();
        });
    };
    EXPECT_EQ(errorOf<RunError>([&] { endWith(0, "\tCan't open file x for reading\n", false); }),
              "Can't open file x for reading");
    EXPECT_EQ(errorOf<InputRejected>([&] { endWith(0, "\tBad format syntax '%q'\n", true); }),
              "shifts.tab: Bad format syntax '%q'");
    EXPECT_EQ(errorOf<InputRejected>([&] { endWith(-1, " No entry found, exit ...\n", false); }),
              "shifts.tab: No entry found");
    EXPECT_NE(errorOf<RunError>([&] { endWith(0, "", false); }), "");
    // Ends that go past the library.
    EXPECT_NE(errorOf<RunError>([] { run([](LibraryStage&) -> std::string { _exit(0); }); }), "");
    EXPECT_NE(errorOf<RunError>([] {
                  run([](LibraryStage&) -> std::string {
                      raise(SIGKILL);
                      return "unreached";
                  });
              }).find("Killed"),
              std::string::npos);
    EXPECT_EQ(errorOf<InputRejected>([] {
                  run([](LibraryStage&) -> std::string { throw InputRejected("no atoms"); });
              }),
              "no atoms");
    EXPECT_NE(errorOf<RunError>(
                  [] { run([](LibraryStage&) -> std::string { throw std::bad_alloc(); }); }),
              "");
}

TEST(LibraryRun, ASignalEndsTheChild) {
    const TemporaryDirectory directory;
    const pid_t parent = getpid();
    orvix::cli::SignalWatch signals;
    int came = 0;
    try {
        orvix::cli::runLibrary(
            [&](LibraryStage&) {
                kill(parent, SIGTERM);
                usleep(300000);
                directory.write("late", "");
                return std::string();
            },
            "", {}, &signals);
    } catch (const orvix::cli::Interrupted& interrupted) {
        came = interrupted.signal;
    }
    EXPECT_EQ(came, SIGTERM);
    usleep(500000);
    EXPECT_TRUE(directory.names().empty());
}

}  // namespace
