#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <string>

#include "base/cpu.h"
#include "base/run_end.h"
#include "images/image_source.h"
#include "model/model.h"
#include "run/command_line.h"
#include "run/orvix.h"

namespace {

int runProgram(int argc, char** argv) {
    auto run = std::make_unique<ORVIX>();
    orvix::images::ImageUse use = orvix::images::ImageUse::stamps;
    if (const char* word = std::getenv(orvix::images::imageUseVariable)) {
        use = orvix::images::imageUseFromWord(word).value_or(use);
    }
    run->model = std::make_shared<const orvix::Model>(orvix::images::modelSource(use));
    run->printInfo();
    if (argc <= 1) {
        run->printSyntax();
    }
    std::string joined;
    for (int i = 1; i < argc; ++i) {
        joined += ' ';
        joined += argv[i];
    }
    const orvix::CommandLine commandLine = orvix::parseCommandLine(joined, run->argNames);
    for (const std::string& name : commandLine.unknown) {
        std::cerr << " Invaid arg name -" << name << '\n';
    }

    const std::clock_t start = std::clock();
    run->setArgs(commandLine.options);
    if (commandLine.sequenceOnly) {
        run->runSeqSS_Prediction();
    } else {
        run->orvixPredict();
    }
    const std::clock_t end = std::clock();

    // The time line counts in whole milliseconds of the process clock.
    const std::clock_t ticks = (end - start) / (CLOCKS_PER_SEC / 1000);
    std::fflush(stdout);
    std::cout << " Running time: " << static_cast<float>(ticks) * 0.001F << " seconds" << std::endl;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (const char* level = std::getenv(orvix::instructionLevelVariable)) {
        orvix::limitInstructionLevel(std::string_view(level));
    }
    try {
        return runProgram(argc, argv);
    } catch (const orvix::RunEnd& end) {
        std::cout.flush();
        std::cerr << end.text() << std::flush;
        return end.status();
    }
}
