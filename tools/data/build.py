"""Builds the whole data directory from a directory of source proteins.

    tools/run.py data.build SOURCE --work WORK [--steps clean,tables,...] [--again STEP]

Runs the steps below in order and marks each finished one in WORK/steps, so that a broken-off build
goes on where it stopped. `--again STEP` runs a step and all after it anew; `--steps` limits the run
to some. With more than one of --jobs, `sequence` and `chi1` run beside `unlabelled`, `surface` and
`secondary`. Without the trainings the whole takes a few minutes:

    --steps clean,tables,structures,chains,triplets,features,shifts,database,pack

    clean       data.cleaning: cleaned shift tables and labels
    tables      data.reference_tables: small reference tables, scales of the search
    structures  reduced reference structures
    chains      data.chains: chains of known structure without shifts, kinship of all
    triplets    orvix_obsCS.tab
    features    network input of all proteins, complete and thinned out
    shifts      training.shifts: shifts computed for the chains without, for database and training
    database    orvix.tab
    unlabelled  data.unlabelled, training.teacher: proteins with shifts alone, and their labels
    surface     training.surface: surf20, surf20_hyb
    secondary   training.secondary: ss, ss.center, ss.prev, ss.next, ss5
    sequence    training.sequence: seqSS, seqSS15
    chi1        training.chi1: chi1_* networks
    calibration training.chi1_calibration: chi1.tab, from runs of the program through the folds
    figures     evaluation.proteins through the folds; the runs stay in WORK/runs
    shiftmodel  training.shift_model: expected shifts of a conformation, for the referencing check
    pack        what ships: data/tab and data/packed
    examples    the bundled examples

The result depends on SOURCE, the seeds in the scripts and the numerical libraries alone.
docs/building-data.md tells what SOURCE holds.
"""

import argparse
import concurrent.futures
import gzip
import io
import lzma
import os
import shutil
import subprocess
import sys
import tarfile

from data import dataset
from data.log import log

TOOLS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
ROOT = os.path.dirname(TOOLS)
VARIANTS = ("full", "noproton", "dropA", "dropB", "dropC", "dropD")
SMALL = (
    "randcoil",
    "rcadj",
    "rcprev",
    "rcnext",
    "isoadj",
    "sslimit",
    "homology",
    "weight",
    "BLOSUM62",
    "chi1",
    "shiftmodel",
    "shiftmodel.level1.WI",
    "shiftmodel.level1.WL1",
    "shiftmodel.level1.WL2",
)
# Networks of one archive, so that a change in one kind leaves the others alone.
ARCHIVES = {
    "database": ("orvix.tab",),
    "triplets": ("orvix_obsCS.tab",),
    "surface": ("surf20",),
    "chi1": ("chi1_",),
    "sequence": ("seqSS",),
    "secondary": ("ss",),
}
# Source records of the bundled examples, and their titles.
EXAMPLES = {
    "ci2": ("b4974_2sniI", "Chymotrypsin inhibitor 2"),
    "fgf2": ("b4091_4fgfA", "Basic fibroblast growth factor"),
}


