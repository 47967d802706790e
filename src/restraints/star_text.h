#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::restraints {

/// A value as it stands in a STAR file: bare where it may, else in quotes; "." for an empty one.
/// Only printable 7-bit ASCII comes out.
std::string starValue(const std::string& text);

/// `text` as a word that can be part of a block name or a frame code: letters, digits, "_", "-".
/// "unnamed" when nothing is left.
std::string starName(const std::string& text);

/// Writes save frames of one file in the manner of NEF and NMR-STAR.
class StarFrameWriter {
  public:
    /// Opens the frame `code` of `category`, with the prefix of its tags.
    StarFrameWriter(std::ostream& out, std::string prefix, const std::string& category,
                    const std::string& code, std::string_view categoryTag,
                    std::string_view codeTag);
    /// Closes it.
    ~StarFrameWriter();
    StarFrameWriter(const StarFrameWriter&) = delete;
    StarFrameWriter& operator=(const StarFrameWriter&) = delete;

    void tag(std::string_view name, const std::string& value);
    /// A value over several lines.
    void text(std::string_view name, const std::vector<std::string>& lines);

    void beginLoop(std::string_view prefix, const std::vector<std::string>& names);
    void row(const std::vector<std::string>& values);
    void endLoop();

  private:
    std::ostream& out_;
    std::string prefix_;
};

}  // namespace orvix::restraints
