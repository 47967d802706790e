"""The pages of the program itself: prediction, comparison and report of an example in a real browser."""

import json
import math
import os
import subprocess
import unittest
from pathlib import Path

from browser import BrowserCase

PROGRAM = os.environ["ORVIX_PROGRAM"]
EXAMPLES = Path(os.environ["ORVIX_EXAMPLES"])
ATOMS = ["N", "HA", "C", "CA", "CB", "HN"]
HOSTILE = "</script><script>window.broken=1</script><!-- \"quoted\" 'text' & 蛋白質 ${x}"
ENVIRONMENT = {**os.environ, "SOURCE_DATE_EPOCH": "1700000000"}
ENVIRONMENT.pop("ORVIXN_DIR", None)


def orvix(*words, **options):
    return subprocess.run([PROGRAM, *map(str, words)], env=ENVIRONMENT, check=True, capture_output=True, timeout=240,
                          **options).stdout


def atom_lines():
    return [line for line in (EXAMPLES / "ci2.pdb").read_text().splitlines() if line.startswith("ATOM")]


def turned_model(residues, degrees=130):
    """The example with psi of some residues changed: what follows the bond CA-C turns about it."""
    lines = atom_lines()
    for number in residues:
        place = {line[12:16].strip(): [float(line[at : at + 8]) for at in (30, 38, 46)]
                 for line in lines if int(line[22:26]) == number}
        origin = place["C"]
        axis = [c - a for a, c in zip(place["CA"], origin)]
        length = math.hypot(*axis)
        u = [one / length for one in axis]
        cos, sin = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
        for row, line in enumerate(lines):
            if int(line[22:26]) < number or (int(line[22:26]) == number and line[12:16].strip() != "O"):
                continue
            v = [float(line[at : at + 8]) - o for at, o in zip((30, 38, 46), origin)]
            along = sum(a * b for a, b in zip(u, v))
            cross = [u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]]
            new = [o + v[k] * cos + cross[k] * sin + u[k] * along * (1 - cos) for k, o in enumerate(origin)]
            lines[row] = line[:30] + "".join(f"{one:8.3f}" for one in new) + line[54:]
    return lines