class Build:
    def __init__(self, args):
        self.source, self.work, self.out, self.tool = args.source, args.work, args.out, args.tool
        self.program = os.path.join(os.path.dirname(self.tool), "orvixn")
        self.backbones, self.jobs = args.backbones, args.jobs
        self.tables = os.path.join(self.work, "tab")
        self.state = os.path.join(self.work, "training")
        self.cross = os.path.join(self.work, "cross")

    def script(self, name, *args, stdout=None):
        command = [sys.executable, os.path.join(TOOLS, "run.py"), name, *args]
        subprocess.run(command, check=True, stdout=stdout, env={**ONE_THREAD, **os.environ})

    def data(self, *args):
        subprocess.run([self.tool, *args], check=True)

    def clean(self):
        self.script("data.cleaning", self.source, self.work)
        with gzip.open(os.path.join(self.work, "labels.tsv.gz"), "rb") as packed:
            with open(os.path.join(self.work, "labels.tsv"), "wb") as plain:
                shutil.copyfileobj(packed, plain)

    def tables_(self):
        self.script("data.reference_tables", self.source, self.work, self.tables)

    def chains(self):
        self.script("data.chains", self.source, self.work, "--backbones", str(self.backbones))

    def structures(self):
        for row in dataset.read_tsv(os.path.join(self.work, "proteins.tsv")):
            coordinates = os.path.join(self.work, "coords", row["id"] + ".pdb")
            if os.path.exists(coordinates):
                self.data(
                    "reference", coordinates, os.path.join(self.work, "ref", row["id"] + ".pdb")
                )

    def database(self):
        self.data("database", self.work, self.tables, os.path.join(self.tables, "orvix.tab"))

    def triplets(self):
        self.data("triplets", self.work, self.tables, os.path.join(self.tables, "orvix_obsCS.tab"))

    def features(self):
        for name in VARIANTS:
            kind = ["drop", str(ord(name[-1]))] if name.startswith("drop") else [name]
            self.data("features", self.work, self.tables, name, *kind)

    def shifts(self):
        self.script("training.shifts", self.work)

    def unlabelled(self):
        if not os.path.exists(os.path.join(self.source, "shifts_only_manifest.tsv")):
            return
        self.script("data.unlabelled", self.source, self.work)
        for name, *kind in (("full",), ("noproton", "noproton"), ("dropA", "drop", str(ord("A")))):
            self.data(
                "features",
                os.path.join(self.work, "unlabelled"),
                self.tables,
                name,
                *(kind or ["full"]),
            )
        self.script("training.teacher", "--work", self.work)

    def surface(self):
        self.script(
            "training.surface",
            "--work",
            self.work,
            "--state",
            os.path.join(self.state, "surface"),
            "--out",
            self.tables,
            "--cross",
            self.cross,
        )

    def secondary(self):
        self.script(
            "training.secondary",
            "--work",
            self.work,
            "--state",
            os.path.join(self.state, "secondary"),
            "--out",
            self.tables,
            "--cross",
            self.cross,
        )

    def sequence(self):
        self.script(
            "training.sequence",
            "seqSS",
            "seqSS15",
            "--source",
            self.source,
            "--state",
            os.path.join(self.state, "sequence"),
            "--out",
            self.tables,
        )

    def chi1(self):
        self.script(
            "training.chi1",
            "--database",
            os.path.join(self.tables, "orvix.tab"),
            "--work",
            self.work,
            "--proteins",
            os.path.join(self.work, "proteins.tsv"),
            "--labels",
            os.path.join(self.work, "labels.tsv.gz"),
            "--cross",
            self.cross,
            "--state",
            os.path.join(self.state, "chi1"),
            "--out",
            self.tables,
        )

    def calibration(self):
        self.script(
            "training.chi1_calibration",
            "--work",
            self.work,
            "--program",
            self.program,
            "--jobs",
            str(self.jobs),
            "--tables",
            self.tables,
            "--cross",
            self.cross,
            "--state",
            os.path.join(self.state, "chi1"),
        )

    def figures(self):
        with open(os.path.join(self.work, "figures.txt.part"), "w") as out:
            self.script(
                "evaluation.proteins",
                self.work,
                self.program,
                self.cross,
                os.path.join(self.work, "runs"),
                "--folds",
                "--source",
                self.source,
                "--known",
                os.path.join(ROOT, "data", "proteins.tsv"),
                "--jobs",
                str(self.jobs),
                stdout=out,
            )
        os.replace(out.name, os.path.join(self.work, "figures.txt"))

    def shiftmodel(self):
        runs = os.path.join(self.work, "runs")
        self.script(
            "training.shift_model",
            self.work,
            self.tables,
            self.tables,
            *(("--runs", runs) if os.path.exists(runs) else ()),
        )

    def pack(self):
        small, packed = os.path.join(self.out, "tab"), os.path.join(self.out, "packed")
        os.makedirs(small, exist_ok=True)
        os.makedirs(packed, exist_ok=True)
        left = sorted(os.listdir(self.tables))
        for name in [n + ".tab" for n in SMALL]:
            if name in left:
                left.remove(name)
                shutil.copyfile(os.path.join(self.tables, name), os.path.join(small, name))
        for archive, heads in ARCHIVES.items():
            names = [n for n in left if n.startswith(heads)]
            left = [n for n in left if n not in names]
            if names:
                write_archive(os.path.join(packed, archive + ".tar.xz"), self.tables, names)
                log(f"{archive}: {len(names)} tables")
        if left:
            log("not packed: " + " ".join(left))
        write_protein_list(self.work, os.path.join(self.out, "proteins.tsv"))
        write_chain_list(self.work, os.path.join(self.out, "chains.txt"))

    def examples(self):
        directory = os.path.join(ROOT, "examples")
        os.makedirs(directory, exist_ok=True)
        manifest = {
            row["id"]: row for row in dataset.read_tsv(os.path.join(self.source, "manifest.tsv"))
        }
        for name, (pid, title) in EXAMPLES.items():
            info = manifest[pid]
            referencing = ", as re-referenced by RefDB" if info["referencing"] == "RefDB" else ""
            origin = [
                title,
                f"Shifts: BMRB {info['bmrb']}{referencing}",
                f"Coordinates: PDB {info['pdb']} chain {info['pdb_chain']}",
            ]
            write_example(self.source, pid, origin, os.path.join(directory, name + ".tab"))
            coordinates = os.path.join(self.work, "example.pdb")
            with gzip.open(os.path.join(self.source, "proteins", pid + ".pdb.gz"), "rb") as packed:
                with open(coordinates, "wb") as plain:
                    shutil.copyfileobj(packed, plain)
            self.data(
                "reference",
                coordinates,
                os.path.join(directory, name + ".pdb"),
                *origin,
                "Backbone and chi1 atoms, numbered as the shift table",
            )


