#pragma once

#include <string_view>

namespace orvix {

/// What the vector kernels are built for. Every level gives the same bits.
enum class InstructionLevel { portable, avx2, avx512 };

/// The highest level that this processor has, or the limit if that is lower.
InstructionLevel instructionLevel();

/// Keeps the kernels chosen from now on to `most`; for tests, measurements and processors in doubt.
void limitInstructionLevel(InstructionLevel most);
/// The same by name: "portable", "avx2" or "avx512"; false, without effect, for any other word.
bool limitInstructionLevel(std::string_view name);

/// The environment variable by which the programs limit the level.
inline constexpr const char* instructionLevelVariable = "ORVIX_INSTRUCTIONS";

}  // namespace orvix
