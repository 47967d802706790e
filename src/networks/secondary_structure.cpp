#include "networks/secondary_structure.h"

#include <algorithm>

#include "base/statistics.h"

namespace orvix::networks {

ClassCall callClass(const ClassValues& values, std::string_view letters) {
    ClassCall call;
    if (values.size() != 3) {
        return call;
    }
    const double top = std::max({values[0], values[1], values[2]});
    if (top == 0.0) {
        return call;
    }
    call.confidence = classMargin(values);
    call.letter = top == values[0] ? letters[0] : top == values[1] ? letters[1] : letters[2];
    return call;
}

double shownConfidence(double confidence) {
    return confidence >= 1.0 ? 0.9999 : confidence;
}

void ClassBlocks::add(const std::string& residue, const std::string& letter, double confidence) {
    residues_ += residue;
    letters_ += letter;
    digits_ += std::to_string(static_cast<int>(10.0 * confidence));
    ++count_;
    if (count_ % 10 == 0) {
        residues_ += ' ';
        letters_ += ' ';
        digits_ += ' ';
    }
    if (count_ % 50 == 0) {
        text_ += block();
    }
}

std::string ClassBlocks::finish() {
    return text_ + beforeLast_ + block();
}

std::string ClassBlocks::block() {
    std::string lines = "DATA SEQUENCE     " + residues_ + "\nDATA PREDICTED_SS " + letters_ +
                        "\nDATA CONFIDENCE   " + digits_ + "\n\n";
    residues_.clear();
    letters_.clear();
    digits_.clear();
    return lines;
}

}  // namespace orvix::networks
