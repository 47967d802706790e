#include <algorithm>
#include <ostream>

#include "base/numbers.h"
#include "base/run_end.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "structure/pdb.h"

namespace {

/// The option map, read with "given means not empty".
class Options {
  public:
    explicit Options(const std::map<std::string, std::string>& values) : values_(values) {}

    std::string value(const std::string& name) const {
        const auto found = values_.find(name);
        return found == values_.end() ? std::string() : found->second;
    }
    bool given(const std::string& name) const { return !value(name).empty(); }
    /// The first given of `names` replaces `target`.
    void take(std::string& target, std::initializer_list<const char*> names) const {
        for (const char* name : names) {
            if (given(name)) {
                target = value(name);
                return;
            }
        }
    }
    void take(int& target, const char* name) const {
        if (given(name)) {
            target = orvix::textToInt(value(name));
        }
    }

  private:
    const std::map<std::string, std::string>& values_;
};

std::string titleOr(const std::string& title) {
    return title.empty() ? "None" : title;
}

}  // namespace

void ORVIX::setArgs(std::map<std::string, std::string> args) {
    const Options options(args);
    if (options.given("help")) {
        printSyntax();
    }
    nProc = 1;
    options.take(nProc, "nproc");
    options.take(nProc, "np");

    options.take(orvixDir, {"orvixDir", "orvixNDir", "orvixnDir"});
    tabDir = orvixDir + pathSep + "tab";
    options.take(tabDir, {"tabDir"});

    inFile = options.value("in");
    inTitle = inFile;
    options.take(inFile, {"star"});
    options.take(inTitle, {"inTitle"});
    inTitle = titleOr(inTitle);

    refFile.clear();
    options.take(refFile, {"ref", "pdb"});
    if (refFile == "None" || refFile == "none") {
        refFile.clear();
    }
    if (!refFile.empty()) {
        delete refPDB;
        refPDB = new PDB(refFile);
        if (refPDB->isNull()) {
            orvix::err() << "\tNo reference structure loaded!\n";
        }
    }
    refTitle = refFile;
    options.take(refTitle, {"refTitle"});
    refTitle = titleOr(refTitle);

    const auto table = [&](std::string& target, const char* file, const char* option) {
        target = tablePath(file);
        options.take(target, {option});
    };
    table(dbFile, "orvix.tab", "db");
    table(weightFile, "weight.tab", "w");
    table(homologyFile, "homology.tab", "homo");

    sumFile = "pred.tab";
    options.take(sumFile, {"sum", "out"});
    outBase = sumFile.substr(0, sumFile.rfind('.'));
    allFile = outBase + "All.tab";
    options.take(allFile, {"all"});

    table(randCoilFile, "randcoil.tab", "rc");
    table(rcAdjFile, "rcadj.tab", "adj");
    table(rcPrevFile, "rcprev.tab", "prev");
    table(rcNextFile, "rcnext.tab", "next");
    table(ssLimitFile, "sslimit.tab", "limits");

    exclList = options.value("excl");
    s2Limit = 0.4;
    if (options.given("s2Thresh")) {
        s2Limit = 1.0 - orvix::textToDouble(options.value("s2Thresh"));
        if (!(s2Limit >= 0.0 && s2Limit <= 1.0)) {
            s2Limit = 0.4;
        }
    }
    count = 10;
    candidateMax = 25;
    options.take(count, "count");
    if (count == 0) {
        count = 10;
    }
    firstResid = -999999;
    lastResid = 999999;
    options.take(firstResid, "first");
    options.take(lastResid, "last");
    clip = !options.given("noclip");
    isoCorrect = options.given("iso");
    isoAdjFile = tablePath("isoadj.tab");
    blastCheckFile = options.value("blast_check");
    alignLen = 7;
    options.take(alignLen, "len");
    options.take(alignLen, "alignLen");
    // The position weights of the search reach three residues to each side.
    if (alignLen < 3 || alignLen > 8) {
        const std::string message = "Window length " + std::to_string(alignLen) +
                                    " of the database search is out of range, use 3 to 7";
        throw orvix::RunEnd(orvix::EndReason::usage, -1, "\t" + message + "\n", message);
    }
    checkOnly = options.given("check");
    offsetCorrect = options.given("offset");
    noVerb = !options.given("verb");
    noPath = !options.given("path") || options.given("nopath");
    noProton = options.given("noproton");
    searchPhase = false;
    noOxiCysCheck = options.given("noOxiCysCheck") && !options.given("OxiCysCheck");
}
