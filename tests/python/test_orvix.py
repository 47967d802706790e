"""The Python module against the program, on the bundled examples."""

import os
import pathlib
import subprocess
import threading

import numpy
import orvix
import pandas
import pytest

EXAMPLES = pathlib.Path(os.environ["ORVIX_EXAMPLES"])
PROGRAM = os.environ["ORVIX_PROGRAM"]
TABLE = str(EXAMPLES / "ci2.tab")


@pytest.fixture(scope="module")
def model():
    return orvix.Model(os.environ["ORVIXN_DATA"])


@pytest.fixture(scope="module")
def prediction(model):
    return model.predict(TABLE)


def run(*words):
    return subprocess.run([PROGRAM, *words], check=True, capture_output=True, text=True).stdout


@pytest.mark.parametrize(
    "options, words",
    [
        ({}, []),
        ({"no_proton": True}, ["--no-proton"]),
        (
            {"offset": True, "clip": False, "first": 10, "last": 40, "s2_threshold": 0.7},
            ["--offset", "--no-clip", "--first=10", "--last=40", "--s2-threshold=0.7"],
        ),
    ],
)
def test_record_restraints_and_program_agree_to_the_byte(model, tmp_path, options, words):
    directory = str(tmp_path / "out")
    run("predict", TABLE, "-o", directory, "--data-dir", model.path, *words)
    one = model.predict(TABLE, **options)
    assert one.to_json() == (tmp_path / "out" / "results.json").read_text()
    rows = [
        line
        for line in run("export", directory, "-f", "cyana").splitlines()
        if not line.startswith("#")
    ]
    mine = [line for line in one.restraints("cyana").splitlines() if not line.startswith("#")]
    assert rows == mine and len(mine) > 20


def test_frames_and_maps_hold_the_record(prediction):
    residues = prediction.residues
    assert len(residues) > 50
    assert residues["phi"].dropna().between(-180, 180).all()
    assert set(residues["class"]) <= {"Strong", "Generous", "Warn", "Dyn", "Bad", "None"}
    assert prediction.maps.shape == (len(residues), 18, 18)
    filled = ~numpy.isnan(prediction.maps).all(axis=(1, 2))
    assert filled.sum() > 40
    ca = prediction.shifts.query("atom == 'CA'")
    assert ca["shift"].between(40, 70).all() and len(ca) > 50
    assert {"CA", "CB"} <= set(prediction.offsets.index)


def test_a_data_frame_gives_the_angles_of_its_file(model, prediction):
    rows, first = [], 1
    for line in open(TABLE, encoding="ascii"):
        words = line.split()
        if len(words) == 4 and words[0].lstrip("-").isdigit():
            rows.append((int(words[0]), words[1], words[2], float(words[3])))
        elif words[:2] == ["DATA", "FIRST_RESID"]:
            first = int(words[2])
    frame = pandas.DataFrame(rows, columns=["resid", "resname", "atom", "shift"])
    one = model.predict(frame, sequence=prediction.sequence, first_residue=first)
    pandas.testing.assert_frame_equal(one.residues, prediction.residues, check_exact=True)


def test_an_import_gives_the_angles_of_its_file(model):
    file = next((EXAMPLES / "forms").glob("*.str"))
    read = orvix.import_shifts(file)
    assert file.name in read.report
    residues = model.predict(read).residues
    assert residues["phi"].notna().sum() > 20
    pandas.testing.assert_frame_equal(residues, model.predict(file).residues, check_exact=True)


def test_errors_carry_their_reasons(model, tmp_path):
    with pytest.raises(orvix.InputError, match="nothing.tab"):
        model.predict(str(tmp_path / "nothing.tab"))
    with pytest.raises(orvix.UsageError, match="s2_threshold"):
        model.predict(TABLE, s2_threshold=float("nan"))
    with pytest.raises(orvix.UsageError, match="hold none"):
        model.predict(TABLE, first=900)
    with pytest.raises(orvix.DataDirectoryError, match="no directory"):
        orvix.Model(tmp_path)
    with pytest.raises(orvix.InputError, match="no column shift"):
        model.predict(pandas.DataFrame(columns=["resid", "resname", "atom"]), sequence="A")
    with pytest.raises(orvix.Error, match="none of cyana"):
        model.predict(TABLE).restraints("pdf")


def test_threads_share_a_model(model, prediction):
    texts = [None] * 3

    def work(place):
        texts[place] = model.predict(TABLE, threads=1).to_json()

    threads = [threading.Thread(target=work, args=(place,)) for place in range(len(texts))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert texts == [prediction.to_json()] * len(texts)


def test_page_is_one_file_with_the_record(prediction, tmp_path):
    prediction.report(tmp_path / "page.html")
    page = (tmp_path / "page.html").read_text(encoding="utf-8")
    assert "@ORVIX_RECORD@" not in page and "orvix-report" in page


def test_worked_example_runs(model, tmp_path):
    """The script of the documentation, word for word."""
    text = pathlib.Path(os.environ["ORVIX_DOCS"], "python.md").read_text(encoding="utf-8")
    script = text.split("```python\n")[1].split("```")[0]
    (tmp_path / "protein.tab").write_bytes(pathlib.Path(TABLE).read_bytes())
    environment = dict(os.environ, ORVIXN_DIR=model.path)
    subprocess.run(
        [os.environ["ORVIX_PYTHON"], "-c", script], check=True, cwd=tmp_path, env=environment
    )
    assert (tmp_path / "protein.aco").stat().st_size > 1000
    assert (tmp_path / "protein.html").stat().st_size > 10000
