#include "import/row_selection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <set>

#include "base/run_end.h"
#include "import/atom_names.h"
#include "import/residue_names.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

// The atom of the table that a row can fill, whatever its residue; empty for others.
std::string backboneAtom(const ShiftRow& row) {
    const AtomName atom = readAtomName(
        row.atom, row.residueName.size() == 3 && foldUpper(row.residueName) == "GLY" ? 'G' : 'A');
    switch (atom.kind) {
        case AtomName::Kind::backbone:
            return atom.name;
        case AtomName::Kind::glycineAlpha:
            return "HA";
        case AtomName::Kind::aminoTerminus:
        case AtomName::Kind::other:
            break;
    }
    return {};
}

bool counts(const ShiftRow& row) {
    return !isMissing(row.value) && !backboneAtom(row).empty();
}

std::string origin(const ShiftRow& row) {
    std::string text;
    const auto add = [&text](const char* what, const std::string& value) {
        if (!value.empty()) {
            text += (text.empty() ? " (" : ", ") + std::string(what) + " " + value;
        }
    };
    add("list", row.list);
    add("molecule", row.entity);
    add("member", row.assembly);
    return text.empty() ? text : text + ")";
}

class Selector {
  public:
    Selector(ShiftFile& file, const ImportOptions& options) : file_(file), options_(options) {}

    RowSelection select() {
        mendLinks();
        complete();
        if (!options_.list.empty()) {
            list_ = findList();
        }
        const ShiftEntity& entity = chooseEntity();
        entity_ = entity.id;
        if (options_.list.empty()) {
            chooseList();
        }
        listAll();
        chooseMember();
        RowSelection selection;
        selection.entity = entity;
        split(selection);
        return selection;
    }

  private:
    // Rows may name a molecule by its frame or chain, or one that the file doesn't have: then it
    // is the only protein, if there is no doubt.
    void mendLinks() {
        struct Link {
            int rows = 0;
            int aminoAcids = 0;
        };
        std::map<std::string, Link> unknown;
        std::set<std::string> named;
        const ResidueNames names;
        for (const ShiftRow& row : file_.rows) {
            const auto known =
                std::any_of(file_.entities.begin(), file_.entities.end(),
                            [&row](const ShiftEntity& entity) { return entity.id == row.entity; });
            if (row.entity.empty() || known) {
                named.insert(row.entity);
                continue;
            }
            Link& link = unknown[row.entity];
            ++link.rows;
            link.aminoAcids +=
                row.residueName.size() > 1 && names.letter(row.residueName).letter != 'X' ? 1 : 0;
        }
        std::vector<std::string> proteins;  // that the rows name and the file doesn't know
        for (const auto& [id, link] : unknown) {
            if (const ShiftEntity* entity = findAlias(id)) {
                relink(id, *entity, "a name of");
            } else if (2 * link.aminoAcids >= link.rows) {
                proteins.push_back(id);
            }
        }
        const ShiftEntity* only = onlyProtein();
        if (proteins.size() == 1 && only != nullptr && named.count(only->id) == 0) {
            relink(proteins[0], *only, "not in the file; taken:");
        }
    }

    void relink(const std::string& id, const ShiftEntity& entity, const std::string& what) {
        for (ShiftRow& row : file_.rows) {
            row.entity = row.entity == id ? entity.id : row.entity;
        }
        file_.report.warn(
            "the shifts are of a molecule " + id + ", which is " + what +
            (what.ends_with(":") ? " the only protein, " : " molecule ") + entity.id +
            (entity.name.empty() || entity.name == entity.id ? "" : " " + entity.name));
    }

    const ShiftEntity* findAlias(const std::string& id) const {
        const std::string wanted = foldLower(id.starts_with('$') ? id.substr(1) : id);
        const ShiftEntity* found = nullptr;
        for (const ShiftEntity& entity : file_.entities) {
            const bool same = foldLower(entity.id) == wanted || foldLower(entity.name) == wanted ||
                              std::any_of(entity.aliases.begin(), entity.aliases.end(),
                                          [&wanted](const std::string& alias) {
                                              return foldLower(alias) == wanted;
                                          });
            if (same && found != nullptr && found != &entity) {
                return nullptr;
            }
            found = same ? &entity : found;
        }
        return found;
    }

    const ShiftEntity* onlyProtein() const {
        const ShiftEntity* found = nullptr;
        for (const ShiftEntity& entity : file_.entities) {
            if (entity.kind == ShiftEntity::Kind::polypeptide) {
                if (found != nullptr) {
                    return nullptr;
                }
                found = &entity;
            }
        }
        return found != nullptr || file_.entities.size() != 1 ||
                       file_.entities[0].kind == ShiftEntity::Kind::other
                   ? found
                   : file_.entities.data();
    }

