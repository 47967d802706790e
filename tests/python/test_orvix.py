"""The Python module against the program, on the bundled examples."""

import ast
import inspect
import os
import pathlib
import re
import subprocess
import sys
import threading
import time

import numpy
import orvix
import pandas
import pytest

EXAMPLES = pathlib.Path(os.environ["ORVIX_EXAMPLES"])
PROGRAM = os.environ["ORVIX_PROGRAM"]
TABLE = str(EXAMPLES / "ci2.tab")
DEPOSITED = str(EXAMPLES / "forms" / "ci2_v3.str")
DEMONSTRATED = {**os.environ, "SOURCE_DATE_EPOCH": "1700000000"}


@pytest.fixture(scope="module")
def model():
    return orvix.Model(os.environ["ORVIXN_DATA"])


@pytest.fixture(scope="module")
def prediction(model):
    return model.predict(TABLE)


def run(*words):
    done = subprocess.run([PROGRAM, *words], check=True, capture_output=True, env=DEMONSTRATED)
    return done.stdout.decode()


def rows(text):
    return [line for line in text.splitlines() if not line.startswith("#")]


@pytest.mark.parametrize(
    "shifts, options, words",
    [
        (TABLE, {}, []),
        (TABLE, {"exclude_relatives": True}, ["--exclude-relatives"]),
        (
            TABLE,
            {"offset": True, "no_clip": True, "first": 25, "last": 60, "s2_threshold": 0.7},
            ["--offset", "--no-clip", "--first=25", "--last=60", "--s2-threshold=0.7"],
        ),
        (
            DEPOSITED,
            {"no_proton": True, "iso": True, "ref": EXAMPLES / "ci2.pdb", "count": 12},
            ["--no-proton", "--iso", f"--ref={EXAMPLES / 'ci2.pdb'}", "--count=12"],
        ),
    ],
)
def test_record_restraints_and_program_agree_to_the_byte(model, tmp_path, shifts, options, words):
    directory = str(tmp_path / "out")
    run("predict", shifts, "-o", directory, "--data-dir", model.path, *words)
    one = model.predict(shifts, **options)
    assert one.to_json() == (tmp_path / "out" / "results.json").read_text()
    mine = rows(one.restraints("cyana", classes=("Strong", "Generous"), k=1.5, chi1=False))
    more = ("--classes=Strong,Generous", "--k=1.5", "--no-chi1")
    assert rows(run("export", directory, "-f", "cyana", *more)) == mine and len(mine) > 10


def test_an_import_is_the_file_that_it_was_read_from(model, tmp_path):
    read = orvix.import_shifts(DEPOSITED)
    run("import", DEPOSITED, "-o", str(tmp_path / "table"), "--report", str(tmp_path / "report"))
    assert read.report == (tmp_path / "report").read_text()
    assert read.table == (tmp_path / "table").read_text()
    assert read.format == "nmrstar3" and len(read.sequence) == 64
    assert len(read.shifts) == len(re.findall(r"^ *-?\d+ ", read.table, re.M))
    one = model.predict(read)
    assert one.to_json() == model.predict(DEPOSITED).to_json()
    assert one.import_report == read.report
    with pytest.raises(orvix.InputError, match="list"):
        orvix.import_shifts(DEPOSITED, list=7)


def test_frames_and_maps_hold_the_record(model, prediction):
    residues = prediction.residues
    assert residues["phi"].dropna().between(-180, 180).all() and len(residues) == 64
    assert set(residues["class"]) <= {"Strong", "Generous", "Warn", "Dyn", "Bad", "None"}
    strong = residues[residues["class"] == "Strong"]
    assert len(strong) > 20 and strong["phi"].notna().all()
    assert prediction.maps.shape == (64, 18, 18)
    filled = ~numpy.isnan(prediction.maps).all(axis=(1, 2))
    assert filled.sum() > 40
    # A helix of the crystal structure: phi bin of -60, psi bin of -40.
    helix = prediction.maps[list(residues.index).index(16)]
    phi, psi = numpy.unravel_index(helix.argmax(), helix.shape)
    assert (phi, psi) in {(5, 6), (5, 7), (6, 6), (6, 7)}
    ca = prediction.shifts.query("atom == 'CA'")
    assert ca["shift"].between(40, 70).all() and len(ca) > 50
    assert {"CA", "CB"} <= set(prediction.offsets.index)
    # Frames of a part that has no values keep the types of their columns.
    part = model.predict(TABLE, first=30, last=31)
    assert (part.residues.dtypes == residues.dtypes).all()
    assert (part.findings.dtypes == prediction.findings.dtypes).all()


