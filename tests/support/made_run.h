#pragma once

#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "base/streams.h"
#include "run/orvix.h"
#include "support/made_data.h"
#include "support/temporary.h"

namespace orvix::test {

/// The tiny run: the made data directory and query, and run objects settled on them. The result
/// tables go to `out/pred...`; what the runs say goes to `said` and `warned`.
class MadeRun : public testing::Test {
  protected:
    MadeRun() : streams_({&said, &warned}) {
        writeMadeData(directory.path());
        std::filesystem::create_directory(directory.path("out"));
    }

    /// A run with the options `options` beside those of input, output and data directory.
    std::unique_ptr<ORVIX> settled(std::map<std::string, std::string> options = {}) const {
        options.insert({{"in", directory.path("query.tab")},
                        {"inTitle", "made"},
                        {"sum", directory.path("out/pred.tab")},
                        {"orvixNDir", directory.path()}});
        auto run = std::make_unique<ORVIX>();
        run->setArgs(options);
        return run;
    }
    /// The same with tables loaded and shifts prepared.
    std::unique_ptr<ORVIX> prepared(const std::map<std::string, std::string>& options = {}) const {
        auto run = settled(options);
        run->init();
        run->getResInfo();
        return run;
    }
    std::string table(const std::string& name) const { return directory.read("out/" + name); }

    TemporaryDirectory directory;
    std::ostringstream said, warned;

  private:
    ScopedStreams streams_;
};

}  // namespace orvix::test