    // Lists and molecules that only rows name.
    void complete() {
        std::map<std::string, bool> lists;
        std::map<std::string, bool> entities;
        for (const ShiftList& list : file_.lists) {
            lists[list.id] = true;
        }
        for (const ShiftEntity& entity : file_.entities) {
            entities[entity.id] = true;
        }
        for (const ShiftRow& row : file_.rows) {
            if (!lists[row.list]) {
                lists[row.list] = true;
                file_.lists.push_back({row.list, {}, {}});
            }
            if (!row.entity.empty() && !entities[row.entity]) {
                entities[row.entity] = true;
                ShiftEntity entity;
                entity.id = row.entity;
                file_.entities.push_back(std::move(entity));
            }
        }
        if (file_.entities.empty()) {
            file_.entities.emplace_back();
        }
    }

    std::string findList() const {
        std::string known;
        for (const ShiftList& list : file_.lists) {
            if (options_.list == list.id || options_.list == list.name) {
                return list.id;
            }
            known += (known.empty() ? "" : ", ") + list.id;
        }
        throw InputRejected(file_.path + ": no shift list " + options_.list + "; it has " + known);
    }

    bool inList(const ShiftRow& row) const { return list_.empty() || row.list == list_; }
    bool ofEntity(const ShiftRow& row) const { return row.entity.empty() || row.entity == entity_; }

    using Key = std::string ShiftRow::*;

    // Backbone shifts by a text of their rows.
    std::map<std::string, int> count(Key key, const std::function<bool(const ShiftRow&)>& wanted) {
        std::map<std::string, int> found;
        for (const ShiftRow& row : file_.rows) {
            if (wanted(row)) {
                found[row.*key] += counts(row) ? 1 : 0;
            }
        }
        return found;
    }

    const ShiftEntity& chooseEntity() {
        using Kind = ShiftEntity::Kind;
        if (!options_.entity.empty()) {
            std::string known;
            for (const ShiftEntity& entity : file_.entities) {
                if (options_.entity == entity.id || options_.entity == entity.name) {
                    if (entity.kind == Kind::other) {
                        throw InputRejected(file_.path + ": molecule " + options_.entity +
                                            " is no polypeptide of L amino acids");
                    }
                    return entity;
                }
                known += (known.empty() ? "" : ", ") + entity.id;
            }
            throw InputRejected(file_.path + ": no molecule " + options_.entity + "; it has " +
                                known);
        }
        const auto shifts =
            count(&ShiftRow::entity, [this](const ShiftRow& row) { return inList(row); });
        const auto shiftsOf = [&shifts](const ShiftEntity& entity) {
            const auto found = shifts.find(entity.id);
            return found == shifts.end() ? 0 : found->second;
        };
        const bool known =
            std::any_of(file_.entities.begin(), file_.entities.end(),
                        [](const ShiftEntity& entity) { return entity.kind == Kind::polypeptide; });
        const Kind wanted = known ? Kind::polypeptide : Kind::unknown;
        const ShiftEntity* best = nullptr;
        std::string candidates;
        int candidateCount = 0;
        for (const ShiftEntity& entity : file_.entities) {
            if (entity.kind != wanted) {
                continue;
            }
            if (best == nullptr || shiftsOf(entity) > shiftsOf(*best)) {
                best = &entity;
            }
            ++candidateCount;
            candidates += (candidates.empty() ? "" : ", ") + entity.id +
                          (entity.name.empty() ? "" : " " + entity.name) + " with " +
                          std::to_string(shiftsOf(entity)) + " backbone shifts";
        }
        if (best == nullptr) {
            throw InputRejected(file_.path + ": no polypeptide of L amino acids among its " +
                                std::to_string(file_.entities.size()) + " molecules");
        }
        if (shiftsOf(*best) == 0) {
            requireShiftsOf(*best, shifts);
        }
        if (candidateCount > 1) {
            file_.report.warn("several molecules (" + candidates + "); taken: " + best->id +
                              " (see --entity)");
        }
        return *best;
    }

    // The protein of the file has no shift: those of other molecules are named.
    void requireShiftsOf(const ShiftEntity& entity,
                         const std::map<std::string, int>& shifts) const {
        std::string others;
        for (const auto& [id, count] : shifts) {
            if (count > 0 && id != entity.id && !id.empty()) {
                others += (others.empty() ? "" : ", ") + id + " with " + std::to_string(count);
            }
        }
        if (!others.empty()) {
            throw InputRejected(file_.path + ": no backbone shift of the protein " + entity.id +
                                "; the shifts are of molecules " + others +
                                "; one of them can be chosen with --entity");
        }
    }

