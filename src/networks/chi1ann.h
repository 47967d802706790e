#pragma once

#include <map>
#include <string>
#include <vector>

#include "networks/ann.h"

/// Scores a database fragment for the side chain angle chi1 of one residue type: 39 values in
/// (13 for each of three positions), one score out, lower is better. One level. The weights are
/// read at the first evaluation and kept. One object serves one caller at a time.
class CHI1ANN : public ANN {
  public:
    bool chi1Loaded;  ///< the level 1 weights are in memory

    /// Touches no file.
    CHI1ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, const std::string& dir,
            const std::string& name);
    CHI1ANN(const CHI1ANN&) = default;
    CHI1ANN& operator=(const CHI1ANN&) = default;
    virtual ~CHI1ANN();

    /// The score of one input vector; 0.0 if the network gives no value.
    double runANNLevel1(std::vector<double> input);

    /// The scores of many vectors, each bit for bit what runANNLevel1 gives, with the weights read
    /// once for all of them. Leaves level1Input and level1Output as the last single call would.
    std::vector<double> runANNLevel1Batch(const std::vector<std::vector<double>>& inputs);

    /// The ensemble over a whole map of input vectors; results in level1Output.
    void runANN(std::map<int, std::vector<double>>& input);

    void calcLevel1();
    /// Member 0 alone, for the one-member binary form.
    void calcLevel1_single();

    /// Plain mean, appended to `out`; nothing if the lengths differ or are 0.
    void applyVecAverage(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                         std::vector<double>& out);

    /// The three level 1 text files; sets chi1Loaded.
    void loadWeights();
    /// The three level 1 binary files of one member each. Does not set chi1Loaded.
    void loadWeights1();

    /// As ANN::loadWeightBias3, but through the rules of GDB (full precision, a missing column
    /// reads 0.0, a file that can't be opened ends the process).
    void loadWeightBias3(const std::string& file, std::map<int, std::vector<double>>& w0,
                         std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                         std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                         std::vector<double>& b2, int rows, int cols);

    /// Binary form of one member. A file that can't be opened is reported on the standard error
    /// stream and loads nothing.
    void loadWeightBias1(const std::string& file, std::map<int, std::vector<double>>& w,
                         std::vector<double>& b, int rows, int cols);

    /// Binary form of three members. A file that can't be opened loads nothing.
    void loadWeightBiasBIN3(const std::string& file, std::map<int, std::vector<double>>& w0,
                            std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                            std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                            std::vector<double>& b2, int rows, int cols);
};
