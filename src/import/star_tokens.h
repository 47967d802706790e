#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvix::importing {

/// One lexical element of a STAR file.
struct StarToken {
    enum class Kind { end, data, frameStart, frameEnd, loop, stop, tag, value };

    Kind kind = Kind::end;
    std::string_view text;  ///< the word, or the content of a quoted value or text field
    int line = 0;           ///< where it begins, from 1
    bool quoted = false;    ///< a value in quotes or a text field: never a missing value
    bool unclosed = false;  ///< a word that opens with a quote which the line never closes
};

/// Cuts a STAR text into tokens (Hall, J. Chem. Inf. Comput. Sci. 31 (1991) 326, with the keywords
/// of NMR-STAR): quoted values end at a quote before white space, text fields run from a semicolon
/// at the start of a line to the next, a number sign opens a comment where a token can begin, and
/// keywords count in any case. A word that begins with a dollar sign is a plain value.
///
/// Tokens view the text, which has to outlive them and must have plain line feeds.
class StarTokens {
  public:
    /// `path` is the file's name in messages.
    StarTokens(std::string_view text, std::string path) : text_(text), path_(std::move(path)) {}

    /// The next token; the kind `end` from the end of the text on. Throws InputRejected for a text
    /// field that isn't closed.
    StarToken next();

  private:
    void skipBlanks();
    StarToken textField();
    StarToken quotedValue();
    StarToken word();

    std::string_view text_;
    std::string path_;
    std::size_t at_ = 0;
    int line_ = 1;
    // No closing quote of its kind stands in front of these places: they bound the search on a line
    // full of stray quotes.
    std::size_t singleSearched_ = 0;
    std::size_t doubleSearched_ = 0;
};

}  // namespace orvix::importing