    void chooseList() {
        const auto shifts =
            count(&ShiftRow::list, [this](const ShiftRow& row) { return ofEntity(row); });
        // In the order of the file, so that the first of equals is taken.
        const ShiftList* best = nullptr;
        int most = -1;
        for (const ShiftList& list : file_.lists) {
            const auto found = shifts.find(list.id);
            if (found != shifts.end() && found->second > most) {
                best = &list;
                most = found->second;
            }
        }
        list_ = best == nullptr ? std::string() : best->id;
        if (shifts.size() > 1) {
            file_.report.warn("several shift lists; taken: " + list_ +
                              ", the one with most backbone shifts (see --list)");
        }
    }

    // Every list with its counts, also when there is only one.
    void listAll() {
        constexpr std::array<const char*, 6> atoms = {"N", "HN", "HA", "C", "CA", "CB"};
        std::map<std::string, std::map<std::string, int>> found;
        std::map<std::string, int> rows;
        for (const ShiftRow& row : file_.rows) {
            ++rows[row.list];
            if (ofEntity(row) && counts(row)) {
                ++found[row.list][backboneAtom(row)];
            }
        }
        for (const ShiftList& list : file_.lists) {
            std::string text = "shift list " + (list.id.empty() ? "of the file" : list.id);
            text += list.name.empty() ? "" : " (" + list.name;
            text += list.name.empty() || list.conditions.empty() ? "" : ", " + list.conditions;
            text += list.name.empty() ? ": " : "): ";
            text += std::to_string(rows[list.id]) + " rows";
            for (const char* atom : atoms) {
                text += std::string(", ") + atom + " " + std::to_string(found[list.id][atom]);
            }
            if (file_.entities.size() > 1) {
                text += " of molecule " + entity_;
            }
            file_.report.note(text + (list.id == list_ ? " <- taken" : ""));
        }
    }

    void chooseMember() {
        const auto shifts = count(&ShiftRow::assembly, [this](const ShiftRow& row) {
            return ofEntity(row) && inList(row);
        });
        if (!options_.assembly.empty()) {
            if (shifts.count(options_.assembly) == 0) {
                std::string known;
                for (const auto& [member, unused] : shifts) {
                    known += (known.empty() ? "" : ", ") + member;
                }
                throw InputRejected(file_.path + ": no assembly member " + options_.assembly +
                                    "; the shifts are of " + (known.empty() ? "none" : known));
            }
            member_ = options_.assembly;
            return;
        }
        int most = -1;
        for (const ShiftRow& row : file_.rows) {
            if (ofEntity(row) && inList(row) && shifts.at(row.assembly) > most) {
                most = shifts.at(row.assembly);
                member_ = row.assembly;
            }
        }
        if (shifts.size() > 1) {
            file_.report.warn(
                "shifts of " + std::to_string(shifts.size()) + " assembly members; taken: " +
                (member_.empty() ? "the one without a name" : member_) + " (see --assembly)");
        }
    }

    static std::string atomKey(const ShiftRow& row) {
        return row.number + "|" + row.authorNumber + "|" + foldUpper(row.atom);
    }

    void split(RowSelection& selection) {
        std::vector<const ShiftRow*> others;
        std::map<std::string, std::string> taken;
        for (const ShiftRow& row : file_.rows) {
            if (!ofEntity(row)) {
                file_.report.add(ImportFinding::otherEntity, describe(row) + origin(row));
            } else if (!inList(row)) {
                file_.report.add(ImportFinding::otherList, describe(row) + origin(row));
            } else if (row.assembly != member_) {
                file_.report.add(ImportFinding::otherAssembly, describe(row) + origin(row));
                others.push_back(&row);
            } else {
                taken.emplace(atomKey(row), row.value);
                selection.rows.push_back(row);
            }
        }
        constexpr double tolerance = 0.05;  // ppm
        for (const ShiftRow* row : others) {
            const auto found = taken.find(atomKey(*row));
            double own = 0.0;
            double other = 0.0;
            if (found != taken.end() && parseValue(found->second, own) &&
                parseValue(row->value, other) && std::abs(own - other) > tolerance + 1e-9) {
                file_.report.add(ImportFinding::assemblyConflict,
                                 describe(*row) + origin(*row) + "; taken: " + found->second);
            }
        }
    }

    ShiftFile& file_;
    const ImportOptions& options_;
    std::string list_;
    std::string entity_;
    std::string member_;
};

}  // namespace

std::string describe(const ShiftRow& row) {
    const auto shown = [](const std::string& text) {
        return text.empty() ? std::string(".") : text;
    };
    return "line " + std::to_string(row.line) + ": " +
           shown(row.number.empty() ? row.authorNumber : row.number) + " " +
           shown(row.residueName) + " " + shown(row.atom) + " " + shown(row.value);
}

RowSelection selectRows(ShiftFile& file, const ImportOptions& options) {
    return Selector(file, options).select();
}

}  // namespace orvix::importing
