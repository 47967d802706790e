#pragma once

#include <map>
#include <string>
#include <vector>

/// Two-level ensemble of small perceptrons, evaluated residue by residue. Level 1 sees a window of
/// residue vectors, level 2 a window of level 1 results. Each level holds three members (five in
/// SSANN of order 5), each member three weight layers: WI (square, tanh), WL1 (tanh), WL2 (linear).
///
/// A layer of R rows and C columns is kept as R vectors of C weights, keyed 0 to R-1, and R biases.
/// The arrays have room for five members; slots 3 and 4 are used by SSANN only and stay empty here.
///
/// Rows of unequal length: only row 0 takes part in the size test. A row that is shorter than the
/// input, or missing, contributes the products that it has; weights beyond the input are not read.
///
/// runANN appends to the weight and window containers, so one object is run once.
class ANN {
  public:
    using ResidueMap = std::map<int, std::vector<double>>;

    char numBuf[32] = {};   ///< scratch text of a column number while weights are read
    std::string slashChar;  ///< directory separator, see getSlashChar()
    int input_code = 0;     ///< window mode of runANN: 0..4 three residues, 5 five residues
    std::string annDir;     ///< directory of the weight files
    std::string annName;    ///< file name prefix of this network

    int inputSize1 = 96, hiddenSize1 = 20, outputSize1 = 3;  ///< widths of level 1
    int inputSize2 = 9, hiddenSize2 = 6, outputSize2 = 3;    ///< widths of level 2

    std::map<int, std::vector<double>> level1WI[5];
    std::vector<double> level1BI[5];
    std::map<int, std::vector<double>> level1WL1[5];
    std::vector<double> level1BL1[5];
    std::map<int, std::vector<double>> level1WL2[5];
    std::vector<double> level1BL2[5];
    std::map<int, std::vector<double>> level2WI[5];
    std::vector<double> level2BI[5];
    std::map<int, std::vector<double>> level2WL1[5];
    std::vector<double> level2BL1[5];
    std::map<int, std::vector<double>> level2WL2[5];
    std::vector<double> level2BL2[5];

    /// The weights came from files by loadWeights(): a layer with fewer rows than its width fails
    /// the layer check at its first use.
    bool loadedFromFiles = false;

    std::map<int, std::vector<double>> rawInput;      ///< residue number -> residue vector
    std::map<int, std::vector<double>> level1Input;   ///< residue number -> level 1 window
    std::map<int, std::vector<double>> level2Input;   ///< residue number -> level 2 window
    std::map<int, std::vector<double>> level1Output;  ///< residue number -> level 1 result
    std::map<int, std::vector<double>> level2Output;  ///< residue number -> final result

    /// Sizes 96, 20, 3, 9, 6, 3, window mode 0.
    ANN();
    /// Default sizes, with directory and name of the weight files.
    ANN(const std::string& dir, const std::string& name);
    /// The sizes of level 1; those of level 2 keep their defaults.
    ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, const std::string& dir,
        const std::string& name);
    ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2, int hiddenWidth2,
        int outputWidth2, const std::string& dir, const std::string& name);

    void set_input_code(int code);

    /// Loads the weights, runs both levels over `input` (residue number -> 32 values) and leaves
    /// three class values per residue, between 0 and 1 with sum 1, in level2Output.
    void runANN(std::map<int, std::vector<double>>& input);

    /// Reads the six text files. A file that can't be opened or parsed leaves its layer empty.
    void loadWeights();

    /// Reads one text table of 3 * rows rows through the rules of GDB2 (single precision, a missing
    /// column reads 9999.0) and appends to the three members' containers.
    void loadWeightBias3(const std::string& file, std::map<int, std::vector<double>>& w0,
                         std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                         std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                         std::vector<double>& b2, int rows, int cols);

    /// One ensemble pass over level1Input into level1Output.
    void calcLevel1();
    /// One ensemble pass over level2Input into level2Output.
    void calcLevel2();

    /// One layer: appends one value per row of `w` to `out`. Mode 1 is tanh, 0 linear, any other
    /// mode appends nothing. Ends the process with status 0 if the sizes don't fit.
    void applyANNTransformation(std::vector<double>& inp, std::map<int, std::vector<double>>& w,
                                std::vector<double>& b, std::vector<double>& out, int mode);

    /// Confidence-weighted mean, appended to `out`; the plain mean if the weights sum to zero.
    /// Nothing is appended if the lengths differ or are 0.
    void applyVecAverage(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                         std::vector<double>& out);

    /// Clamps the first three values to 0..1, scales them to sum 1 and drops the rest. A zero sum
    /// gives three equal thirds; a value that is no number counts as 0. Shorter vectors stay.
    void applyVecNormalization(std::vector<double>& v);

    /// Largest minus middle value of three; -1.0 for any other length.
    double getConfidence(std::vector<double>& v);

    /// How many of the entries 1, 3, 5, 7, 9, 11 of a shift-first vector equal 1.0.
    int getNumberMissCS(std::vector<double>& v);

    /// Sets slashChar from the environment variable PATH.
    void getSlashChar();

    /// Decimal text of `value`; `buffer` must hold 12 characters. `base` has no effect.
    char* itoa(int value, char* buffer, int base);

    /// Text of `value` in one of the forms 'e', 'f', 'g' with `precision` digits (0 to 9); `buffer`
    /// must hold 64 characters.
    char* ftoa(float value, char* buffer, char form = 'g', int precision = 6);
};
