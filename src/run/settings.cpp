#include "run/settings.h"

// From the options of a command line to the settings of a run.
#include <ostream>
#include <string_view>
#include <utility>
#include <variant>

#include "base/numbers.h"
#include "base/run_end.h"
#include "base/streams.h"
#include "run/options.h"
#include "run/orvix.h"
#include "structure/pdb.h"

namespace {

/// The option map, read with "given means not empty".
class GivenOptions {
  public:
    explicit GivenOptions(const std::map<std::string, std::string>& values) : values_(values) {}

    std::string value(const std::string& name) const {
        const auto found = values_.find(name);
        return found == values_.end() ? std::string() : found->second;
    }
    bool given(const std::string& name) const { return !value(name).empty(); }
    /// Whether an option counts: it is given, and none of those that go before it.
    bool counts(const orvix::Option& option) const {
        return given(option.name) && !beaten(option.unless);
    }

  private:
    /// Whether `name` or an option that goes before it is given.
    bool beaten(const char* name) const {
        for (; name != nullptr; name = nextBefore(name)) {
            if (given(name)) {
                return true;
            }
        }
        return false;
    }
    static const char* nextBefore(std::string_view name) {
        for (const orvix::Option& option : orvix::allOptions()) {
            if (option.name == name) {
                return option.unless;
            }
        }
        return nullptr;
    }

    const std::map<std::string, std::string>& values_;
};

/// Puts an option that counts into its member.
void takeOption(ORVIX& run, const orvix::Option& option, const std::string& value) {
    if (const auto* text = std::get_if<std::string ORVIX::*>(&option.member)) {
        run.*(*text) = value;
    } else if (const auto* number = std::get_if<int ORVIX::*>(&option.member)) {
        run.*(*number) = orvix::textToInt(value);
    } else if (const auto* flag = std::get_if<bool ORVIX::*>(&option.member)) {
        run.*(*flag) = option.kind == orvix::OptionKind::on;
    }
}

/// 1 - the order parameter that an option states; 0.4 for what is none.
double disorderLimit(const std::string& threshold) {
    constexpr double preset = 0.4;
    const double limit = threshold.empty() ? preset : 1.0 - orvix::textToDouble(threshold);
    return limit >= 0.0 && limit <= 1.0 ? limit : preset;
}

void setIfEmpty(std::string& target, const std::string& value) {
    if (target.empty()) {
        target = value;
    }
}

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
    nameTables();
    requireWindow(alignLen);
}

void ORVIX::nameTables() {
    for (const auto& [file, name] : tables) {
        setIfEmpty(this->*file, tablePath(name));
    }
    isoAdjFile = tablePath("isoadj.tab");
}

orvix::Settings ORVIX::settings() const {
    orvix::Settings settings;
    visitSettings([&](auto to, auto from) { settings.*to = this->*from; });
    return settings;
}

void ORVIX::setArgs(std::map<std::string, std::string> args) {
    const GivenOptions options(args);
    if (options.given("help")) {
        printSyntax();
    }
    orvix::Settings preset;
    preset.tabDir.clear();
    preset.inTitle.clear();
    preset.refTitle.clear();
    preset.pathSep = pathSep;
    visitSettings([&](auto from, auto to) { this->*to = preset.*from; });
    nProc = 1;
    searchPhase = checkOnly = false;
    for (std::string* text : {&inFile, &sumFile, &allFile, &blastCheckFile}) {
        text->clear();
    }
    for (const orvix::Option& option : orvix::allOptions()) {
        if (options.counts(option)) {
            takeOption(*this, option, options.value(option.name));
        }
    }
    s2Limit = disorderLimit(options.value("s2Thresh"));
    count = count == 0 ? preset.count : count;

    setIfEmpty(tabDir, orvixDir + pathSep + "tab");
    nameTables();
    setIfEmpty(inTitle, options.given("in") ? options.value("in") : "None");
    setIfEmpty(sumFile, "pred.tab");
    outBase = sumFile.substr(0, sumFile.rfind('.'));
    setIfEmpty(allFile, outBase + "All.tab");
    takeReference();
    requireWindow(alignLen);
}

/// The word None stands for no structure; one that can't be read is reported alone.
void ORVIX::takeReference() {
    if (refFile == "None" || refFile == "none") {
        refFile.clear();
    }
    if (!refFile.empty()) {
        delete std::exchange(refPDB, nullptr);
        refPDB = new PDB(refFile);
        if (refPDB->isNull()) {
            orvix::err() << "\tNo reference structure loaded!\n";
        }
    }
    setIfEmpty(refTitle, refFile.empty() ? "None" : refFile);
}
