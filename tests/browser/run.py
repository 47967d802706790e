"""Runs one module of browser tests: run.py MODULE. Status 77 when no browser is installed."""

import sys
import unittest

from browser import missing_parts

missing = missing_parts()
if missing:
    print("SKIPPED: not installed: " + ", ".join(missing))
    sys.exit(77)
sys.argv[0] = sys.argv.pop(1)
unittest.main(module=sys.argv[0], verbosity=2, failfast=False)
