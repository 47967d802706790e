#pragma once

#include <map>
#include <string>
#include <vector>

#include "networks/ann.h"

/// The network of the phi/psi surface: for each residue 324 scores, one for each 20 degree box of
/// an 18 by 18 grid (index = phi bin * 18 + psi bin, bins from -180 degrees). Scores are raw
/// outputs, they can be negative. Residue vectors hold 20 residue entries and six pairs of shift
/// value and missing flag; windows cover five residues. Members are combined by the plain mean.
class SURFANN : public ANN {
  public:
    int hybrid = 0;       ///< not 0: level 2 is absent
    int threadCount = 1;  ///< threads of the *_omp operations except calcLevel2_omp

    /// Default sizes of ANN, window mode 5.
    SURFANN();
    SURFANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2, int hiddenWidth2,
            int outputWidth2, const std::string& dir, const std::string& name);

    void setHybrid(int flag);
    void setThread(int threads);

    /// Both levels; the result is in level2Output, one entry per residue of `input`. Residues
    /// without a full window get the mean map of the chain.
    void runANN(std::map<int, std::vector<double>>& input);

    /// Level 1 only, with padding at the chain ends; the result is in level1Output, with entries
    /// only for residues that have a window. Adds the two padding residues to rawInput.
    void runHybridANN(std::map<int, std::vector<double>>& input);

    /// The three level 1 text files and, unless hybrid is set, those of level 2.
    void loadWeights();
    /// The six binary files.
    void loadWeightsBIN();

    /// As ANN::loadWeightBias3, but through the rules of GDB (full precision, a missing column
    /// reads 0.0, a file that can't be opened ends the process) and on threadCount threads. Writes
    /// the thread count to the standard output.
    void loadWeightBias3_omp(const std::string& file, std::map<int, std::vector<double>>& w0,
                             std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                             std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                             std::vector<double>& b2, int rows, int cols);

    /// Reads little-endian doubles, per row the bias and then `cols` weights. A file that can't be
    /// opened loads nothing; one that ends within a row leaves that row short.
    void loadWeightBias3BIN(const std::string& file, std::map<int, std::vector<double>>& w0,
                            std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                            std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                            std::vector<double>& b2, int rows, int cols);

    void calcLevel1();
    /// calcLevel1 on threadCount threads; writes the thread count to the standard output.
    void calcLevel1_omp();
    /// The ensemble pass of level 2 on ten threads.
    void calcLevel2_omp();

    /// Plain mean, appended to `out`; nothing if the lengths differ or are 0.
    void applyVecAverage(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                         std::vector<double>& out);
};
