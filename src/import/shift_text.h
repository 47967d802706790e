#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvix::importing {

/// The most that a shift file may hold once it is unpacked, in bytes. Far above the largest
/// depositions; it keeps a small compressed file from filling the memory.
inline constexpr std::size_t shiftTextLimit = std::size_t{128} << 20;

/// The name that stands for the standard input.
inline constexpr std::string_view standardInput = "-";

/// The whole text of a plain or gzip file or of the standard input, in UTF-8 (UTF-16 is recoded),
/// with every line end made a line feed and without a byte order mark. Throws InputRejected when it
/// can't be read or unpacked or exceeds the limit.
std::string readShiftText(const std::string& path, std::size_t limit = shiftTextLimit);

/// "path:line: text", the form of every complaint about a line.
std::string atLine(const std::string& path, int line, const std::string& text);

std::string foldLower(std::string_view text);
std::string foldUpper(std::string_view text);

/// True for an absent value: nothing, "." or "?".
bool isMissing(std::string_view value);

/// A whole number with nothing around it; false for anything else or outside -99999..99999.
bool parseNumber(std::string_view text, int& number);

/// A finite decimal with nothing around it.
bool parseValue(std::string_view text, double& value);

}  // namespace orvix::importing
