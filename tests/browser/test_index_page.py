"""The page over many predictions in a real browser."""

import csv
import io
import time
import unittest
from urllib.parse import unquote

from browser import ASSETS, BrowserCase
from made_records import HOSTILE, made_index_record
from pages import write_page


class IndexPage(BrowserCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.record = made_index_record(300)
        cls.proteins = cls.record["proteins"]
        cls.address = write_page(ASSETS / "index.html", cls.record, cls.scratch / "index.html")

    def setUp(self):
        self.open(self.address)

    def open(self, address, width=1280, height=900, dark=False):
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.resize(width, height, dark)
        self.driver.get(address)
        self.addCleanup(self.assert_quiet)

    def shown(self):
        return self.js("return [...document.querySelectorAll('#proteins tbody tr')].map(n => n.dataset.name)")

    def test_all_proteins_are_there_with_links_to_their_pages(self):
        self.assertEqual(sorted(self.shown()), sorted(one["name"] for one in self.proteins))
        self.assertIn("300 proteins", self.text("#head"))
        self.assertIn("1 input failed", self.text("#head"))
        self.assertIn("line 3: no shifts", self.text("#failures"))
        links = dict(self.js("return [...document.querySelectorAll('#proteins a')].map(n => [n.closest('tr').dataset.name, n.href])"))
        self.assertEqual(sorted(links), sorted(one["name"] for one in self.proteins if one["report"]))
        folder = self.address.rsplit("/", 1)[0] + "/"
        for protein in self.proteins[:60]:
            if protein["report"]:
                self.assertTrue(links[protein["name"]].startswith(folder))
                self.assertEqual(unquote(links[protein["name"]][len(folder):]), protein["report"])

    def test_hostile_names_are_text(self):
        parts = self.js("const a = document.querySelector('tr[data-name=\"javascript:alert(1)\"] a');"
                        " return [a.protocol, a.search, a.hash]")
        self.assertEqual(parts, ["file:", "", ""])
        self.assertIsNone(self.js("return window.broken ?? null"))
        titles = self.texts('#proteins tr[data-name="javascript:alert(1)"] .title-cell')
        self.assertEqual(titles, [HOSTILE])

    def test_sort_filter_and_save(self):
        self.find('#proteins th[data-key="residues"] button').click()
        size = {one["name"]: one["residues"] for one in self.proteins}
        sizes = [size[name] for name in self.shown()]
        self.assertEqual(sizes, sorted(sizes))
        self.find("#flagged").click()
        flagged = {one["name"] for one in self.proteins if one["serious"] or one["offsets"]["CA"]}
        self.assertEqual(set(self.shown()), flagged)
        self.find("input[type=search]").send_keys("number 12")
        found = [name for name in self.shown()]
        wanted = {one["name"] for one in self.proteins if one["name"] in flagged and "number 12" in one["title"]}
        self.assertEqual(set(found), wanted)
        self.find("#proteins-frame .save").click()
        rows = list(csv.DictReader(io.StringIO(self.downloaded("proteins.csv").decode())))
        self.assertEqual([row["name"] for row in rows], found)
        self.assertEqual([int(row["residues"]) for row in rows], [size[name] for name in found])

    def test_strips_are_drawn_when_they_come_into_view(self):
        # A canvas that nobody drew on has the width of 300 that every canvas starts with.
        drawn = lambda: self.js("return [...document.querySelectorAll('canvas.strip')].map(c => c.width !== 300)")
        self.wait(lambda: drawn()[0])
        self.assertFalse(drawn()[-1])
        self.js("scrollTo(0, document.body.scrollHeight); document.querySelector('#proteins tbody tr:last-child').scrollIntoView()")
        self.wait(lambda: drawn()[-1])
        # As many colour changes as the classes of the strip have, at most one pixel a residue.
        name = self.shown()[0]
        strip = next(one["strip"] for one in self.proteins if one["name"] == name)
        colours = self.js("""const c = document.querySelector('canvas.strip'), h = c.height;
            const row = new Uint32Array(c.getContext('2d').getImageData(0, h - 2, c.width, 1).data.buffer);
            return new Set(row).size;""")
        self.assertEqual(colours, len(set(strip)))

    def test_two_thousand_proteins_do_not_hang_the_page(self):
        address = write_page(ASSETS / "index.html", made_index_record(2000), self.scratch / "many.html")
        start = time.monotonic()
        self.open(address)
        self.assertEqual(self.count("#proteins tbody tr"), 2000)
        # Far above what it takes; it catches work that grows with the square of the rows.
        self.assertLess(time.monotonic() - start, 20)
        start = time.monotonic()
        for key in ("strong", "title", "name"):
            self.find(f'#proteins th[data-key="{key}"] button').click()
        self.assertEqual(self.count("#proteins tbody tr"), 2000)
        self.assertLess(time.monotonic() - start, 20)

    def test_narrow_page_has_no_overflow(self):
        for width, dark in ((360, False), (1280, True)):
            self.open(self.address, width, 740, dark)
            self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
            self.assertEqual(self.overlaps("main h1, main h2, main p, .class-list li, .toolbar > *"), [])
            self.picture(f"index-{width}{'-dark' if dark else ''}")


if __name__ == "__main__":
    unittest.main()