def test_a_data_frame_gives_the_angles_of_its_file(model):
    read = orvix.import_shifts(DEPOSITED)
    frame, letters = read.shifts, {"sequence": read.sequence, "first_residue": read.first_residue}
    one, same = model.predict(frame, **letters), model.predict(read)
    pandas.testing.assert_frame_equal(one.shifts, same.shifts, check_exact=True)
    own = one.residues.drop(columns="author_resid", errors="ignore")
    theirs = same.residues.drop(columns="author_resid", errors="ignore")
    pandas.testing.assert_frame_equal(own, theirs, check_exact=True)
    # Planted: CA and CB off by 3 ppm, one residue of another name.
    moved = frame.copy()
    moved.loc[moved["atom"].isin(["CA", "CB"]), "shift"] += 3.0
    moved.loc[moved["resid"] == 30, "resname"] = "W"
    found = model.predict(moved, **letters).findings
    offset = found.query("kind == 'offset' and atom == 'CA'")["value"].item()
    assert abs(offset - 3.0) < 1.0
    assert found.query("kind == 'name'")[["resid", "found"]].values.tolist() == [[30, "W"]]
    # Without letters it is read as a CSV file is.
    wide = frame.pivot(index=["resid", "resname"], columns="atom", values="shift").reset_index()
    part = model.predict(wide, first=10, last=20).residues
    assert part["phi"].notna().sum() > 3
    theirs = model.predict(read, first=10, last=20).residues
    pandas.testing.assert_series_equal(part["phi"], theirs["phi"], check_exact=True)


def test_errors_carry_the_reasons_of_the_engine(model, tmp_path):
    frame = pandas.DataFrame({"resid": [1], "resname": ["A"], "atom": ["CA"], "shift": ["x"]})
    broken = tmp_path / "tab"
    (tmp_path / "latin.str").write_bytes("Proteína\n1 Xé CA 55\n".encode("latin-1"))
    for kind, reason, call in [
        (orvix.InputError, "nothing.tab", lambda: model.predict(tmp_path / "nothing.tab")),
        (orvix.UsageError, "s2-threshold", lambda: model.predict(TABLE, s2_threshold=1.5)),
        (orvix.UsageError, "count", lambda: model.predict(TABLE, count=26)),
        (orvix.UsageError, "threads", lambda: model.predict(TABLE, threads=0)),
        (orvix.UsageError, "outside of the sequence", lambda: model.predict(TABLE, first=900)),
        (orvix.UsageError, "no source", lambda: model.predict(TABLE, exclude="nonesuch")),
        (orvix.UsageError, "none of cyana", lambda: model.predict(TABLE).restraints("pdb")),
        (orvix.InputError, "could not convert", lambda: model.predict(frame, sequence="A")),
        (orvix.InputError, "no column", lambda: model.predict(frame[["resid"]], sequence="A")),
        (orvix.DataDirectoryError, "no directory", lambda: orvix.Model(broken)),
        (orvix.InputError, "coordinate file", lambda: orvix.import_shifts(EXAMPLES / "ci2.pdb")),
        (orvix.InputError, "latin.str", lambda: orvix.import_shifts(tmp_path / "latin.str")),
    ]:
        with pytest.raises(kind, match=reason):
            call()
    with pytest.raises(TypeError):
        model.predict(TABLE, no_such_option=True)


