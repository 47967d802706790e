#include "cli/data_directory.h"

#include <gtest/gtest.h>

#include "cli/command.h"
#include "temporary_directory.h"

namespace {

void layOut(const TemporaryDirectory& directory, const std::string& name) {
    for (const char* table : {"orvix", "orvix_obsCS", "randcoil", "rcadj", "rcprev", "rcnext",
                              "isoadj", "sslimit", "homology", "BLOSUM62", "weight", "chi1"}) {
        directory.write(name + "/tab/" + table + ".tab", "");
    }
}

TEST(DataDirectory, OrderOfPlaces) {
    const TemporaryDirectory directory;
    for (const char* name : {"option", "variable", "program", "installed"}) {
        layOut(directory, name);
    }
    orvix::cli::DataPlaces places{directory.path("option"), directory.path("variable"),
                                  directory.path("program"), directory.path("installed")};
    EXPECT_EQ(orvix::cli::findDataDirectory(places).path, directory.path("option"));
    places.option.clear();
    EXPECT_EQ(orvix::cli::findDataDirectory(places).path, directory.path("variable"));
    places.environment = "";
    EXPECT_EQ(orvix::cli::findDataDirectory(places).path, directory.path("program"));
    places.environment.reset();
    EXPECT_EQ(orvix::cli::findDataDirectory(places).place, "beside the program");
    std::filesystem::remove(directory.path("program/tab/weight.tab"));
    EXPECT_EQ(orvix::cli::findDataDirectory(places).path, directory.path("installed"));
}

TEST(DataDirectory, ErrorsNameEveryPlace) {
    const TemporaryDirectory directory;
    layOut(directory, "program");
    const auto message = [](const orvix::cli::DataPlaces& places) {
        return errorOf<orvix::RunEnd>([&] { orvix::cli::findDataDirectory(places); });
    };
    orvix::cli::DataPlaces places{"", std::nullopt, directory.path("a"), directory.path("b")};
    EXPECT_NE(message(places).find(directory.path("a/tab")), std::string::npos);
    EXPECT_NE(message(places).find(directory.path("b/tab")), std::string::npos);

    // A place that was named is not passed over for one that would do.
    places.program = directory.path("program");
    places.environment = directory.path("c");
    EXPECT_NE(message(places).find("ORVIXN_DIR (" + directory.path("c") + ")"), std::string::npos);
    places.environment = "share";
    EXPECT_NE(message(places).find("must hold a \"/\""), std::string::npos);
    places.option = directory.path("program");
    std::filesystem::remove(directory.path("program/tab/orvix.tab"));
    EXPECT_NE(message(places).find("no file " + directory.path("program/tab/orvix.tab")),
              std::string::npos);
}

}  // namespace
