"""Puts records into the built pages the way the program does."""

import json
from pathlib import Path

MARK = "@ORVIX_RECORD@"


def record_text(record):
    """JSON that stands inside of a script element without ending it."""
    text = json.dumps(record, ensure_ascii=False, separators=(",", ":"))
    return text.replace("<", "\\u003c")


def write_page(asset, record, path):
    """Writes the page of `record` from the built page `asset`; returns the address of the file."""
    page = Path(asset).read_text(encoding="utf-8")
    assert page.count(MARK) == 1
    path = Path(path)
    path.write_text(page.replace(MARK, record_text(record)), encoding="utf-8")
    return path.resolve().as_uri()
