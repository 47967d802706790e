"""What the tests of the tools share: the import path, small files, the programs under test."""

import gzip
import os
import sys
import unittest

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "tools"))

# Set by the test runner of the build; without them the tests that run the programs are skipped.
PROGRAM, DATA_TOOL, TABLES = (
    os.environ.get(name, "") for name in ("ORVIX_PROGRAM", "ORVIX_DATA_TOOL", "ORVIX_TABLES")
)
needs_programs = unittest.skipUnless(
    PROGRAM and DATA_TOOL and TABLES, "ORVIX_PROGRAM, ORVIX_DATA_TOOL, ORVIX_TABLES are not set"
)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with (gzip.open if path.endswith(".gz") else open)(path, "wt") as out:
        out.write(text)


def table(*lines):
    """Tab-separated text of rows given as blank-separated words."""
    return "".join("\t".join(line.split(" ")) + "\n" for line in lines)
