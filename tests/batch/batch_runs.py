#!/usr/bin/env python3
"""Whole batches of `orvix batch` with the shipped data: resuming, shards, and what can go wrong.

batch_runs.py BUILD_DIRECTORY EXAMPLES DOCS [TEST...]
"""

import fcntl
import gzip
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

BUILD = pathlib.Path(sys.argv[1]).resolve()
EXAMPLES = pathlib.Path(sys.argv[2]).resolve()
DOCS = pathlib.Path(sys.argv[3]).resolve()
PROGRAM = BUILD / "bin" / "orvix"


def table_rows(residues):
    """An input table with the first residues of an example."""
    lines = []
    for line in (EXAMPLES / "ci2.tab").read_text().splitlines():
        words = line.split()
        if words and words[0].lstrip("-").isdigit() and int(words[0]) > residues:
            continue
        lines.append(line)
    return "\n".join(lines) + "\n"


class BatchTest(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="orvix-batch-"))
        self.addCleanup(shutil.rmtree, self.place, ignore_errors=True)
        self.inputs = self.place / "in"
        self.inputs.mkdir()

    def fill(self, count):
        for number in range(count):
            (self.inputs / f"p{number:03}.tab").write_text(table_rows(12 + number % 9))

    def command(self, output, *options, jobs=2):
        return [str(PROGRAM), "batch", "in", "-o", str(output), "--jobs", str(jobs),
                "--data-dir", str(BUILD / "share" / "orvixn"), *options]

    def batch(self, output, *options, status=0, jobs=2, **more):
        done = subprocess.run(self.command(output, *options, jobs=jobs), cwd=self.place, timeout=300,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, **more)
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stderr

    def files(self, output):
        """Contents of all results, without the state of the batch."""
        root = self.place / output
        return {str(path.relative_to(root)): path.read_bytes() for path in root.rglob("*")
                if path.is_file() and ".batch" not in path.parts and path.suffix != ".sqlite"}

    def export(self, *stores):
        joined = self.place / "joined.sqlite"
        directory = self.place / "exported"
        shutil.rmtree(directory, ignore_errors=True)
        subprocess.run([PROGRAM, "collect", *stores, "-o", joined, "--export", "csv", directory],
                       check=True)
        return {path.name: path.read_bytes() for path in directory.iterdir()}

    def state(self, output, name="batch.tsv"):
        lines = (self.place / output / name).read_text().splitlines()[1:]
        return {line.split("\t")[1]: line.split("\t")[3] for line in lines}

    def assert_same(self, output, stores, expected):
        self.assertEqual(self.files(output), expected[0])
        self.assertEqual(self.export(*stores), expected[1])
        hidden = [path for path in (self.place / output).iterdir()
                  if path.name.startswith(".") and path.name != ".batch"]
        self.assertEqual(hidden, [])

    def expected(self):
        self.batch("whole")
        return self.files("whole"), self.export(self.place / "whole" / "predictions.sqlite")

    def test_killed_at_random_moments_and_resumed(self):
        self.fill(60)
        started = time.monotonic()
        expected = self.expected()
        whole = time.monotonic() - started
        random_moment = random.Random(20)
        kills = 0
        for _ in range(20):
            run = subprocess.Popen(self.command("out"), cwd=self.place, stderr=subprocess.DEVNULL)
            time.sleep(random_moment.uniform(0.05, 0.3 * whole))
            run.kill()
            kills += run.wait() == -signal.SIGKILL
            for directory in (self.place / "out").glob("p*/"):
                if directory.is_dir():
                    self.assertEqual(len(list(directory.iterdir())), 9, directory)
        self.assertGreater(kills, 3)
        self.batch("out")
        self.assert_same("out", [self.place / "out" / "predictions.sqlite"], expected)

    def test_shards_are_one_run(self):
        self.fill(10)
        (self.inputs / "bad.tab").write_text("no table\n")
        self.batch("whole", status=5)
        self.batch("only", "--store", "only", status=5)
        stores = []
        for part in (1, 2, 3):
            self.batch("parts", "--shard", f"{part}/3", status=5 if part == 1 else 0)
            stores.append(self.place / "parts" / f"predictions-{part}-of-3.sqlite")
        rows = [line for name in ("batch-1-of-3.tsv", "batch-2-of-3.tsv", "batch-3-of-3.tsv")
                for line in (self.place / "parts" / name).read_text().splitlines()[1:]]
        rows.sort(key=lambda line: int(line.split("\t")[0]))
        self.assertEqual(rows, (self.place / "whole" / "batch.tsv").read_text().splitlines()[1:])
        exported = self.export(self.place / "whole" / "predictions.sqlite")
        self.assertEqual(self.export(*stores), exported)
        self.assertEqual(self.export(self.place / "only" / "predictions.sqlite"), exported)

        def directories(output):
            return {name: text for name, text in self.files(output).items() if "/" in name}

        self.assertEqual(directories("parts"), directories("whole"))
        self.assertEqual(directories("only"), {})

    def test_only_what_changed_is_done_again(self):
        self.fill(4)
        self.batch("out")
        result = self.place / "out" / "p001" / "results.json"
        times = {path: path.stat().st_mtime_ns for path in (self.place / "out").glob("p*/*")}

        def changed():
            now = {path: path.stat().st_mtime_ns for path in (self.place / "out").glob("p*/*")}
            names = {path.parent.name for path in now if times.get(path) != now[path]}
            times.clear()
            times.update(now)
            return names

        self.assertIn("4 done before", self.batch("out"))
        self.assertEqual(changed(), set())
        (self.inputs / "p001.tab").write_text(table_rows(30))
        before = result.read_bytes()
        self.batch("out")
        self.assertEqual(changed(), {"p001"})
        self.assertNotEqual(result.read_bytes(), before)
        shutil.rmtree(self.place / "out" / "p002")
        self.batch("out")
        self.assertEqual(changed(), {"p002"})
        self.batch("out", "--no-proton")
        self.assertEqual(changed(), {"p000", "p001", "p002", "p003"})
        (self.inputs / "p003.tab").write_text("no table any more\n")
        self.batch("out", "--no-proton", status=5)
        self.assertFalse((self.place / "out" / "p003").exists(), "an outdated result stays")
        self.assertEqual(self.state("out")["p003"], "failed")

    def test_manifest_options_are_those_of_predict(self):
        self.fill(1)
        (self.place / "jobs").write_text("in/p000.tab plain\nin/p000.tab other --no-proton\n")
        run = self.command("out", "--manifest", "jobs")
        run.remove("in")
        subprocess.run(run, cwd=self.place, check=True, stderr=subprocess.DEVNULL)
        for name, options in (("plain", []), ("other", ["--no-proton"])):
            subprocess.run([PROGRAM, "predict", "in/p000.tab", "-o", "one", "--force", *options,
                            "--data-dir", BUILD / "share" / "orvixn"],
                           cwd=self.place, check=True, stderr=subprocess.DEVNULL)
            one = self.files("one")
            self.assertEqual({path: (self.place / "out" / name / path).read_bytes()
                              for path in one}, one)
        (self.place / "jobs").write_text("in/p000.tab x\nin/p000.tab y --no-such\n")
        done = subprocess.run(run, cwd=self.place, capture_output=True, text=True)
        self.assertEqual(done.returncode, 3)
        self.assertIn("jobs:2: ", done.stderr)

    def test_bad_inputs_cost_only_themselves(self):
        self.fill(3)
        table = (EXAMPLES / "ci2.tab").read_text()
        (self.inputs / "endless.tab").write_bytes(b"DATA SEQUENCE " + b"A" * (80 << 20))
        with gzip.open(self.inputs / "bomb.str.gz", "wb", compresslevel=1) as file:
            for _ in range(300):
                file.write(bytes(1 << 20))
        (self.inputs / "far.tab").write_text("DATA FIRST_RESID 2000000000\n" + table)
        (self.inputs / "binary.nef").write_bytes(random.Random(1).randbytes(100000))
        (self.inputs / "empty.csv").write_text("")
        (self.inputs / "loop.str").symlink_to("loop.str")
        os.mkfifo(self.inputs / "pipe")
        text = self.batch("out", "in/pipe", "in/missing.tab", status=5)
        self.assertIn("7 failed", text)
        states = self.state("out")
        self.assertEqual({name for name, state in states.items() if state == "done"},
                         {"p000", "p001", "p002"})
        reasons = self.state("out", "failures.tsv")
        self.assertIn("larger than", reasons["endless"])
        self.assertIn("regular file", reasons["pipe"])
        self.assertIn("No such file", reasons["missing"])
        with sqlite3.connect(self.place / "out" / "predictions.sqlite") as store:
            self.assertEqual(dict(store.execute("SELECT name, reason FROM failures")), reasons)

    def test_a_file_in_the_place_of_a_result(self):
        self.fill(3)
        (self.place / "out").mkdir()
        (self.place / "out" / "p001").write_text("mine")
        self.batch("out", status=5)
        self.assertEqual(self.state("out"), {"p000": "done", "p001": "failed", "p002": "done"})
        self.assertEqual((self.place / "out" / "p001").read_text(), "mine")

    def test_second_batch_in_a_directory_refuses(self):
        self.fill(2)
        (self.place / "out" / ".batch").mkdir(parents=True)
        with open(self.place / "out" / ".batch" / "lock", "w") as lock:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            self.assertIn("another batch", self.batch("out", status=1))
        self.batch("out")

    def test_signals_end_cleanly(self):
        self.fill(60)
        expected = self.expected()
        for number in (signal.SIGINT, signal.SIGTERM):
            run = subprocess.Popen(self.command("out"), cwd=self.place, stderr=subprocess.DEVNULL)
            while run.poll() is None and not list((self.place / "out").glob("p*")):
                time.sleep(0.02)
            run.send_signal(number)
            self.assertEqual(run.wait(), -number)
            self.assertIn("open", self.state("out").values())
            shown = set((self.place / "out").iterdir())
            self.assertFalse([path for path in shown if ".orvix-" in path.name])
            shutil.rmtree(self.place / "out")
        run = subprocess.Popen(self.command("out"), cwd=self.place, stderr=subprocess.DEVNULL)
        while run.poll() is None and not list((self.place / "out").glob("p*")):
            time.sleep(0.02)
        run.send_signal(signal.SIGTERM)
        run.wait()
        self.batch("out")
        self.assert_same("out", [self.place / "out" / "predictions.sqlite"], expected)

    def test_full_pipes_do_not_hold_a_batch_up(self):
        self.fill(30)
        for number in range(200):
            (self.inputs / f"bad{number:03}.tab").write_text("x\n")
        read, write = os.pipe()
        os.set_blocking(write, False)
        try:
            while True:
                os.write(write, b"x" * 4096)
        except BlockingIOError:
            pass
        os.set_blocking(write, True)
        done = subprocess.run(self.command("out"), cwd=self.place, stdout=write, stderr=write,
                              timeout=300)
        os.close(read)
        os.close(write)
        self.assertEqual(done.returncode, 5)
        self.assertEqual(list(self.state("out").values()).count("done"), 30)

    def test_few_open_files(self):
        self.fill(12)

        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))

        self.batch("out", jobs=8, preexec_fn=limit)

    def test_a_full_disk(self):
        self.fill(20)
        disk = self.place / "disk"
        disk.mkdir()
        if os.geteuid() != 0 or subprocess.run(
                ["mount", "-t", "tmpfs", "-o", "size=64m", "tmpfs", disk],
                stderr=subprocess.DEVNULL).returncode != 0:
            self.skipTest("no right to mount a small disk")
        self.addCleanup(subprocess.run, ["umount", "-l", disk])
        expected = self.expected()
        needed = sum(path.stat().st_size for path in (self.place / "whole").rglob("*"))
        for moment in range(10):
            # From next to no room to room for nearly all of the results.
            ballast = disk / "ballast"
            ballast.write_bytes(bytes((64 << 20) - (1 << 16) - needed * moment // 10))
            run = subprocess.run(self.command("disk/out"), cwd=self.place, timeout=300,
                                 capture_output=True, text=True)
            self.assertIn(run.returncode, (1, 5), run.stderr)
            self.assertRegex(run.stderr, "No space left|disk is full")
            ballast.unlink()
            for directory in (disk / "out").glob("p*/"):
                if directory.is_dir():
                    self.assertEqual(len(list(directory.iterdir())), 9, directory)
            self.batch("disk/out")
            self.assert_same("disk/out", [disk / "out" / "predictions.sqlite"], expected)
            shutil.rmtree(disk / "out")

    def index(self, name, *options):
        """The record of the index page of `out`."""
        page = self.place / name
        subprocess.run([PROGRAM, "report", "out", "--index-only", "-o", page, *options], cwd=self.place, check=True,
                       capture_output=True, env={**os.environ, "SOURCE_DATE_EPOCH": "1700000000"})
        return json.loads(re.search(r'id="record">(.*?)</script', page.read_text(), re.DOTALL).group(1))

    def test_an_index_is_the_same_from_the_store_and_from_the_results(self):
        self.fill(4)
        (self.inputs / "bad.tab").write_text("nothing\n")
        self.batch("out", status=5)
        stored = self.index("stored.html")
        self.assertEqual([one["name"] for one in stored["failures"]], ["bad"])
        self.assertEqual(len(stored["proteins"]), 4)
        self.assertGreater(sum(one["classes"]["Strong"] for one in stored["proteins"]), 0)
        (self.place / "out" / "predictions.sqlite").rename(self.place / "kept")
        self.assertEqual(self.index("read.html")["proteins"], stored["proteins"])
        # Without directories the store alone makes the index, without links.
        for result in self.place.glob("out/p*"):
            shutil.rmtree(result)
        (self.place / "kept").rename(self.place / "out" / "predictions.sqlite")
        self.assertEqual(self.index("alone.html")["proteins"], stored["proteins"])

    def test_the_docs_describe_the_store_and_their_questions_run(self):
        for name in ("ci2.tab", "fgf2.tab"):
            shutil.copy(EXAMPLES / name, self.inputs)
        (self.inputs / "bad.tab").write_text("no table\n")
        self.batch("out", status=5)
        text = (DOCS / "batch.md").read_text()
        with sqlite3.connect(self.place / "out" / "predictions.sqlite") as store:
            tables = {row[0] for row in store.execute("SELECT name FROM sqlite_master")
                      if not row[0].startswith("sqlite_")}
            described = set(re.findall(r"^\| `(\w+)` \|", text, re.MULTILINE))
            self.assertEqual(described, tables)
            questions = re.findall(r"```sql\n(.*?)```", text, re.DOTALL)
            self.assertGreater(len(questions), 3)
            for question in questions:
                self.assertTrue(store.execute(question).fetchall(), question)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:], verbosity=2)
