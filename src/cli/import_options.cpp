#include "cli/import_options.h"

#include <CLI/CLI.hpp>

namespace orvix::cli {

void addImportOptions(CLI::App& command, importing::ImportOptions& options,
                      const std::string& group) {
    const auto add = [&](const char* name, auto& value, const char* type, const char* help) {
        return command.add_option(name, value, help)->type_name(type)->group(group);
    };
    add("--format", options.format, "NAME", "Form of FILE (default: by its content)")
        ->check(CLI::IsMember(importing::importFormats()));
    add("--list", options.list, "ID",
        "Shift list, by number or frame name (default: most backbone shifts)");
    add("--entity", options.entity, "ID",
        "Molecule, by number, name or NEF chain (default: the only polypeptide)");
    add("--assembly", options.assembly, "ID", "Assembly member (default: most backbone shifts)");
    add("--numbering", options.numbering, "seq|auth",
        "seq: place in the sequence; auth: the authors' residue numbers")
        ->check(CLI::IsMember({"seq", "auth"}))
        ->capture_default_str();
    add("--sequence", options.sequenceFile, "FILE",
        "Whole sequence, FASTA or one residue name a line; goes before the file's");
    add("--shift-numbers", options.shiftNumbers, "N",
        "Add N to the residue numbers of FILE (default: found by the residue names)")
        ->check(CLI::Range(-99999, 99999));
    add("--max-ambiguity", options.maxAmbiguity, "N",
        "Leave out shifts with a higher ambiguity code (default: keep all)")
        ->check(CLI::Range(1, 9));
}

}  // namespace orvix::cli
