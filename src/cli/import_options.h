#pragma once

#include <string>

#include "import/shift_import.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// Options that tell how a shift file is read; the same for `import` and for all subcommands that
/// run the library on a shift file. `group` is their heading in the help.
void addImportOptions(CLI::App& command, importing::ImportOptions& options,
                      const std::string& group = "Options");

}  // namespace orvix::cli
