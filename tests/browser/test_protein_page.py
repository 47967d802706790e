"""The page over one protein in a real browser."""

import base64
import csv
import io
import shutil
import subprocess
import unittest

from browser import ASSETS, BrowserCase
from made_records import ATOMS, HOSTILE, HOSTILE_LETTER, made_page_record, older_record
from pages import write_page


class ProteinPage(BrowserCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.record = made_page_record()
        cls.address = write_page(ASSETS / "protein.html", cls.record, cls.scratch / "made.html")

    def setUp(self):
        self.open(self.address)
        self.residues = self.record["results"]["residues"]

    def open(self, address, width=1280, height=900, dark=False):
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.resize(width, height, dark)
        self.driver.get(address)
        self.addCleanup(self.assert_quiet)

    def known(self, value):
        return [residue["resid"] for residue in self.residues if value(residue) is not None]

    def marks(self, track, selector):
        """Residue numbers of the marks of a track, in order."""
        return sorted(self.js(
            "return [...document.querySelectorAll(arguments[0])].map(n => Number(n.dataset.resid))",
            f'#tracks-plot [data-track="{track}"] {selector}'))

    def open_sheet(self, resid):
        button = self.find(f'#residues tr[data-resid="{resid}"] button')
        self.js("arguments[0].scrollIntoView({block: 'center'})", button)
        button.click()

    def test_every_datum_has_its_mark(self):
        everyone = [residue["resid"] for residue in self.residues]
        self.assertEqual(self.marks("letters", "rect.cell"), everyone)
        self.assertEqual(self.texts('[data-track="letters"] text.letter'), [r["resname"] for r in self.residues])
        self.assertEqual(self.marks("structure", "rect.confidence"), everyone)
        for angle in ("phi", "psi"):
            self.assertEqual(self.marks(angle, "path.mark"), self.known(lambda r: r[angle]))
            self.assertEqual(self.marks(angle, "path.reference"), self.known(lambda r: r["reference"]))
            # A spread across the end of the circle has two bars.
            bars = sum(2 if abs(r[angle]) + r[f"{angle}_spread"] > 180 else 1
                       for r in self.residues if r[angle] is not None)
            self.assertEqual(self.count(f'#tracks-plot [data-track="{angle}"] line.spread'), bars)
            if angle == "phi":
                for side in (-1, 1):
                    self.assertTrue(any(r["phi"] is not None and side * r["phi"] + r["phi_spread"] > 180
                                        for r in self.residues), "no bar across an end of the circle")
        self.assertEqual(self.count('[data-track="chi1"] rect.rotamer'), 3 * len(self.known(lambda r: r["chi1"])))
        self.assertEqual(self.count('[data-track="chi1"] rect.called'),
                         sum(1 for r in self.residues if r["chi1"] and r["chi1"]["rotamer"]))
        self.assertEqual(self.marks("s2", "circle.order"), everyone)
        for atom in ATOMS:
            self.assertEqual(self.marks(f"shift-{atom}", "rect.shift"),
                             self.known(lambda r: r["secondary_shifts"][atom]))
            wrong = [one["resid"] for one in self.record["results"]["outliers"] if one["atom"] == atom]
            self.assertEqual(self.marks(f"shift-{atom}", "path.outlier-sign"), wrong)
        predicted = self.known(lambda r: r["phi"])
        self.assertEqual(self.count("#ramachandran-plot path.mark"), len(predicted))
        self.assertEqual(self.count("#residues tbody tr"), len(self.residues))
        points = [r for r in self.residues if r["state_letter"] not in "PC"
                  and None not in (r["secondary_shifts"]["CA"], r["secondary_shifts"]["CB"])]
        self.assertEqual(self.count("#line-CA circle.point"), len(points))
        self.assertEqual(self.count("#line-CA line.fit"), 1)

    def test_head_says_what_was_run_and_what_the_shifts_are_worth(self):
        head = self.text("#head")
        for part in ("Made protein", "dir/made.tab", "orvix 9.8.7", "made data", "2026-01-01 00:00 UTC", "made.pdb"):
            self.assertIn(part, head)
        self.assertIn("Look at the shifts before you use the angles", self.text("#verdict h2"))
        statements = self.texts("#verdict li")
        self.assertIn("CA/CB shifts are 1.23 ± 0.05 ppm too high (52 residues): correct the referencing", statements[0])
        self.assertIn("3 shifts lie outside of the usual range, 1 of them by far (CA of Leu 7)", statements[1])
        self.assertIn("Too few shifts to judge the referencing of HA.", " ".join(statements))
        self.assertIn("few of HA (5 %)", " ".join(statements))
        strong = sum(1 for r in self.residues if r["class"] == "Strong")
        self.assertIn(f"{strong} Strong", self.text("#classes"))
        self.assertIn("HA3 of 60", self.text("#completeness").replace("\n", ""))

    def test_pointing_and_clicking_on_tracks(self):
        residue = self.residues[20]
        mark = self.find(f'#tracks-plot [data-track="phi"] path.mark[data-resid="{residue["resid"]}"]')
        self.point_at(mark)
        tip = self.text("#tip")
        self.assertFalse(self.find("#tip").get_property("hidden"))
        self.assertIn(str(residue["resid"]), tip)
        self.assertIn(f"{abs(residue['phi']):.0f} ± {residue['phi_spread']:.0f}°", tip)
        mark.click()
        self.assertTrue(self.js("return document.getElementById('sheet').open"))
        self.assertTrue(self.text("#sheet-title").endswith(str(residue["resid"])))
        self.assertTrue(self.find("#tip").get_property("hidden"))
        self.assertEqual(self.count("#tracks-plot rect.chosen"), 1)

    def test_sheet_holds_map_matches_and_shifts(self):
        residue = self.residues[10]
        self.open_sheet(residue["resid"])
        self.assertEqual(self.count("#map rect.box"), 324)
        opacity = self.js("return [...document.querySelectorAll('#map rect.box')].map(n => Number(n.getAttribute('fill-opacity')))")
        self.assertEqual(opacity.index(max(opacity)), residue["map"].index(max(residue["map"])))
        self.assertEqual(self.count("#map path.cluster"), 1)
        self.assertEqual(self.count("#map circle.match"), 25)
        self.assertEqual(self.count("#map circle.match.left-out"), residue["matches"]["used"].count(False))
        self.assertEqual(self.count("#map path.answer"), 1)
        self.assertEqual(self.count("#map path.reference"), 1)
        rows = self.texts("#sheet tr[data-rank] td.source")
        self.assertEqual(rows, residue["matches"]["source"])
        shown = self.texts('#sheet tr[data-atom="CA"] > *')
        shift = residue["secondary_shifts"]["CA"]
        self.assertEqual(shown[2].replace("−", "-"), f"{shift:.2f}")
        self.assertEqual(shown[4].replace("−", "-"), f"{shift - 0.1:.2f}")
        self.assertEqual(shown[6], "far outside")
        self.point_at(self.find('#sheet tr[data-rank="3"]'))
        self.assertEqual(self.count('#map circle.match.marked[data-rank="3"]'), 1)
        self.open_sheet(self.residues[0]["resid"])
        self.assertIn("No map", self.text("#sheet"))

    def test_filter_sort_copy_and_save_of_the_table(self):
        self.find('#table-frame input[value="Strong"]').click()
        others = [r for r in self.residues if r["class"] != "Strong"]
        self.assertEqual(self.count("#residues tbody tr"), len(others))
        self.assertEqual(self.text("#table-frame output"), f"{len(others)} of {len(self.residues)} rows")
        head = self.find('#residues th[data-key="phi"] button')
        shown = lambda: self.js("return [...document.querySelectorAll('#residues tbody tr')].map(n => Number(n.dataset.resid))")
        by_phi = sorted((r for r in others if r["phi"] is not None), key=lambda r: r["phi"])
        missing = [r["resid"] for r in others if r["phi"] is None]
        head.click()
        self.assertEqual(shown(), [r["resid"] for r in by_phi] + missing)
        self.assertEqual(self.find('#residues th[data-key="phi"]').get_attribute("aria-sort"), "ascending")
        head.click()
        self.assertEqual(shown(), [r["resid"] for r in reversed(by_phi)] + missing)
        self.find("#table-frame .save").click()
        rows = list(csv.DictReader(io.StringIO(self.downloaded("made_residues.csv").decode())))
        self.assertEqual([int(row["resid"]) for row in rows], shown())
        self.assertEqual(float(rows[0]["phi"]), by_phi[-1]["phi"])
        self.assertEqual(rows[-1]["phi"], "")
        # What is copied is what was saved; the clipboard itself is not asked.
        self.js("navigator.clipboard.writeText = (text) => { window.copied = text; return Promise.resolve(); }")
        self.find("#table-frame .copy").click()
        self.wait(lambda: self.js("return window.copied"))
        self.assertEqual(list(csv.DictReader(io.StringIO(self.js("return window.copied")))), rows)
        self.assertIn("rows copied", self.text("#status"))
        self.find("#table-frame input[type=search]").send_keys("gly")
        names = self.texts("#residues tbody button")
        self.assertTrue(names and all(name.startswith("Gly") for name in names))

    def test_restraints_are_saved_byte_for_byte(self):
        for file in self.record["restraints"]:
            self.find(f'button[data-format="{file["format"]}"]').click()
            self.assertEqual(self.downloaded(file["file"]), file["text"].encode())

    def test_classes_are_hidden_in_the_ramachandran_plot(self):
        self.find('#ramachandran-frame input[value="Warn"]').click()
        shown = self.js("return [...document.querySelectorAll('#ramachandran-plot path.mark')]"
                        ".filter(n => n.style.display !== 'none').length")
        self.assertEqual(shown, sum(1 for r in self.residues if r["phi"] is not None and r["class"] != "Warn"))
        display = "return getComputedStyle(document.querySelector('#ramachandran-plot .links')).display"
        self.assertEqual(self.js(display), "none")
        self.find("#show-links").click()
        self.assertNotEqual(self.js(display), "none")
        self.assertEqual(self.count("#ramachandran-plot line.link"), len(self.known(lambda r: r["reference"])))

    def test_zoom_by_buttons_brush_and_wheel(self):
        first, last = self.residues[0]["resid"], self.residues[-1]["resid"]
        everyone = len(self.residues)
        shown = lambda: len(self.marks("letters", "rect.cell"))
        self.find('button[aria-label="Zoom in"]').click()
        self.assertLess(shown(), everyone)
        self.find('button[aria-label="Show all residues"]').click()
        self.assertEqual(shown(), everyone)
        from selenium.webdriver.common.action_chains import ActionChains

        strip = self.find("#overview")
        self.js("arguments[0].scrollIntoView({block: 'center'})", strip)
        width = strip.rect["width"]
        ActionChains(self.driver).move_to_element_with_offset(strip, int(-width / 4), 0).click_and_hold() \
            .move_by_offset(int(width / 4), 0).release().perform()
        self.assertLess(shown(), everyone * 0.4)
        text = self.text("#along-plot .range")
        self.assertNotIn(f"Residues {first} to {last} of", text)
        self.find('button[aria-label="Show all residues"]').click()
        self.js("""const plot = document.getElementById('tracks-plot'); const b = plot.getBoundingClientRect();
            const turn = (ctrl) => plot.dispatchEvent(new WheelEvent('wheel',
              {deltaY: -400, ctrlKey: ctrl, clientX: b.left + b.width / 2, clientY: b.top + 50, bubbles: true, cancelable: true}));
            window.turned = (ctrl) => { turn(ctrl); requestAnimationFrame(() => requestAnimationFrame(() => { window.drawn = ctrl; })); };
            window.turned(false);""")
        self.wait(lambda: self.js("return window.drawn === false"))
        self.assertEqual(shown(), everyone, "the wheel alone must scroll the page")
        self.js("window.turned(true)")
        self.wait(lambda: shown() < everyone)

    def test_everything_by_keyboard(self):
        from selenium.webdriver.common.keys import Keys

        self.press(Keys.ARROW_RIGHT, "#tracks")
        self.press(Keys.PAGE_UP)
        value = self.find("#tracks").get_attribute("aria-valuetext")
        residue = self.residues[11]
        self.assertIn(f" {residue['resid']}, class {residue['class']}", value)
        self.assertFalse(self.find("#tip").get_property("hidden"))
        self.press("+")
        self.assertLess(len(self.marks("letters", "rect.cell")), len(self.residues))
        self.press("0")
        self.press(Keys.ENTER)
        self.assertTrue(self.text("#sheet-title").endswith(f" {residue['resid']}"))
        self.assertEqual(self.js("return document.activeElement.id"), "sheet-title")
        self.press(Keys.ARROW_RIGHT)
        self.assertTrue(self.text("#sheet-title").endswith(f" {residue['resid'] + 1}"))
        self.press(Keys.ESCAPE)
        self.wait(lambda: not self.js("return document.getElementById('sheet').open"))
        self.wait(lambda: self.js("return document.activeElement.id") == "tracks")
        self.press(Keys.END)
        self.assertIn(f" {self.residues[-1]['resid']},", self.find("#tracks").get_attribute("aria-valuetext"))
        # Sorting from the keyboard, and a way from the top of the page into it.
        self.press(Keys.ENTER, '#residues th[data-key="s2"] button')
        self.assertEqual(self.find('#residues th[data-key="s2"]').get_attribute("aria-sort"), "ascending")
        self.js("document.activeElement.blur(); scrollTo(0, 0)")
        unnamed = self.js("return [...document.querySelectorAll('button, input, [role=img], [role=slider], [role=region]')]"
                          ".filter(n => !(n.getAttribute('aria-label') || n.textContent.trim() || n.closest('label'))).length")
        self.assertEqual(unnamed, 0)

    def test_hostile_texts_are_text(self):
        record = made_page_record(hostile=True)
        self.open(write_page(ASSETS / "protein.html", record, self.scratch / "hostile.html"))
        self.assertIsNone(self.js("return window.broken ?? null"))
        self.assertEqual(self.text("h1"), HOSTILE)
        self.assertIn("</script><script>window.broken=1</script>", self.driver.title)
        self.assertEqual(self.count("main b b, h1 *, main i"), 0)
        self.open_sheet(record["results"]["residues"][5]["resid"])
        self.assertTrue(self.text("#sheet-title").startswith(HOSTILE_LETTER))
        self.open_sheet(record["results"]["residues"][6]["resid"])
        self.assertEqual(self.texts("#sheet td.source")[0], HOSTILE)
        self.find('button[data-format="cns"]').click()
        self.assertEqual(self.downloaded("made.tbl"), record["restraints"][1]["text"].encode())

    def test_records_without_maps_and_with_one_residue(self):
        record = older_record(made_page_record(reference=False))
        self.open(write_page(ASSETS / "protein.html", record, self.scratch / "older.html"))
        self.assertIn("does not say which shifts are outliers", self.text("#verdict"))
        self.assertEqual(self.count('[data-track="phi"] path.reference'), 0)
        self.open_sheet(12)
        self.assertIn("predict again with a current version", self.text("#sheet"))
        single = made_page_record(count=20)
        single["results"]["outliers"] = []
        single["results"]["residues"] = single["results"]["residues"][:1]
        self.open(write_page(ASSETS / "protein.html", single, self.scratch / "single.html"))
        self.assertEqual(len(self.marks("letters", "rect.cell")), 1)
        self.open(write_page(ASSETS / "protein.html", {"schema": "other"}, self.scratch / "other.html"))
        self.assertIn("no prediction with residues", self.text("#head"))

    def test_narrow_page_has_no_overflow_and_no_overlap(self):
        record = made_page_record(count=150, title="A_very_long_title_without_any_blank_that_could_end_a_line")
        address = write_page(ASSETS / "protein.html", record, self.scratch / "narrow.html")
        parts = ("main h1, main h2, main p, .provenance div, .verdict li, .class-list li, #completeness tr, .legend li,"
                 " .toolbar > button, .toolbar output, .filter label, .search, .caption, .axis.residues .tick text,"
                 " #offsets, #farthest, figure, svg.plane, details, #settings tr")
        for width in (360, 768, 1280):
            self.open(address, width, 740)
            self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
            self.assertEqual(self.overlaps(parts), [])
            self.open_sheet(record["results"]["residues"][10]["resid"])
            self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
            sheet = self.js("const b = document.getElementById('sheet').getBoundingClientRect(); return [b.left, b.right]")
            self.assertGreaterEqual(sheet[0], 0)
            self.assertLessEqual(sheet[1], width)
            self.assertEqual(self.overlaps("#sheet h2, #sheet .badge, #sheet button, #sheet .fact, #sheet svg.plane,"
                                           " #sheet .legend li, #sheet .table-frame"), [])
            if width > 1099:
                right = self.js("return document.getElementById('tracks').getBoundingClientRect().right")
                self.assertLessEqual(right, sheet[0])

    def test_colours_of_both_schemes_can_be_read(self):
        contrast = """
            const canvas = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
            const light = (colour) => {
              canvas.fillStyle = colour; canvas.fillRect(0, 0, 1, 1);
              const [r, g, b] = [...canvas.getImageData(0, 0, 1, 1).data].slice(0, 3)
                .map(v => v / 255).map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
              return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
            const style = getComputedStyle(document.documentElement);
            const value = (name) => style.getPropertyValue(name).trim();
            const [texts, marks, grounds] = arguments;
            const ratio = (a, b) => { const x = light(value(a)), y = light(value(b)); return (Math.max(x, y) + 0.05) / (Math.min(x, y) + 0.05); };
            const out = [];
            for (const ground of grounds) {
              for (const name of texts) if (ratio(name, ground) < 4.5) out.push(`${name} on ${ground} ${ratio(name, ground)}`);
              for (const name of marks) if (ratio(name, ground) < 2.2) out.push(`${name} on ${ground} ${ratio(name, ground)}`);
            }
            return out;"""
        texts = ["--ink", "--soft", "--accent", "--good", "--note", "--bad"]
        marks = ["--strong", "--generous", "--warn", "--dyn", "--far", "--none", "--helix", "--strand", "--coil", "--shift"]
        grounds = []
        for dark in (False, True):
            self.open(self.address, dark=dark)
            self.assertEqual(self.js(contrast, texts, marks, ["--paper", "--surface"]), [])
            grounds.append(self.js("return getComputedStyle(document.body).backgroundColor"))
        self.assertNotEqual(*grounds)

    def test_print_is_a4_with_everything_on_it(self):
        record = made_page_record(count=150)
        self.open(write_page(ASSETS / "protein.html", record, self.scratch / "print.html"), dark=True)
        answer = self.command("Page.printToPDF", preferCSSPageSize=True, printBackground=True)
        path = self.scratch / "page.pdf"
        path.write_bytes(base64.b64decode(answer["data"]))
        self.assertEqual(self.count("#print-tracks svg"), 0, "the tracks for paper stay on the screen")
        if shutil.which("pdfinfo") is None or shutil.which("pdftotext") is None:
            self.skipTest("pdfinfo and pdftotext (poppler-utils) are not installed")
        about = subprocess.run(["pdfinfo", path], capture_output=True, text=True, check=True, timeout=60).stdout
        self.assertRegex(about, r"Page size: .*\(A4\)")
        pages = int(about.split("Pages:")[1].split()[0])
        self.assertTrue(4 <= pages <= 12, f"{pages} pages")
        text = subprocess.run(["pdftotext", "-layout", path, "-"], capture_output=True, text=True, check=True, timeout=60).stdout
        for residue in record["results"]["residues"]:
            self.assertRegex(text, rf"[A-Z][a-z][a-z] {residue['resid']}\b")
        self.assertNotIn("Copy as CSV", text)
        for page in text.split("\f")[:pages]:
            self.assertGreater(len(page.strip()), 40, "an empty page")

    def test_page_of_150_residues_is_small_and_quick(self):
        record = made_page_record(count=150)
        address = write_page(ASSETS / "protein.html", record, self.scratch / "sized.html")
        self.assertLess((self.scratch / "sized.html").stat().st_size, 3_000_000)
        self.open(address)
        for name, width, height, dark in (("protein-360", 360, 740, False), ("protein-768", 768, 1024, False),
                                          ("protein-1280", 1280, 900, False), ("protein-1920-dark", 1920, 1080, True)):
            self.open(address, width, height, dark)
            self.picture(name)


if __name__ == "__main__":
    unittest.main()
