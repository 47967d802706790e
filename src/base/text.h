#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The text rules of the table format, shared by both table classes. White space is exactly the
/// codes 9 to 13 and 32; nothing depends on the locale.
namespace orvix {

inline bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Replaces `words` by the words of `text`, which they view.
void splitWords(std::string_view text, std::vector<std::string_view>& words);

/// The words from index `first` on, joined by one blank.
std::string joinWords(const std::vector<std::string_view>& words, std::size_t first);

/// `text` without white space at its ends and with each inner run of it as one blank.
std::string simplifyWhiteSpace(std::string_view text);

/// The words as strings; the empty text gives one empty string.
std::vector<std::string> splitWhiteSpace(std::string_view text);

/// The pieces between occurrences of the separator, empty pieces dropped. An empty separator
/// separates nothing.
std::vector<std::string> split(std::string_view separator, std::string_view text);

/// Pieces `start` to `end` of `split`, from 0 and both included, joined by the separator. Empty
/// when `start` is past the last piece or above `end`; when `end` is past the last piece, a
/// separator stands behind that.
std::string section(std::string_view text, char separator, int start, int end);

/// The number of positions at which `part` occurs, overlaps counted.
int countOccurrences(std::string_view text, std::string_view part);
int countOccurrences(std::string_view text, char c);

/// Whether `word`, folded to upper case, is `upper`.
bool equalsFolded(std::string_view word, std::string_view upper);

/// Whether `spec` is a percent sign, any of minus, point and digits, and one of the type letters
/// s, d and f, with white space around it at most.
bool checkFormat(std::string_view spec);

/// The specifiers of a FORMAT line, each with what stands between it and the next percent sign; one
/// for each of `count` columns, a bare percent sign where the line ends early. What stands in front
/// of the first percent sign is dropped.
std::vector<std::string> splitSpecifiers(std::string_view line, int count);

/// Enters the letters of a sequence into `residues`, the first at `firstResid` plus the number of
/// those that are there. Blanks are skipped; A to Y, c, p, h and ? stay as they are; all else is X.
void appendSequence(std::string_view sequence, int firstResid,
                    std::map<int, std::string>& residues);

}  // namespace orvix
