#!/usr/bin/env bash
# Makes the seeds of the fuzz targets: small valid files, one directory for each target, from the
# bundled examples and from the texts below.
#
#   scripts/fuzz-corpus.sh TARGET_DIRECTORY
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
[ $# -eq 1 ] || { echo "usage: $0 TARGET_DIRECTORY" >&2; exit 2; }
mkdir -p "$1"
cd "$1"
mkdir -p tables deposited database weights structure profile results import dictionaries

dictionary() { printf '"%s"\n' "${@:2}" >"dictionaries/$1"; }

# Tables: a shift table, one with texts, reals and integers, one of rows without header.
sed -n 1,40p "$root/examples/ci2.tab" >tables/shifts
printf '%s\n' 'REMARK two kinds' 'DATA KEY  some value' 'DATA FIRST_RESID -3' 'DATA SEQUENCE MKVT cG' '' \
    'VARS RESID RESNAME PHI CLASS' 'FORMAT %4d %-4s %8.3f %s' '-3 M -60.5 Strong' '-2 K 9999 None' \
    '-1 V 1e3 na extra' >tables/mixed
printf '%s\n' 'vars A B' 'format %5.1lf %05d|' '1 2' '3 4' 'VARS B' 'FORMAT %s' 'x' >tables/twice
dictionary tables 'VARS ' 'FORMAT ' 'DATA ' 'REMARK ' 'SEQUENCE ' 'FIRST_RESID ' '%4d' '%8.3f' '%-4s' \
    '%65536d' '2147483647' '-2147483648' '9999.000' 'RESID' 'SHIFT'

# Deposited shifts, in both versions of the format, and shift tables.
cat >deposited/star2 <<'STAR'
data_1
save_entity
   _Mol_residue_sequence
;
MKVC
;
   loop_
      _Residue_seq_code
      _Residue_label
        1 MET  2 LYS
        3 VAL  4 CYS
   stop_
save_
save_shifts
   loop_
      _Atom_shift_assign_ID
      _Residue_seq_code
      _Residue_label
      _Atom_name
      _Atom_type
      _Chem_shift_value
      _Chem_shift_value_error
      _Chem_shift_ambiguity_code
      1 1 MET HA H 4.12 0.02 1
      2 2 LYS H  H 8.31 .    1
      3 2 LYS CA C 56.2 0.1  1
   stop_
save_
STAR
cat >deposited/star3 <<'STAR'
data_2
save_entity_1
   _Entity.Sf_category entity
   _Entity.ID 1
   _Entity.Polymer_seq_one_letter_code 'MKVC'
   loop_
      _Entity_poly_seq.Hetero
      _Entity_poly_seq.Mon_ID
      _Entity_poly_seq.Num
      _Entity_poly_seq.Comp_index_ID
      . MET 1 1
      . LYS 2 2
   stop_
save_
save_assigned_chemical_shifts
   _Assigned_chem_shift_list.ID 1
   loop_
      _Atom_chem_shift.ID
      _Atom_chem_shift.Entity_ID
      _Atom_chem_shift.Comp_index_ID
      _Atom_chem_shift.Seq_ID
      _Atom_chem_shift.Comp_ID
      _Atom_chem_shift.Atom_ID
      _Atom_chem_shift.Atom_type
      _Atom_chem_shift.Val
      _Atom_chem_shift.Val_err
      _Atom_chem_shift.Ambiguity_code
      _Atom_chem_shift.Auth_seq_ID
      1 1 1 1 MET HA H 4.12 0.02 1 11
      2 1 2 2 LYS H  H 8.31 .    1 12
      3 1 2 2 LYS CA C 56.2 "0.1" 1 13
   stop_
save_
STAR
sed -n 1,30p "$root/examples/fgf2.tab" >deposited/table
dictionary deposited 'loop_' 'stop_' 'save_' '_Residue_seq_code' '_Residue_label' '_Atom_name' \
    '_Chem_shift_value' '_Mol_residue_sequence' '_Atom_chem_shift.Seq_ID' '_Atom_chem_shift.Comp_ID' \
    '_Atom_chem_shift.Comp_index_ID' '_Atom_chem_shift.Atom_ID' '_Atom_chem_shift.Val' \
    '_Entity.Polymer_seq_one_letter_code' 'MET' 'DATA SEQUENCE' '2147483647' '-99999' '\x0a;' '\x24label'

# Database rows.
row=' -63.5 -41.25 180.0 104 120.5 1.0 4.5 1 175.25 1 56.5 1 30.0 0 8.25 1'
{
    echo '# source letter number phi psi chi1 box, six pairs'
    for number in 1 2 3; do echo "1abc M $number$row"; done
    for number in -1 0 300; do echo "protein_two c $number$row"; done
} >database/rows
printf 'x A 1 1e2 -.5 nan inf 0x10 1 2 3 4 5 6 7 8 9 10 11\n\t\n' >database/odd
dictionary database '1abc ' '9999.000' '1e38' 'nan' 'inf' '0x1p3' '-0' '.5' '\x0a#' '4294967295'

# Weights as text and as doubles.
printf '%s\n' 'REMARK weights' 'VARS 1 2 3 b' 'FORMAT %9.6f %9.6f %9.6f %9.6f' '0.5 -0.25 1e-3 0.125' \
    '.5 -1 123456789012345678 nan' '1 2 3 4' >weights/text
printf '\0\0\0\0\0\0\360\77%.0s' 1 2 3 4 5 6 7 8 9 >weights/binary
dictionary weights 'VARS ' 'FORMAT ' '%9.6f' '%4d' '0.123456' 'inf' '1e-400' ' b ' '\x00\x00\x00\x00\x00\x00\xf8\x7f'

# A stretch with a helix and rings, and a short file whose numbers are unusual.
sed -n 1,220p "$root/examples/ci2.pdb" | head -c 16000 >structure/stretch
printf '%s\n' \
    'ATOM      1  N   CYS A   1       0.000   0.000   0.000  1.00 10.00' \
    'ATOM      2  SG  CYS A   1       1.000   0.000   0.000  1.00 10.00' \
    'ATOM      3  SG  CYS A9999       1.500   0.500   1e3.    1.00 10.00' \
    'ATOM      4  CG  PHE A -99       1.500   nan     1.000  1.00 10.00' 'TER' >structure/odd
dictionary structure 'ATOM  ' 'TER' 'END' 'ENDMDL' ' TRP ' ' HIS ' ' PHE ' ' CYS ' ' SG ' ' HN ' ' CD1' ' NE1' '9999.999'

# Profiles: a check file, a matrix, an alignment.
printf '\3\0\0\0MKV' >profile/check
printf '\0\0\0\0\0\0\340\77%.0s' $(seq 60) >>profile/check
{
    echo
    echo 'Last position-specific scoring matrix computed'
    echo '            A   R   N   D   C   Q   E   G   H   I   L   K   M   F   P   S   T   W   Y   V'
    for residue in '1 M' '2 K' '3 V'; do
        echo "    $residue   -1  -1  -2  -3  -1   0  -2  -3  -2   1   2  -1   5   0  -2  -1  -1  -1  -1   1"
    done
} >profile/matrix
printf '>query\nMKV-LT\n>two\nMRVALT\n>three\nM-IAXT\n' >profile/alignment
dictionary profile '>' '>a\x0aMKV\x0a' '-' 'X' ' 2147483648 ' '   A   R   N   D   C   Q   E   G   H   I   L   K   M   F   P   S   T   W   Y   V'

# A finished prediction.
residue() {
    printf '{"resid":%s,"resname":"%s","author_resid":"%s","shifts":{"N":120.5,"HA":4.5,"C":null,"CA":55,"CB":null,"HN":8.2},' "$1" "$2" "$1"
    printf '"phi":%s,"psi":-40.5,"phi_spread":%s,"psi_spread":5.25,"class":"%s","chi1":%s}' "$3" "$4" "$5" "$6"
}
{
    printf '{"schema":"orvix-results","schema_version":1,"program":{"name":"ORVIX-N","version":"1"},'
    printf '"input":{"file":"x.tab","title":"a title","sequence":"MVcX","first_residue":1},"residues":['
    residue 1 M -60 5 Strong null; printf ','
    residue 2 V 175.5 12.5 Strong '{"angle":-62.5,"spread":11,"rotamer":"g-","turned":true}'; printf ','
    residue 3 c 9999 0 Generous '{"angle":null,"spread":null,"rotamer":"na"}'; printf ','
    residue 4 X null null None null; printf ']}\n'
} >results/prediction
dictionary results '\"phi\":' '\"turned\":true' '\"author_resid\":' 'null' '\"Generous\"' '\"Dyn\"' '\"t\"' '1e999' '9999.0' '-180.0'

# Shift files as people have them.
cp deposited/star2 deposited/star3 tables/shifts import
cat >import/nef <<'NEF'
data_nef_x
save_nef_molecular_system
   _nef_molecular_system.sf_category   nef_molecular_system
   _nef_molecular_system.sf_framecode  nef_molecular_system
   loop_
      _nef_sequence.index
      _nef_sequence.chain_code
      _nef_sequence.sequence_code
      _nef_sequence.residue_name
      _nef_sequence.linking
      1 A 10 MET start
      2 A 11 GLY middle
      3 A 12B VAL end
   stop_
save_
save_nef_chemical_shift_list_1
   _nef_chemical_shift_list.sf_category   nef_chemical_shift_list
   _nef_chemical_shift_list.sf_framecode  nef_chemical_shift_list_1
   loop_
      _nef_chemical_shift.chain_code
      _nef_chemical_shift.sequence_code
      _nef_chemical_shift.residue_name
      _nef_chemical_shift.atom_name
      _nef_chemical_shift.value
      _nef_chemical_shift.value_uncertainty
      A 10 MET CA 55.4 .
      A 11 GLY HAx 3.9 0.01
      @2 SS@12 'GLX?' N 120.1 .
      A 12B VAL H 8.11 .
   stop_
save_
NEF
printf '%s\n' '# a list' '   1  55.400 0.100 CA     1' '   2   4.120 0.020 HA     1' '   3   3.950 0.020 QA     2' \
    '   4 999.000 0.000 H      3' >import/prot
printf '%s\n' ' Group   Atom  Nuc    Shift   SDev  Assignments' '' '    M1     CA  13C   55.400  0.010      3' \
    '    G2    HA2   1H    3.900  0.000      1' '   V12      N  15N  120.100  0.020      2' >import/resonances
printf '%s\r\n' 'resid,resname,atom,shift' '1,MET,CA,55.4' '2,G,HA2,"3.9"' '3,VAL,H,8.11' >import/csv
gzip -nc import/csv >import/csv.gz
cat dictionaries/deposited - >dictionaries/import <<'WORDS'
"_nef_chemical_shift.value"
"_nef_sequence.sequence_code"
"_Entity_assembly.ID"
"_Atom_chem_shift.Entity_assembly_ID"
"resid,resname,atom,shift"
"HA%"
"QA"
"data_"
WORDS
