#pragma once

#include <map>
#include <string>
#include <vector>

#include "networks/ann.h"

/// Secondary structure from sequence over a window of 2h + 1 residues, h following from
/// inputSize1 (21 values per side residue, 20 for the centre). Level 2 can be told the classes
/// that are known already. Every residue gets a window; input_code has no effect.
class SSANN : public ANN {
  public:
    int order = 3;  ///< ensemble members per level: 3 or 5; any other order runs none

    /// residue number -> three class values that level 2 takes as given
    std::map<int, std::vector<double>> knownSS;

    /// Default sizes of ANN, order 3.
    SSANN();
    SSANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2, int hiddenWidth2,
          int outputWidth2, const std::string& dir, const std::string& name);
    SSANN(const SSANN&) = default;
    SSANN& operator=(const SSANN&) = default;
    ~SSANN();

    void setOrder(int members);
    void setKNOWN_SS(std::map<int, std::vector<double>>& known);

    /// All six text files, for three or five members by `order`.
    void loadWeights();

    /// Reads one text table of 5 * rows rows through the rules of GDB (full precision, a missing
    /// column reads 0.0, a file that can't be opened ends the process).
    void loadWeightBias5(const std::string& file, std::map<int, std::vector<double>>& w0,
                         std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                         std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                         std::vector<double>& b2, std::map<int, std::vector<double>>& w3,
                         std::vector<double>& b3, std::map<int, std::vector<double>>& w4,
                         std::vector<double>& b4, int rows, int cols);

    void calcLevel1();
    void calcLevel2();

    /// Confidence-weighted mean of five vectors, appended to `out`; the plain mean if the weights
    /// sum to zero. Nothing is appended if the lengths differ.
    void applyVecAverage5(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                          std::vector<double>& d, std::vector<double>& e, std::vector<double>& out);

    /// Loads, runs both levels over `input` (residue number -> 20 values) and leaves three class
    /// values per residue in level2Output.
    void runANN(std::map<int, std::vector<double>>& input);
};