STEPS = {
    "clean": Build.clean,
    "tables": Build.tables_,
    "structures": Build.structures,
    "chains": Build.chains,
    "triplets": Build.triplets,
    "features": Build.features,
    "shifts": Build.shifts,
    "database": Build.database,
    "unlabelled": Build.unlabelled,
    "surface": Build.surface,
    "secondary": Build.secondary,
    "sequence": Build.sequence,
    "chi1": Build.chi1,
    "calibration": Build.calibration,
    "figures": Build.figures,
    "shiftmodel": Build.shiftmodel,
    "pack": Build.pack,
    "examples": Build.examples,
}

# Threads of numerical libraries that wait for each other are slower than one where others work too.
ONE_THREAD = {"OMP_NUM_THREADS": "1", "OPENBLAS_NUM_THREADS": "1"}
# Steps that no other one up to `calibration` waits for.
BESIDE = ("sequence", "chi1")


def write_archive(path, directory, names):
    """A tar.xz that depends on the files' names and contents alone."""
    plain = io.BytesIO()
    with tarfile.open(fileobj=plain, mode="w", format=tarfile.USTAR_FORMAT) as archive:
        for name in sorted(names):
            info = tarfile.TarInfo(name)
            info.size = os.path.getsize(os.path.join(directory, name))
            info.mode = 0o644
            with open(os.path.join(directory, name), "rb") as stream:
                archive.addfile(info, stream)
    with open(path + ".part", "wb") as out:
        out.write(lzma.compress(plain.getvalue(), preset=9 | lzma.PRESET_EXTREME))
    os.replace(path + ".part", path)


