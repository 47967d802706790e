#include "run/command_line.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "tables/gdb.h"

namespace orvix {

CommandLine parseCommandLine(const std::string& joined, const std::vector<std::string>& known) {
    static constexpr std::array<std::string_view, 5> flags = {"noclip", "nodetail", "check",
                                                              "noann", "seqSS"};
    CommandLine result;
    for (const std::string& token : GDB::split(std::string(" -"), joined)) {
        const std::size_t blank = token.find(' ');
        const std::string name = token.substr(0, blank);
        std::string value = blank == std::string::npos ? token : token.substr(blank + 1);
        value = GDB::simplifyWhiteSpace(value);
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            result.unknown.push_back(name);
        }
        if (std::find(flags.begin(), flags.end(), name) != flags.end()) {
            value = "true";
        }
        if (name == "seqSS") {
            result.sequenceOnly = true;
        }
        result.options[name] = value;
    }
    return result;
}

}  // namespace orvix
