"""Headless Chromium for the tests of the report pages."""

import base64
import os
import shutil
import tempfile
import time
import unittest
from pathlib import Path

CHROMIUM = os.environ.get("ORVIX_CHROMIUM") or shutil.which("chromium")
DRIVER = os.environ.get("ORVIX_CHROMEDRIVER") or shutil.which("chromedriver")
ASSETS = Path(os.environ.get("ORVIX_REPORT_ASSETS", "."))
PICTURES = Path(os.environ.get("ORVIX_REPORT_PICTURES", "."))

FLAGS = ["--headless", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--disable-extensions", "--hide-scrollbars"]


def missing_parts():
    """What is not installed that these tests need."""
    missing = [name for name, path in (("chromium", CHROMIUM), ("chromedriver (chromium-driver)", DRIVER)) if not path]
    try:
        import selenium  # noqa: F401
    except ImportError:
        missing.append("python3-selenium")
    return missing


class BrowserCase(unittest.TestCase):
    """One browser and one scratch directory for all cases of a class."""

    size = (1280, 900)

    @classmethod
    def setUpClass(cls):
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service

        cls.scratch = Path(tempfile.mkdtemp(prefix="orvix-browser-"))
        cls.addClassCleanup(shutil.rmtree, cls.scratch, ignore_errors=True)
        cls.downloads = cls.scratch / "downloads"
        cls.downloads.mkdir()
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for flag in FLAGS + [f"--user-data-dir={cls.scratch / 'profile'}"]:
            options.add_argument(flag)
        options.add_experimental_option("prefs", {"download.default_directory": str(cls.downloads)})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        cls.driver = webdriver.Chrome(service=Service(DRIVER), options=options)
        cls.addClassCleanup(cls.driver.quit)
        cls.driver.set_page_load_timeout(60)
        cls.driver.set_script_timeout(30)
        cls.command("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(cls.downloads))

    @classmethod
    def command(cls, name, **parameters):
        return cls.driver.execute_cdp_cmd(name, parameters)

    @classmethod
    def resize(cls, width, height, dark=False):
        cls.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        cls.command("Emulation.setEmulatedMedia",
                    features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def js(self, script, *values):
        return self.driver.execute_script(script, *values)

    def find(self, selector):
        return self.driver.find_element("css selector", selector)

    def count(self, selector):
        return self.js("return document.querySelectorAll(arguments[0]).length", selector)

    def text(self, selector):
        return self.js("return document.querySelector(arguments[0]).textContent", selector)

    def texts(self, selector):
        return self.js("return [...document.querySelectorAll(arguments[0])].map(n => n.textContent)", selector)

    def wait(self, what, seconds=10):
        """Waits until `what()` is true, and returns its value."""
        end = time.monotonic() + seconds
        while True:
            value = what()
            if value or time.monotonic() > end:
                self.assertTrue(value, "waited in vain")
                return value
            time.sleep(0.05)

    def press(self, key, selector=None):
        from selenium.webdriver.common.action_chains import ActionChains

        if selector:
            self.js("document.querySelector(arguments[0]).focus()", selector)
        ActionChains(self.driver).send_keys(key).perform()

    def point_at(self, element):
        """Moves the mouse over an element, wherever it stands."""
        from selenium.webdriver.common.action_chains import ActionChains

        self.js("arguments[0].scrollIntoView({block: 'center'})", element)
        ActionChains(self.driver).move_to_element(element).perform()

    def picture(self, name):
        """A picture of the whole page for people to look at."""
        PICTURES.mkdir(parents=True, exist_ok=True)
        width, height = self.js("return [innerWidth, document.documentElement.scrollHeight]")
        shot = self.command("Page.captureScreenshot", captureBeyondViewport=True,
                            clip={"x": 0, "y": 0, "width": width, "height": min(height, 8000), "scale": 1})
        (PICTURES / f"{name}.png").write_bytes(base64.b64decode(shot["data"]))

    def assert_quiet(self):
        """No message of an error or warning on the console, no request but for the page itself."""
        messages = [entry["message"] for entry in self.driver.get_log("browser")
                    if entry["level"] in ("SEVERE", "WARNING")]
        self.assertEqual(messages, [])
        requests = [entry["message"] for entry in self.driver.get_log("performance")
                    if '"Network.requestWillBeSent"' in entry["message"]
                    and '"url":"file:' not in entry["message"] and '"url":"blob:' not in entry["message"]
                    and '"url":"data:' not in entry["message"]]
        self.assertEqual(requests, [])

    def downloaded(self, name):
        """The bytes of a file that the page saved."""
        path = self.downloads / name
        self.wait(lambda: path.exists() and path.stat().st_size > 0)
        content = path.read_bytes()
        path.unlink()
        return content

    def overlaps(self, selector):
        """Pairs of visible elements of `selector` whose boxes overlap, as texts."""
        return self.js("""
            const boxes = [...document.querySelectorAll(arguments[0])]
              .filter(n => n.checkVisibility() && n.textContent.trim() !== "")
              .map(n => ({n, b: n.getBoundingClientRect()})).filter(o => o.b.width > 0);
            const found = [];
            for (let i = 0; i < boxes.length; i++) for (let j = i + 1; j < boxes.length; j++) {
              const a = boxes[i], c = boxes[j];
              if (a.n.contains(c.n) || c.n.contains(a.n)) continue;
              const w = Math.min(a.b.right, c.b.right) - Math.max(a.b.left, c.b.left);
              const h = Math.min(a.b.bottom, c.b.bottom) - Math.max(a.b.top, c.b.top);
              if (w > 1 && h > 2) found.push(a.n.textContent.slice(0, 40) + " | " + c.n.textContent.slice(0, 40));
            }
            return found;""", selector)
