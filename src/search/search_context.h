#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class ORVIX;

namespace orvix::search {

/// What the search of one residue yields. The lists run by rank, best first.
struct TripletResult {
    std::map<double, int> matches;      ///< all ranked candidates: key -> database row
    std::map<double, int> typeMatches;  ///< candidates of the residue's own type: raw score -> row
    std::vector<double> phi, psi;       ///< degrees, of the selected matches
    std::vector<double> score;          ///< their keys
    std::vector<int> index;             ///< their database rows
    bool typeSpecific = false;          ///< whether the residue has a same-type list at all
    std::vector<double> chi1;           ///< degrees, of the best same-type matches
    std::string verboseText;            ///< a line for each selected match, empty without -verb
};

/// Everything that the search of any residue reads: a view of a run whose search map and database
/// are ready. Read-only, so several threads may search with one context; the run must stay as it is
/// meanwhile. What is derived from the database alone is kept with it and used again by later
/// contexts, so only the first one of a database costs a pass over its rows.
class SearchContext {
  public:
    explicit SearchContext(const ORVIX& run);
    ~SearchContext();
    SearchContext(const SearchContext&) = delete;
    SearchContext& operator=(const SearchContext&) = delete;

  private:
    friend TripletResult searchResidue(const SearchContext& context, int res);
    struct Data;
    std::unique_ptr<const Data> data_;
};

/// Scans the database for residue `res` and ranks what it found. The result depends on the
/// arguments alone, and nothing is written but the return value.
TripletResult searchResidue(const SearchContext& context, int res);

}  // namespace orvix::search
