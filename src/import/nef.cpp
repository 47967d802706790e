#include <map>

#include "base/run_end.h"
#include "import/sequence_text.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/star_document.h"

namespace orvix::importing {

namespace {

// A column under its name of version 1.1 or of the earlier drafts.
std::size_t column(const StarLoop& loop, const std::string& category, const char* name,
                   const char* olderName = nullptr) {
    const std::size_t found = loop.column(category + "." + name);
    return found != StarLoop::none || olderName == nullptr
               ? found
               : loop.column(category + "." + olderName);
}

class NefReader {
  public:
    NefReader(std::string_view text, const std::string& path) : document_(text, path) {
        file_.path = path;
        file_.format = "nef";
    }

    ShiftFile read() {
        reportOddities(document_, file_.report);
        for (const StarFrame& frame : document_.frames) {
            for (const StarLoop* loop : frame.loopsWith("_nef_sequence.sequence_code")) {
                readSequence(*loop);
            }
        }
        for (ShiftEntity& entity : file_.entities) {
            entity.kind = kindByResidues(entity);
            dropLigands(entity, file_.report);
            requireSaneLength(entity.residues, file_.path);
        }
        for (const StarFrame& frame : document_.frames) {
            readShifts(frame);
        }
        return std::move(file_);
    }

  private:
    void readSequence(const StarLoop& loop) {
        const std::string category = "_nef_sequence";
        const std::size_t chain = column(loop, category, "chain_code");
        const std::size_t code = column(loop, category, "sequence_code");
        const std::size_t name = column(loop, category, "residue_name", "residue_type");
        for (std::size_t row = 0; row < loop.rowCount(); ++row) {
            entityOf(plainText(loop.cell(row, chain)))
                .residues.push_back(
                    {plainText(loop.cell(row, name)), plainText(loop.cell(row, code)), {}});
        }
    }

    ShiftEntity& entityOf(const std::string& chain) {
        const auto [place, fresh] = entities_.emplace(chain, file_.entities.size());
        if (fresh) {
            file_.entities.emplace_back();
            file_.entities.back().id = chain;
        }
        return file_.entities[place->second];
    }

    void readShifts(const StarFrame& frame) {
        const std::vector<const StarLoop*> loops = frame.loopsWith("_nef_chemical_shift.value");
        if (loops.empty()) {
            return;
        }
        if (loops.size() > 1) {
            file_.report.warn("frame " + frame.name + " has " + std::to_string(loops.size()) +
                              " shift loops; all are read");
        }
        ShiftList list{std::to_string(file_.lists.size() + 1), frame.name, {}};
        for (const StarLoop* loop : loops) {
            readRows(*loop, list.id);
        }
        file_.lists.push_back(std::move(list));
    }

    void readRows(const StarLoop& loop, const std::string& list) {
        requireWholeRows(loop, file_.path);
        const std::string category = "_nef_chemical_shift";
        const std::size_t chain = column(loop, category, "chain_code");
        const std::size_t code = column(loop, category, "sequence_code");
        const std::size_t name = column(loop, category, "residue_name", "residue_type");
        const std::size_t atom = column(loop, category, "atom_name");
        const std::size_t value = column(loop, category, "value");
        if (code == StarLoop::none || atom == StarLoop::none) {
            throw InputRejected(atLine(file_.path, loop.line,
                                       "the shift loop has no column sequence_code or atom_name"));
        }
        for (std::size_t i = 0; i < loop.rowCount(); ++i) {
            ShiftRow row;
            row.line = loop.cell(i, 0).line;
            row.list = list;
            row.entity = plainText(loop.cell(i, chain));
            row.number = plainText(loop.cell(i, code));
            row.residueName = plainText(loop.cell(i, name));
            row.atom = plainText(loop.cell(i, atom));
            row.value = plainText(loop.cell(i, value));
            // Resonances that nobody has assigned yet stand in placeholder chains and residues.
            if (row.entity.starts_with('@') || row.number.starts_with('@') ||
                row.number.find('@') != std::string::npos || row.number.empty() ||
                row.residueName.ends_with('?')) {
                file_.report.add(
                    ImportFinding::unassigned,
                    describe(row) + (row.entity.empty() ? "" : " (chain " + row.entity + ")"));
                continue;
            }
            file_.rows.push_back(std::move(row));
        }
        reportIncompleteRow(loop, file_.report);
    }

    StarDocument document_;
    ShiftFile file_;
    std::map<std::string, std::size_t> entities_;
};

}  // namespace

ShiftFile readNef(std::string_view text, const std::string& path) {
    return NefReader(text, path).read();
}

}  // namespace orvix::importing