class ProgramPage(BrowserCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = cls.scratch
        cls.results = folder / "ci2"
        orvix("predict", EXAMPLES / "ci2.tab", "--ref", EXAMPLES / "ci2.pdb", "-o", cls.results, "--report")
        cls.record = json.loads((cls.results / "results.json").read_text())
        cls.residues = cls.record["residues"]
        models = []
        for number, moved in enumerate(((20,), (20, 30, 32), (20, 47, 49, 51)), start=1):
            models += [f"MODEL     {number:4d}"] + turned_model(moved) + ["ENDMDL"]
        (folder / "<b>nmr.pdb").write_text("\n".join(models) + "\n")
        cls.compared = folder / "compare.json"
        orvix("compare", cls.results, folder / "<b>nmr.pdb", "--json", cls.compared)
        cls.comparison = json.loads(cls.compared.read_text())

    def setUp(self):
        self.open(self.results / "report.html")

    def open(self, page):
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.resize(1280, 900)
        self.driver.get(page.resolve().as_uri())
        self.addCleanup(self.assert_quiet)

    def numbers(self, selector):
        return sorted(self.js("return [...document.querySelectorAll(arguments[0])].map(n => Number(n.dataset.resid))", selector))

    def test_marks_are_those_of_the_results(self):
        having = lambda value: [r["resid"] for r in self.residues if value(r) is not None]
        for angle in ("phi", "psi"):
            self.assertEqual(self.numbers(f'#tracks-plot [data-track="{angle}"] path.mark'), having(lambda r: r[angle]))
            self.assertEqual(self.numbers(f'#tracks-plot [data-track="{angle}"] path.reference'),
                             having(lambda r: (r["reference"] or {}).get(angle)))
        for atom in ATOMS:
            self.assertEqual(self.numbers(f'#tracks-plot [data-track="shift-{atom}"] rect.shift'),
                             having(lambda r: r["secondary_shifts"][atom]))
        self.assertEqual(self.count("#residues tbody tr"), len(self.residues))
        self.assertEqual(self.count("#ramachandran-plot path.mark"), len(having(lambda r: r["phi"])))
        self.assertEqual(self.count("#models"), 0, "a section of models without a comparison")

    def test_hover_click_and_filter(self):
        residue = next(r for r in self.residues if r["class"] == "Strong" and r["reference"])
        mark = self.find(f'#tracks-plot [data-track="psi"] path.mark[data-resid="{residue["resid"]}"]')
        self.point_at(mark)
        self.assertIn(f"{abs(residue['psi']):.0f} ± {residue['psi_spread']:.0f}°", self.text("#tip"))
        mark.click()
        self.assertTrue(self.text("#sheet-title").endswith(f" {residue['resid']}"))
        self.assertEqual(self.texts("#sheet tr[data-rank] td.source"), residue["matches"]["source"])
        self.assertEqual(self.count("#map circle.match.left-out"), residue["matches"]["used"].count(False))
        self.find('#table-frame input[value="Strong"]').click()
        self.assertEqual(self.count("#residues tbody tr"), sum(1 for r in self.residues if r["class"] != "Strong"))

    def test_downloads_are_what_export_writes(self):
        for form, suffix in (("cyana", ".aco"), ("cns", ".tbl"), ("nef", ".nef")):
            self.find(f'button[data-format="{form}"]').click()
            self.assertEqual(self.downloaded("ci2" + suffix), orvix("export", self.results, "--format", form))

    def test_models_are_those_of_the_comparison(self):
        page = self.scratch / "models.html"
        orvix("report", self.results, "--compare", self.compared, "-o", page)
        self.open(page)
        self.assertIn(20, self.comparison["all_disagree"])
        named = self.texts("#all-disagree button")
        self.assertEqual([int(name.split()[-1]) for name in named], self.comparison["all_disagree"])
        models = self.comparison["models"]
        order = sorted(range(len(models)), key=lambda place: models[place]["rank"]["misfit"])
        shown = self.js("return [...document.querySelectorAll('#models-table tbody tr')].map(n => Number(n.dataset.model))")
        self.assertEqual(shown, order)
        self.assertEqual(self.texts("#models-table tbody th"), [f"<b>nmr.pdb #{place + 1} A" for place in order])
        cells = self.js("return [...document.querySelectorAll('#model-residues rect.model-cell')]"
                        ".map(n => [Number(n.dataset.model), Number(n.dataset.resid), n.classList.contains('far')])")
        expected = [[place, resid, bad is True] for place, model in enumerate(models)
                    for resid, off, bad in zip(model["residues"]["resid"], model["residues"]["deviation"], model["residues"]["bad"])
                    if off is not None]
        self.assertEqual(sorted(cells), sorted(expected))
        self.assertTrue(any(far for _, _, far in cells))
        self.point_at(self.find('#model-residues rect.model-cell[data-model="1"][data-resid="20"]'))
        self.assertIn("<b>nmr.pdb #2 A", self.text("#tip"))
        self.find("#all-disagree button").click()
        self.assertTrue(self.text("#sheet-title").endswith(f" {self.comparison['all_disagree'][0]}"))
        self.assertEqual(self.count("#map path.model"), len(models))
        self.assertEqual(self.count("#models b"), 0)
        self.find("#models .save").click()
        self.assertEqual(len(self.downloaded("ci2_models.csv").decode().splitlines()), 1 + len(models))
        for width in (360, 1280):
            self.resize(width, 740)
            self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
        self.picture("program-models")

    def test_hostile_texts_of_the_input_are_text(self):
        text = (EXAMPLES / "ci2.tab").read_text()
        text = f"REMARK {HOSTILE}\n" + text
        rows = text.splitlines()
        for place, row in enumerate(rows):
            cells = row.split()
            if cells[:1] == ["10"]:
                rows[place] = f"{cells[0]:>4} <b> {cells[2]:>4} {cells[3]:>8}"
        source = self.scratch / "quo\"ted & <b>蛋.tab"
        source.write_text("\n".join(rows) + "\n")
        results = self.scratch / "hostile"
        orvix("predict", source, "-o", results, "--title", HOSTILE, "--report")
        self.open(results / "report.html")
        self.assertIsNone(self.js("return window.broken ?? null"))
        self.assertEqual(self.text("h1"), HOSTILE)
        self.assertEqual(self.count("main b b, h1 *, main script"), 0)
        self.assertIn("<b>", self.text("#verdict"))
        self.assertIn(source.name, self.text("#head"))
        self.find('button[data-format="cyana"]').click()
        name = self.js("return JSON.parse(document.getElementById('record').textContent).restraints[0].file")
        saved = self.wait(lambda: list(self.downloads.glob("*.aco")))
        self.assertEqual(len(saved), 1, name)
        self.assertEqual(saved[0].read_bytes(), orvix("export", results, "--format", "cyana"))
        saved[0].unlink()


if __name__ == "__main__":
    unittest.main()
