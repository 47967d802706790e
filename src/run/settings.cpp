#include "run/settings.h"

#include <algorithm>
#include <ostream>
#include <utility>

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

constexpr int longestWindow = 8;

/// The position weights of the search reach three residues to each side.
void requireWindow(int length) {
    if (length < 1 || length > longestWindow) {
        const std::string message = "Window length " + std::to_string(length) +
                                    " of the database search is out of range, use 1 to " +
                                    std::to_string(longestWindow);
        throw orvix::RunEnd(orvix::EndReason::usage, -1, "\t" + message + "\n", message);
    }
}

std::string titleOr(const std::string& title) {
    return title.empty() ? "None" : title;
}

}  // namespace

namespace {

/// The settings that are members of the run under the same names.
template <class Visit>
void visitSettings(const Visit& visit) {
    using orvix::Settings;
    visit(&Settings::tabDir, &ORVIX::tabDir);
    visit(&Settings::pathSep, &ORVIX::pathSep);
    visit(&Settings::dbFile, &ORVIX::dbFile);
    visit(&Settings::weightFile, &ORVIX::weightFile);
    visit(&Settings::homologyFile, &ORVIX::homologyFile);
    visit(&Settings::randCoilFile, &ORVIX::randCoilFile);
    visit(&Settings::rcAdjFile, &ORVIX::rcAdjFile);
    visit(&Settings::rcPrevFile, &ORVIX::rcPrevFile);
    visit(&Settings::rcNextFile, &ORVIX::rcNextFile);
    visit(&Settings::ssLimitFile, &ORVIX::ssLimitFile);
    visit(&Settings::inTitle, &ORVIX::inTitle);
    visit(&Settings::refFile, &ORVIX::refFile);
    visit(&Settings::refTitle, &ORVIX::refTitle);
    visit(&Settings::exclList, &ORVIX::exclList);
    visit(&Settings::s2Limit, &ORVIX::s2Limit);
    visit(&Settings::count, &ORVIX::count);
    visit(&Settings::candidateMax, &ORVIX::candidateMax);
    visit(&Settings::firstResid, &ORVIX::firstResid);
    visit(&Settings::lastResid, &ORVIX::lastResid);
    visit(&Settings::alignLen, &ORVIX::alignLen);
    visit(&Settings::clip, &ORVIX::clip);
    visit(&Settings::isoCorrect, &ORVIX::isoCorrect);
    visit(&Settings::offsetCorrect, &ORVIX::offsetCorrect);
    visit(&Settings::noProton, &ORVIX::noProton);
    visit(&Settings::noOxiCysCheck, &ORVIX::noOxiCysCheck);
    visit(&Settings::noVerb, &ORVIX::noVerb);
    visit(&Settings::noPath, &ORVIX::noPath);
}

/// Table settings with the names that stand for them when they are empty.
constexpr std::pair<std::string ORVIX::*, const char*> tables[] = {
    {&ORVIX::dbFile, "orvix.tab"},          {&ORVIX::weightFile, "weight.tab"},
    {&ORVIX::homologyFile, "homology.tab"}, {&ORVIX::randCoilFile, "randcoil.tab"},
    {&ORVIX::rcAdjFile, "rcadj.tab"},       {&ORVIX::rcPrevFile, "rcprev.tab"},
    {&ORVIX::rcNextFile, "rcnext.tab"},     {&ORVIX::ssLimitFile, "sslimit.tab"}};

}  // namespace

void ORVIX::takeSettings(const orvix::Settings& settings) {
    visitSettings([&](auto from, auto to) { this->*to = settings.*from; });
    for (const auto& [file, name] : tables) {
        if ((this->*file).empty()) {
            this->*file = tablePath(name);
        }
    }
    isoAdjFile = tablePath("isoadj.tab");
    requireWindow(alignLen);
}

orvix::Settings ORVIX::settings() const {
    orvix::Settings settings;
    visitSettings([&](auto to, auto from) { settings.*to = this->*from; });
    return settings;
}

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
    requireWindow(alignLen);
    checkOnly = options.given("check");
    offsetCorrect = options.given("offset");
    noVerb = !options.given("verb");
    noPath = !options.given("path") || options.given("nopath");
    noProton = options.given("noproton");
    searchPhase = false;
    noOxiCysCheck = options.given("noOxiCysCheck") && !options.given("OxiCysCheck");
}
