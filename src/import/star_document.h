#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "import/import_report.h"

namespace orvix::importing {

struct StarValue {
    std::string_view text;
    int line = 0;
    bool missing = false;  ///< an unquoted "." or "?"
};

/// One loop: its tags and the values in file order.
class StarLoop {
  public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    int line = 0;                   ///< of the `loop_` word
    std::vector<std::string> tags;  ///< folded to lower case
    std::vector<StarValue> values;
    bool closed = false;   ///< ended by something else than the end of the file
    bool stopped = false;  ///< ended by `stop_`

    /// Index of a tag (lower case), or `none`.
    std::size_t column(std::string_view tag) const;

    /// Complete rows.
    std::size_t rowCount() const { return tags.empty() ? 0 : values.size() / tags.size(); }

    /// A cell; a missing value for the column `none`.
    StarValue cell(std::size_t row, std::size_t column) const;
};

/// One save frame, or what stands outside of all frames.
class StarFrame {
  public:
    std::string name;  ///< without "save_"; empty outside of frames
    int line = 0;
    std::vector<std::pair<std::string, StarValue>> items;  ///< tag in lower case, value
    std::vector<StarLoop> loops;

    /// The value of a tag (lower case) outside of loops; a missing one when it isn't there.
    StarValue item(std::string_view tag) const;

    /// The loops that have this tag (lower case).
    std::vector<const StarLoop*> loopsWith(std::string_view tag) const;
};

/// A STAR file: frames with tagged values and loops. The frames view the text given.
class StarDocument {
  public:
    std::vector<StarFrame> frames;
    int blockCount = 0;                ///< data blocks; their frames are not told apart
    std::vector<std::string> remarks;  ///< oddities of the file that were read over
    std::vector<std::string> cuts;     ///< what is left open, as in a file that was cut off

    /// Reads a whole text. Takes what real files leave out (`loop_` in front of at least three
    /// tags, `stop_`, a closing `save_`) and throws InputRejected only for what can't be cut into
    /// tokens.
    StarDocument(std::string_view text, const std::string& path);
};

/// Tells the report what was odd about the document, and warns where it looks cut off.
void reportOddities(const StarDocument& document, ImportReport& report);

/// Throws InputRejected when the values don't fill the rows of the loop, naming the line where the
/// rows go out of step. A last row that was cut off is no error.
void requireWholeRows(const StarLoop& loop, const std::string& path);

/// Reports the values of a last row that was cut off.
void reportIncompleteRow(const StarLoop& loop, ImportReport& report);

/// A value as one line of text; empty when it is missing.
std::string plainText(const StarValue& value);

/// The frame name that a label such as "$entity" refers to; empty when it is missing.
std::string labelText(const StarValue& value);

}  // namespace orvix::importing
