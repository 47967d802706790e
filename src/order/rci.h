#pragma once

#include <map>
#include <string>
#include <vector>

/// Flexibility of a protein backbone from its chemical shifts by the random coil index
/// (J. Am. Chem. Soc. 127(43), 14970-14971): the larger the secondary shifts around a residue, the
/// smaller its index.
///
/// `runRCI` runs the steps below in their order; each works on the members alone. All of them walk
/// from the smallest to the largest residue number of `inCS`, the search for which starts from 999
/// and -999. Numbers in between that have no shifts take part as residues without data. The class
/// reports nothing and has no failure.
class RCI {
  public:
    /// Empty maps, and the six weights.
    RCI();

    /// Computes `s2`. `cs`: residue -> at least 12 values, six pairs (secondary shift in ppm, flag
    /// 1.0 for a missing shift) in the atom order HN, N, HA, C, CA, CB; a shorter vector counts as
    /// no data. `adjust`: residue -> atom -> the reference value that the secondary shift lacks.
    /// `sequence`: residue -> letter.
    void runRCI(std::map<int, std::vector<double>>& cs,
                std::map<int, std::map<std::string, double>>& adjust,
                std::map<int, std::string>& sequence);

    /// Appends the six weights to `weightCoefficient`.
    void initWeightCoefficient();
    /// Turns the shifts of `inCS` into shifts against the random coil values of this method, which
    /// know the two neighbours on either side.
    void inCS_convert_ORVIX2RCI();
    /// Fills `avgCS` with mean absolute shifts over three residues.
    void applyThreePointsCSAveraging();
    /// Bends the ends of the chain: residues outside the peak of the first or last four are pushed
    /// past the peak.
    void applyEndCorrection();
    /// Replaces `rci` by its mean over three residues; 9999.0 where none of them is usable.
    void applyFinalSmooth();
    /// The index, not capped, of six scaled values in the atom order of `cs`; -1.0 unless both
    /// vectors hold exactly six.
    double calcRCI(std::vector<double>& a, std::vector<double>& weights);

    std::map<int, std::vector<double>> inCS;   ///< residue -> six pairs (shift, flag)
    std::map<int, std::vector<double>> avgCS;  ///< residue -> six averages
    /// residue -> how many of N, HA, C, CA, CB have no shift, plus 1 for a glycine; from 5 on the
    /// residue takes no part in any mean
    std::map<int, int> missingAtoms;
    std::map<int, std::map<std::string, double>> csAdjust;  ///< residue -> atom -> ppm
    std::map<int, std::string> seq;                         ///< residue -> letter
    std::vector<double> weightCoefficient;  ///< by atom in the order HN, N, HA, C, CA, CB
    std::map<int, double> s2;               ///< residue -> 0.4 ln(1 + 17.7 index), 9999.0 for none
    std::map<int, double> rci;              ///< residue -> index, 0 for rigid, larger for flexible

    /// Row letters of the five tables.
    static const std::string AAseqList;
    /// Tables in ppm, by letter and by atom in the order N, C, CA, CB, HN, HA: the random coil
    /// shift of a residue (9999 where there is none), and the corrections by the residues at i-1,
    /// i-2, i+1 and i+2.
    static const double random_coil[23][6];
    static const double preceed_res_effect[23][6];
    static const double preceed_preceed_res_effect[23][6];
    static const double next_res_effect[23][6];
    static const double next_next_res_effect[23][6];

  private:
    void countMissingAtoms();
    void calcIndex();
    void calcS2();
};
