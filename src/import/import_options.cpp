#include "import/import_options.h"

#include <CLI/CLI.hpp>

namespace orvix {

void addImportOptions(CLI::App& command, ImportOptions& options, const std::string& group) {
    command.add_option("--format", options.format, "Form of FILE (default: by its content)")
        ->check(CLI::IsMember(importFormats()))
        ->type_name("NAME")
        ->group(group);
    command
        .add_option("--list", options.list,
                    "Shift list, by number or frame name (default: most backbone shifts)")
        ->type_name("ID")
        ->group(group);
    command
        .add_option("--entity", options.entity,
                    "Molecule, by number, name or NEF chain (default: the only polypeptide)")
        ->type_name("ID")
        ->group(group);
    command
        .add_option("--assembly", options.assembly,
                    "Assembly member (default: most backbone shifts)")
        ->type_name("ID")
        ->group(group);
    command
        .add_option("--numbering", options.numbering,
                    "seq: place in the sequence; auth: the authors' residue numbers")
        ->check(CLI::IsMember({"seq", "auth"}))
        ->type_name("seq|auth")
        ->capture_default_str()
        ->group(group);
    command
        .add_option("--sequence", options.sequenceFile,
                    "Whole sequence, FASTA or one residue name a line; goes before the file's")
        ->type_name("FILE")
        ->group(group);
    command
        .add_option("--max-ambiguity", options.maxAmbiguity,
                    "Leave out shifts with a higher ambiguity code (default: keep all)")
        ->check(CLI::Range(1, 9))
        ->type_name("N")
        ->group(group);
}

}  // namespace orvix
