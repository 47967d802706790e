"""Keywords as the words of the command line of `orvix`, whose checks they meet."""

import os


def words(options):
    """None, False and "" are options that are not given, True is one without a value."""
    given = []
    for name, value in options.items():
        word = "--" + name.replace("_", "-")
        if value is None or value is False or (isinstance(value, str) and not value):
            continue
        given.append(word if value is True else f"{word}={_text(value)}")
    return given


def _text(value):
    if isinstance(value, dict):
        return ",".join(f"{key}={_text(one)}" for key, one in value.items())
    if isinstance(value, (list, tuple, set, frozenset)):
        return ",".join(_text(one) for one in value)
    return os.fspath(value) if isinstance(value, os.PathLike) else str(value)
