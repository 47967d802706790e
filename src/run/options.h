#pragma once

#include <span>
#include <string>
#include <variant>

class ORVIX;

namespace orvix {

/// What an option that is given does.
enum class OptionKind {
    value,    ///< its value becomes the member, texts as they are, numbers by their leading digits
    on,       ///< the member becomes true
    off,      ///< the member becomes false
    special,  ///< has a rule of its own in ORVIX::setArgs or in the program
    none      ///< accepted without effect
};

/// An option of the command line; the one place that knows it.
struct Option {
    const char* name;
    bool known;  ///< accepted without a warning
    OptionKind kind;
    std::variant<std::monostate, std::string ORVIX::*, int ORVIX::*, bool ORVIX::*> member = {};
    const char* unless = nullptr;  ///< an option beside which this one counts as not given
    const char* sample = "";       ///< what stands for its value in the usage text
    const char* help = nullptr;    ///< its lines there; null for none
};

/// All options, the known ones in the order of ORVIX::argNames.
std::span<const Option> allOptions();

/// The usage text.
std::string usageText();

}  // namespace orvix
