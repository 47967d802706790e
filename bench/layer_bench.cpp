// Level 2 of the surface network: the layers of three members over the windows of a chain, by the
// form that looks a weight's row up in its map for every product, by the plain kernel, and by each
// kernel that this processor can run. Results are compared bit for bit before a time counts.
//
// layer_bench [--full] [--repeat N]    --full: 1620-360-324 and 70 residues; else a sixteenth of it

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "gates.h"
#include "literal_layers.h"
#include "networks/weight_maps.h"

namespace {

using literal::Network;
using literal::Sizes;

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Form {
    std::string name;
    std::function<orvix::networks::EnsembleOutput()> run;
    std::vector<double> seconds;
    std::vector<double> cpu;
};

int measure(const Sizes& sizes, double zeroShare, int repeats, Gates& gates) {
    std::mt19937 random(20240501);
    Network network;
    literal::fill(network, sizes, zeroShare, random);
    std::uniform_real_distribution<double> value(-0.2, 1.0);
    std::vector<std::vector<double>> inputs(static_cast<std::size_t>(sizes.residues));
    std::vector<const std::vector<double>*> windows;
    for (std::vector<double>& input : inputs) {
        for (int c = 0; c < sizes.inputs; ++c) {
            input.push_back(value(random));
        }
        windows.push_back(&input);
    }

    std::vector<Form> forms;
    forms.push_back({"maps", [&] { return literal::pass(network, windows); }, {}, {}});
    forms.push_back({"plain",
                     [&] { return orvix::networks::runEnsemblePlain(network.members, windows); },
                     {},
                     {}});
    for (const orvix::networks::LayerKernel* kernel : orvix::networks::availableLayerKernels()) {
        for (const int threads : {1, 2, 10}) {
            forms.push_back({std::string(kernel->name) + " " + std::to_string(threads) + "T",
                             [&, kernel, threads] {
                                 return orvix::networks::runEnsemble(*kernel, network.members,
                                                                     windows, threads);
                             },
                             {},
                             {}});
        }
    }

    const orvix::networks::EnsembleOutput expected = forms[0].run();
    for (Form& form : forms) {
        if (!literal::sameBits(form.run(), expected)) {
            std::printf("FAILED: %s differs from the maps\n", form.name.c_str());
            return 1;
        }
    }
    for (int i = 0; i < repeats; ++i) {
        for (Form& form : forms) {
            const auto start = std::chrono::steady_clock::now();
            const std::clock_t cpu = std::clock();
            form.run();
            form.cpu.push_back(static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC);
            form.seconds.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    const double products = 3.0 * sizes.residues *
                            (1.0 * sizes.inputs * sizes.inputs + 1.0 * sizes.hidden * sizes.inputs +
                             1.0 * sizes.outputs * sizes.hidden);
    std::printf("\n%d-%d-%d, %d residues, %.0f %% zero weights, bits equal\n", sizes.inputs,
                sizes.hidden, sizes.outputs, sizes.residues, 100 * zeroShare);
    std::printf("%-14s %12s %12s %12s %12s %10s %12s %10s\n", "form", "median ms", "min ms",
                "max ms", "products/ns", "ratio", "CPU ms", "CPU ratio");
    const double base = median(forms[0].seconds);
    for (const Form& form : forms) {
        const double time = median(form.seconds);
        std::printf("%-14s %12.3f %12.3f %12.3f %12.2f %10.1f %12.3f %10.1f\n", form.name.c_str(),
                    1e3 * time, 1e3 * *std::min_element(form.seconds.begin(), form.seconds.end()),
                    1e3 * *std::max_element(form.seconds.begin(), form.seconds.end()),
                    1e-9 * products / time, base / time, 1e3 * median(form.cpu),
                    median(forms[0].cpu) / median(form.cpu));
        const bool zeros = zeroShare > 0.0;
        if (form.name == "avx2 1T") {
            gates.require(zeros ? "layers, 90 % zero, avx2" : "layers, avx2",
                          median(forms[0].cpu) / median(form.cpu), zeros ? 100.0 : 20.0);
        } else if (form.name == "avx512 1T") {
            gates.require(zeros ? "layers, 90 % zero, avx512" : "layers, avx512",
                          median(forms[0].cpu) / median(form.cpu), zeros ? 100.0 : 28.0);
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Sizes sizes{405, 90, 81, 70};
    int repeats = 5;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--full") {
            sizes = {1620, 360, 324, 70};
        } else if (option == "--repeat" && i + 1 < argc) {
            repeats = std::max(1, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: layer_bench [--full] [--repeat N]\n");
            return 2;
        }
    }
    Gates gates;
    for (const double zeroShare : {0.0, 0.9}) {
        if (const int status = measure(sizes, zeroShare, repeats, gates); status != 0) {
            return status;
        }
    }
    return gates.status();
}
