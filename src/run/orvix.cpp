#include "run/orvix.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/angles.h"
#include "base/missing.h"
#include "base/run_end.h"
#include "base/statistics.h"
#include "base/text_writer.h"
#include "model/model.h"
#include "networks/chi1ann.h"
#include "run/options.h"
#include "search/database.h"
#include "search/db.h"
#include "shifts/observed_triplets.h"
#include "structure/pdb.h"

namespace {

/// Data directory and directory separator from the environment.
struct Places {
    std::string directory = ".";
    std::string separator;
};

Places placesFromEnvironment() {
    Places places;
    if (const char* set = std::getenv("ORVIXN_DIR")) {
        if (std::strchr(set, '/') != nullptr) {
            return {set, "/"};
        }
        if (std::strchr(set, '\\') != nullptr) {
            return {set, "\\"};
        }
        return places;
    }
    const char* path = std::getenv("PATH");
    if (path == nullptr) {
        places.separator = "\\";
    } else if (std::strchr(path, '/') != nullptr) {
        places.separator = "/";
    } else if (std::strchr(path, '\\') != nullptr) {
        places.separator = "\\";
    }
    return places;
}

}  // namespace

ORVIX::ORVIX() : ORVIX(std::make_shared<const orvix::Model>()) {
    const Places places = placesFromEnvironment();
    orvixDir = places.directory;
    pathSep = places.separator;
}

ORVIX::ORVIX(std::shared_ptr<const orvix::Model> shared)
    : model(std::move(shared)), atomNames{{1, "N"},  {2, "HA"}, {3, "C"},
                                          {4, "CA"}, {5, "CB"}, {6, "HN"}} {
    for (const orvix::Option& option : orvix::allOptions()) {
        if (option.known) {
            argNames.emplace_back(option.name);
        }
    }
    orvixDir = ".";
    pathSep = "/";
    for (char letter : std::string("CDEFHIKLMNQRSTVWY")) {
        chi1Nets[std::string(1, letter)] = nullptr;
    }
}

ORVIX::~ORVIX() {
    delete refPDB;
    takeDatabase(nullptr);
    for (auto& [letter, network] : chi1Nets) {
        delete network;
    }
}

void ORVIX::takeDatabase(std::shared_ptr<const orvix::search::Database> shared) {
    if (database == nullptr || db != &database->rows()) {
        delete db;
    }
    database = std::move(shared);
    db = database == nullptr ? nullptr : &database->rows();
}

void ORVIX::takeTriplets(std::shared_ptr<const orvix::shifts::ObservedTriplets> shared) {
    triplets = std::move(shared);
    obsShift = triplets->shiftFace();
    obsResName = triplets->nameFace();
}

GDB& ORVIX::observedTable() {
    obsCSTable = *model->table(tablePath("orvix_obsCS.tab"));
    return obsCSTable;
}

void ORVIX::provideShiftMatrix(std::size_t rows) {
    shiftRows_ = orvix::RowMatrix<double>(rows, 6, orvix::missingValue);
    shiftMatrix = shiftRows_.face();
}

void ORVIX::checkpoint() const {
    if (stop.stop_requested()) {
        throw orvix::RunError("the run was stopped");
    }
}

double ORVIX::getDiff(double a, double b) {
    return orvix::angleDifference(a, b);
}
double ORVIX::getAVGAngle2(std::vector<double>& v) {
    return orvix::meanAngle(v);
}
double ORVIX::getSTDAngle(std::vector<double>& v) {
    return orvix::angleSpread(v);
}
double ORVIX::getAverage(std::vector<double>& v) {
    return orvix::mean(v);
}
double ORVIX::getSTDev(std::vector<double>& v) {
    return orvix::sampleDeviation(v);
}
double ORVIX::getConfidence(std::vector<double>& v) {
    return orvix::classMargin(v);
}
std::string ORVIX::getChi1Rotamer(float chi1) {
    return std::string(orvix::chi1Rotamer(chi1));
}

const std::string& ORVIX::seqName(int res) const {
    static const std::string none;
    const auto found = seq.find(res);
    return found == seq.end() ? none : found->second;
}

std::string ORVIX::residueLabel(int res) const {
    const auto found = seqOrig.find(res);
    return found != seqOrig.end() && found->second.size() == 1 ? found->second : "?";
}

int ORVIX::missingAt(int res) const {
    const auto found = missingCount.find(res);
    return found == missingCount.end() ? 0 : found->second;
}

int ORVIX::tripletShiftCount(int res) const {
    return 18 - missingAt(res - 1) - missingAt(res) - missingAt(res + 1);
}

bool ORVIX::hasReference() const {
    return !refFile.empty() && refPDB != nullptr && !refPDB->isNull();
}

std::string ORVIX::tablePath(const std::string& name) const {
    return tabDir + pathSep + name;
}