def test_threads_share_a_model_and_leave_python_alone(model, prediction):
    words = [{}, {"no_proton": True}, {}, {"no_proton": True}]
    texts = [None] * len(words)

    def work(place):
        texts[place] = model.predict(TABLE, threads=1, **words[place]).to_json()

    threads = [threading.Thread(target=work, args=(place,)) for place in range(len(words))]
    for thread in threads:
        thread.start()
    turns = 0
    while any(thread.is_alive() for thread in threads):
        time.sleep(0.002)
        turns += 1
    # With the lock of the interpreter held, this loop would get a turn or two for each prediction.
    assert turns > 30
    assert texts[0] == texts[2] == prediction.to_json()
    assert texts[1] == texts[3] == model.predict(TABLE, no_proton=True).to_json() != texts[0]


def test_page_is_that_of_the_program(prediction, tmp_path):
    prediction.report(tmp_path / "page.html")
    (tmp_path / "results.json").write_text(prediction.to_json(), encoding="utf-8")
    run("report", str(tmp_path / "results.json"), "-o", str(tmp_path / "theirs.html"))

    def without_origin(name):
        text = (tmp_path / name).read_text(encoding="utf-8")
        for place in (tmp_path / "results.json", TABLE):
            text = text.replace(str(place), "")
        text = re.sub(r"[^\"\\ ]*(results.json|ci2.tab)|\d{4}-\d\d-\d\dT[\d:]+Z?", "", text)
        return re.sub(r"-[0-9a-f]{16}\b", "", text)

    assert without_origin("page.html") == without_origin("theirs.html")


def test_options_are_those_of_the_program_and_of_the_stubs():
    shown = run("predict", "--help")
    names = set(re.findall(r"--([a-z][a-z0-9-]*)", shown.split("\n\n", 1)[1]))
    program = {name.replace("-", "_") for name in names}
    own = set(inspect.signature(orvix.Model.predict).parameters)
    # Of the program alone: files, images and help. Of the module alone: data frames.
    files = {"output", "force", "report", "data_dir", "no_image", "check_image"}
    assert program - own == files | {"help", "noproton"}
    assert own - program == {"self", "shifts", "first_residue"}

    stub = ast.parse(pathlib.Path(orvix.__file__).with_suffix(".pyi").read_text())
    classes = [node for node in stub.body if isinstance(node, ast.ClassDef)]
    assert {node.name for node in classes} | {"import_shifts", "predict"} == set(orvix.__all__)
    for node in classes:
        members = {item.name for item in node.body if isinstance(item, ast.FunctionDef)}
        actual = getattr(orvix, node.name)
        if not issubclass(actual, Exception):
            public = {name for name in vars(actual) if not name.startswith("_")}
            assert members - {"__init__"} == public
            assert all(vars(actual)[name].__doc__ for name in public)
        for item in node.body:
            if isinstance(item, ast.FunctionDef) and not item.decorator_list:
                stubbed = [one.arg for one in item.args.args + item.args.kwonlyargs]
                signature = inspect.signature(getattr(actual, item.name))
                assert stubbed == list(signature.parameters)


def test_worked_examples_run(model, tmp_path):
    """The script beside the examples, and that of the documentation, word for word."""
    text = pathlib.Path(os.environ["ORVIX_DOCS"], "python.md").read_text(encoding="utf-8")
    (tmp_path / "doc.py").write_text(text.split("```python\n")[1].split("```")[0])
    (tmp_path / "protein.tab").write_bytes(pathlib.Path(TABLE).read_bytes())
    script = str(EXAMPLES / "python" / "residues.py")
    environment = {name: text for name, text in os.environ.items() if name != "ORVIXN_DIR"}
    for words in (["doc.py"], [script, DEPOSITED, "ci2"]):
        subprocess.run([sys.executable, *words], check=True, cwd=tmp_path, env=environment)
    for stem in ("protein", "ci2"):
        assert (tmp_path / f"{stem}.aco").stat().st_size > 1000
        assert (tmp_path / f"{stem}.html").stat().st_size > 10000
    assert len(pandas.read_csv(tmp_path / "ci2-residues.csv")) == 64
