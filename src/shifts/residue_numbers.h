#pragma once

namespace orvix::shifts {

/// A stray number in the input (2000000000 for 20) would otherwise ask for a row per residue up to
/// it. Proteins are far below either limit.
inline constexpr long long widestRange = 100'000;
inline constexpr long long highestNumber = 1'000'000'000;

/// Ends the run with status -1 if a number lies beyond `highestNumber`: the first of the sequence
/// as the table states it, the lowest and the highest.
void requireResidueNumbers(long long stated, long long lowest, long long highest);

}  // namespace orvix::shifts
