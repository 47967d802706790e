#include "base/cpu.h"

#include <algorithm>
#include <atomic>

namespace orvix {
namespace {

InstructionLevel processorLevel() {
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw")) {
        return InstructionLevel::avx512;
    }
    if (__builtin_cpu_supports("avx2")) {
        return InstructionLevel::avx2;
    }
#endif
    return InstructionLevel::portable;
}

std::atomic<InstructionLevel> limit{InstructionLevel::avx512};

}  // namespace

InstructionLevel instructionLevel() {
    static const InstructionLevel processor = processorLevel();
    return std::min(processor, limit.load());
}

void limitInstructionLevel(InstructionLevel most) {
    limit = most;
}

bool limitInstructionLevel(std::string_view name) {
    constexpr std::string_view names[] = {"portable", "avx2", "avx512"};
    const auto* const found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names)) {
        return false;
    }
    limit = static_cast<InstructionLevel>(found - std::begin(names));
    return true;
}

}  // namespace orvix
