// A whole run in processor seconds: with a model that reads the text of the data directory, and
// with one that maps its prepared image, in turn. All tables and messages are compared first.
//
//   run_bench DATA_DIRECTORY SHIFT_TABLE [--repeat N]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "base/run_end.h"
#include "gates.h"
#include "images/image_source.h"
#include "model/model.h"
#include "run/predict.h"

namespace {

/// One run as a process of its own would make it, its messages and tables as text.
std::vector<std::string> run(orvix::images::ImageUse use, const std::string& data,
                             const std::string& input) {
    orvix::Settings settings;
    settings.tabDir = data + "/tab";
    const auto model = std::make_shared<const orvix::Model>(orvix::images::modelSource(use));
    const orvix::Prediction prediction =
        orvix::predict(model, orvix::readShiftInput(input), settings);
    std::vector<std::string> texts;
    for (orvix::ResultTable table : orvix::resultTables) {
        texts.push_back(tableText(prediction, table));
    }
    for (const orvix::Message& message : prediction.messages) {
        texts.push_back(message.text);
    }
    return texts;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int measure(const std::string& data, const std::string& input, int repeats) {
    using orvix::images::ImageUse;
    if (orvix::images::ImageFile::open(data + "/tab/" + orvix::images::imageName,
                                       orvix::images::ImageCheck::content) == nullptr) {
        std::fprintf(stderr, "FAILED: no image of %s that can be used\n", data.c_str());
        return EXIT_FAILURE;
    }
    if (run(ImageUse::stamps, data, input) != run(ImageUse::none, data, input)) {
        std::fprintf(stderr, "FAILED: the runs differ\n");
        return EXIT_FAILURE;
    }
    std::vector<double> times[2];
    for (int i = 0; i < repeats; ++i) {
        for (const ImageUse use : {ImageUse::none, ImageUse::stamps}) {
            const std::clock_t start = std::clock();
            run(use, data, input);
            times[use == ImageUse::none ? 0 : 1].push_back(
                static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
        }
    }
    const char* const names[] = {"text", "image"};
    for (int k = 0; k < 2; ++k) {
        std::printf("%-6s %.3f CPU s (%.3f to %.3f)\n", names[k], median(times[k]),
                    *std::min_element(times[k].begin(), times[k].end()),
                    *std::max_element(times[k].begin(), times[k].end()));
    }
    Gates gates;
    gates.require("run from an image", median(times[0]) / median(times[1]), 1.5);
    return gates.status();
}

}  // namespace

int main(int argc, char** argv) {
    const bool repeated = argc == 5 && std::strcmp(argv[3], "--repeat") == 0;
    if (argc != 3 && !repeated) {
        std::fprintf(stderr, "usage: run_bench DATA_DIRECTORY SHIFT_TABLE [--repeat N]\n");
        return 2;
    }
    try {
        return measure(argv[1], argv[2], repeated ? std::max(1, std::atoi(argv[4])) : 5);
    } catch (const orvix::RunEnd& end) {
        std::fprintf(stderr, "%s\n", end.what());
        return EXIT_FAILURE;
    }
}
