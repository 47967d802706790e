#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvix::results {

/// A directory of results that appears under its name whole or not at all. Files are written to a
/// hidden directory beside it, on the same file system, which `publish` renames; an object that
/// ends without `publish` removes what was written. Parents that are not there are made.
class OutputDirectory {
  public:
    /// Throws RunError when the final name exists and may not be replaced (only with `replace`, and
    /// only an empty directory or an earlier prediction), or the hidden directory can't be made.
    OutputDirectory(const std::string& finalName, bool replace);
    ~OutputDirectory();
    OutputDirectory(const OutputDirectory&) = delete;
    OutputDirectory& operator=(const OutputDirectory&) = delete;

    /// Path of a file while it is being written.
    std::string file(const std::string& name) const { return work_ + "/" + name; }
    /// Gives the directory its final name. A directory that it replaces changes places with it in
    /// one step, where the file system can do that, and is then removed. Throws RunError.
    void publish();

  private:
    void makeParents(const std::filesystem::path& parent);
    void removeParents();
    void replaceExisting();

    std::string final_, work_;
    std::vector<std::filesystem::path> parents_;  ///< directories made on the way, from the top
    bool replace_;
};

}  // namespace orvix::results