def write_protein_list(work, path):
    """The proteins of the data directory with their archive numbers."""
    with open(path, "w") as out:
        out.write("source\tbmrb\tstructure\tkind\tcluster\tshifts\tresidues\tfilled_from\n")
        for row in dataset.read_tsv(os.path.join(work, "proteins.tsv")):
            out.write(
                "\t".join(
                    (
                        row["source"],
                        row["bmrb"],
                        row["pdb"],
                        row["kind"],
                        row["cluster30"],
                        row["n_shift"],
                        row["n_use"],
                        row["merged"],
                    )
                )
                + "\n"
            )


def write_chain_list(work, path):
    """The structure codes and chains of the database rows without shifts, ten a line."""
    chains = []
    for row in dataset.read_tsv(os.path.join(work, "chains.tsv")):
        name = row["source"][2:].rstrip("_")
        if not chains or chains[-1] != name:
            chains.append(name)
    with open(path, "w") as out:
        for k in range(0, len(chains), 10):
            out.write(" ".join(chains[k : k + 10]) + "\n")


def write_example(source, pid, remarks, path):
    """The shifts of one record as they stand in the source, in the input format."""
    rows, seq = [], ""
    with open(os.path.join(source, "proteins", pid + ".shifts.tsv")) as stream:
        for line in stream:
            if line.startswith("# sequence"):
                seq = line.split()[2]
            elif line[0].isdigit():
                resid, letter, atom, ppm = line.split()
                rows.append((int(resid), letter, "HN" if atom == "H" else atom, float(ppm)))
    with open(path, "w") as out:
        for remark in remarks:
            out.write(f"REMARK {remark}\n")
        out.write("\nDATA FIRST_RESID 1\n")
        for k in range(0, len(seq), 50):
            chunk = seq[k : k + 50]
            out.write(
                "DATA SEQUENCE "
                + " ".join(chunk[j : j + 10] for j in range(0, len(chunk), 10))
                + "\n"
            )
        out.write("\nVARS   RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n")
        for resid, letter, atom, ppm in rows:
            out.write(f"{resid:4d} {letter} {atom:>4s} {ppm:8.3f}\n")


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument(
        "source", help="directory with manifest.tsv, residues.tsv.gz, proteins/, reference/"
    )
    parser.add_argument("--work", required=True, help="directory for intermediate files")
    parser.add_argument("--out", default=os.path.join(ROOT, "data"), help="data directory to write")
    parser.add_argument(
        "--tool", default=os.path.join(ROOT, "build", "release", "bin", "orvix-data")
    )
    parser.add_argument(
        "--backbones", type=int, default=0, help="most residues of chains without side chains"
    )
    parser.add_argument("--jobs", type=int, default=2, help="runs of the program at a time")
    parser.add_argument("--steps", default="", help="comma separated; default all")
    parser.add_argument("--again", default="", help="run this step and all after it anew")
    args = parser.parse_args()
    names = list(STEPS)
    wanted = args.steps.split(",") if args.steps else names
    for name in wanted + ([args.again] if args.again else []):
        if name not in names:
            parser.error("no step " + name)
    marks = os.path.join(args.work, "steps")
    os.makedirs(marks, exist_ok=True)
    if args.again:
        for name in names[names.index(args.again) :]:
            if os.path.exists(os.path.join(marks, name)):
                os.remove(os.path.join(marks, name))
    build = Build(args)

    def run(steps):
        for name in steps:
            mark = os.path.join(marks, name)
            if name in wanted and not os.path.exists(mark):
                log(name)
                STEPS[name](build)
                open(mark, "w").close()
                log(name + " done")

    first, last = names.index("unlabelled"), names.index("calibration")
    run(names[:first])
    middle = [name for name in names[first:last] if name not in BESIDE]
    with concurrent.futures.ThreadPoolExecutor(2 if args.jobs > 1 else 1) as pool:
        for branch in [pool.submit(run, middle), pool.submit(run, BESIDE)]:
            branch.result()
    run(names[last:])
    log("done")


if __name__ == "__main__":
    main()
