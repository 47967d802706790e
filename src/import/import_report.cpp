#include "import/import_report.h"

#include <array>

namespace orvix::importing {

namespace {

enum class Fate { dropped, changed, kept };

struct FindingText {
    ImportFinding finding;
    Fate fate;
    const char* title;
};

constexpr std::array findingTexts = {
    FindingText{ImportFinding::valueMissing, Fate::dropped, "without a value"},
    FindingText{ImportFinding::valueNotNumber, Fate::dropped, "value is no number"},
    FindingText{ImportFinding::valueZero, Fate::dropped, "value is 0, which stands for missing"},
    FindingText{ImportFinding::rowIncomplete, Fate::dropped, "row that can't be read"},
    FindingText{ImportFinding::unassigned, Fate::dropped, "not assigned to a residue"},
    FindingText{ImportFinding::otherList, Fate::dropped, "in another shift list"},
    FindingText{ImportFinding::otherEntity, Fate::dropped, "of another molecule"},
    FindingText{ImportFinding::otherAssembly, Fate::dropped, "of another assembly member"},
    FindingText{ImportFinding::outsideSequence, Fate::dropped, "residue isn't in the sequence"},
    FindingText{ImportFinding::numberUnreadable, Fate::dropped, "residue number can't be used"},
    FindingText{ImportFinding::aminoTerminus, Fate::dropped,
                "proton of the free amino group, not read by a run"},
    FindingText{ImportFinding::pairBesideSingle, Fate::dropped,
                "glycine alpha proton without a free place beside the others"},
    FindingText{ImportFinding::tooAmbiguous, Fate::dropped, "ambiguity code above the limit"},
    FindingText{ImportFinding::duplicateDifferent, Fate::dropped,
                "second value of an atom, the first one was kept"},
    FindingText{ImportFinding::duplicateEqual, Fate::dropped,
                "repeats a value, merged with the first one"},
    FindingText{ImportFinding::notRead, Fate::dropped, "atom that a run doesn't read"},
    FindingText{ImportFinding::renumbered, Fate::changed, "residue with another number"},
    FindingText{ImportFinding::atomRenamed, Fate::changed, "atom renamed"},
    FindingText{ImportFinding::glycineRenamed, Fate::changed, "glycine alpha proton renamed"},
    FindingText{ImportFinding::valueRewritten, Fate::changed, "value written in another form"},
    FindingText{ImportFinding::residueReplaced, Fate::changed,
                "non-standard residue under another letter"},
    FindingText{ImportFinding::assemblyConflict, Fate::kept,
                "assembly members differ by more than 0.05 ppm"},
    FindingText{ImportFinding::residueMismatch, Fate::kept,
                "residue name differs from the sequence"},
    FindingText{ImportFinding::ambiguous, Fate::kept,
                "backbone atom with ambiguity code 4, 5, 6 or 9"},
    FindingText{ImportFinding::outOfRange, Fate::kept, "value far outside the usual range"},
    FindingText{ImportFinding::unreadText, Fate::kept, "text of the file that was read over"}};

const char* fateTitle(Fate fate) {
    switch (fate) {
        case Fate::dropped:
            return "Not in the table";
        case Fate::changed:
            return "In the table, changed";
        case Fate::kept:
            break;
    }
    return "To be looked at";
}

}  // namespace

const std::vector<std::string>& ImportReport::items(ImportFinding finding) const {
    static const std::vector<std::string> none;
    const auto found = items_.find(finding);
    return found == items_.end() ? none : found->second;
}

std::string ImportReport::losses() const {
    std::string text;
    for (const FindingText& finding : findingTexts) {
        const std::size_t count = items(finding.finding).size();
        if (finding.fate == Fate::dropped && count > 0) {
            text += (text.empty() ? "" : "; ") + std::string(finding.title) + ": " +
                    std::to_string(count);
        }
    }
    return text;
}

void ImportReport::write(std::ostream& out, std::size_t itemLimit) const {
    for (const std::string& text : notes_) {
        out << text << '\n';
    }
    for (const std::string& text : warnings_) {
        out << "warning: " << text << '\n';
    }
    for (const FindingText& text : findingTexts) {
        const std::vector<std::string>& list = items(text.finding);
        if (list.empty()) {
            continue;
        }
        out << '\n' << fateTitle(text.fate) << ": " << text.title << ": " << list.size() << '\n';
        const std::size_t shown =
            itemLimit == 0 || list.size() <= itemLimit ? list.size() : itemLimit;
        for (std::size_t i = 0; i < shown; ++i) {
            out << "  " << list[i] << '\n';
        }
        if (shown < list.size()) {
            out << "  ... and " << list.size() - shown
                << " more (--full-report or --report FILE gives them all)\n";
        }
    }
}

}  // namespace orvix::importing
