// Level 2 of the surface network: the layers of three members over the windows of a chain, by the
// form that looks a weight's row up in its map for every product, by the plain kernel, and by each
// kernel that this processor can run. Results are compared bit for bit before a time counts.
//
// layer_bench [--full] [--repeat N]    --full: 1620-360-324 and 70 residues; else a sixteenth of it

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "networks/weight_maps.h"

namespace {

struct Sizes {
    int inputs, hidden, outputs, residues;
};

struct Network {
    orvix::networks::WeightRows rows[3][3];
    std::vector<double> bias[3][3];
    std::vector<orvix::networks::Member> members;
};

void fill(Network& network, const Sizes& sizes, double zeroShare, std::mt19937& random) {
    std::normal_distribution<double> weight(0.0, 0.05);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    const int height[] = {sizes.inputs, sizes.hidden, sizes.outputs};
    const int width[] = {sizes.inputs, sizes.inputs, sizes.hidden};
    for (int m = 0; m < 3; ++m) {
        orvix::networks::Member& member = network.members.emplace_back();
        for (int layer = 0; layer < 3; ++layer) {
            for (int r = 0; r < height[layer]; ++r) {
                std::vector<double>& row = network.rows[m][layer][r];
                for (int c = 0; c < width[layer]; ++c) {
                    const double value = static_cast<double>(static_cast<float>(weight(random)));
                    row.push_back(share(random) < zeroShare ? 0.0 : value);
                }
                network.bias[m][layer].push_back(weight(random));
            }
            member[static_cast<std::size_t>(layer)] =
                orvix::networks::viewLayer(network.rows[m][layer], network.bias[m][layer], 0);
        }
    }
}

// The rule as it reads, with a look-up in the map for every weight.
std::vector<double> literalLayer(const std::vector<double>& input,
                                 orvix::networks::WeightRows& rows, const std::vector<double>& bias,
                                 bool tanh) {
    std::vector<double> out;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        double s = 0.0;
        int n = 0;
        for (std::size_t j = 0; j < input.size(); ++j) {
            s += input[j] * rows[i][j];
            const int t = static_cast<int>(s);
            n += t;
            s -= t;
        }
        const double sum = s + n + bias[static_cast<std::size_t>(i)];
        out.push_back(tanh ? 2 / (1 + std::exp(-2 * sum)) - 1 : sum);
    }
    return out;
}

orvix::networks::EnsembleOutput literalPass(
    Network& network, const std::vector<const std::vector<double>*>& windows) {
    orvix::networks::EnsembleOutput results(3);
    for (const std::vector<double>* window : windows) {
        for (std::size_t m = 0; m < 3; ++m) {
            std::vector<double> values = *window;
            for (int layer = 0; layer < 3; ++layer) {
                values =
                    literalLayer(values, network.rows[m][layer], network.bias[m][layer], layer < 2);
            }
            results[m].push_back(values);
        }
    }
    return results;
}

bool sameBits(const orvix::networks::EnsembleOutput& a, const orvix::networks::EnsembleOutput& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t m = 0; m < a.size(); ++m) {
        if (a[m].size() != b[m].size()) {
            return false;
        }
        for (std::size_t w = 0; w < a[m].size(); ++w) {
            if (a[m][w].size() != b[m][w].size() ||
                std::memcmp(a[m][w].data(), b[m][w].data(), a[m][w].size() * sizeof(double)) != 0) {
                return false;
            }
        }
    }
    return true;
}

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

int measure(const Sizes& sizes, double zeroShare, int repeats) {
    std::mt19937 random(20240501);
    Network network;
    fill(network, sizes, zeroShare, random);
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
    forms.push_back({"maps", [&] { return literalPass(network, windows); }, {}, {}});
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
        if (!sameBits(form.run(), expected)) {
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
    const int dense = measure(sizes, 0.0, repeats);
    return dense != 0 ? dense : measure(sizes, 0.9, repeats);
}
